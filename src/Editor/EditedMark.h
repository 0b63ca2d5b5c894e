// Whether a document differs from what was saved last. It remembers the entry of the history that
// was saved, so that undoing back to it clears the mark; an edit that is coalesced into that very
// entry makes the saved state unreachable. A plain value of the main thread.
#pragma once

#include "Base/Uuid.h"
#include "Editor/DocumentSession.h"

#include <optional>

namespace ombrel {

class EditedMark {
public:
    /// Not edited: the entry is what the file holds.
    explicit EditedMark(const Uuid& entry) : current_(entry), saved_(entry) {}

    /// To be told of each change of the session with the entry that is current then.
    void note(DocumentSession::ChangeType change, const Uuid& entry);
    /// Edited until it is saved, whatever is undone.
    void invalidate() { saved_.reset(); }

    /// What is current is being written from now on; until the end of that it may change further.
    void beginSaving() { saving_ = current_; }
    void endSaving(bool isWritten);

    bool isEdited() const { return saved_ != current_; }

private:
    Uuid current_;
    std::optional<Uuid> saved_;  ///< absent where no entry is what the file holds
    std::optional<Uuid> saving_; ///< the same of the file that is being written
};

} // namespace ombrel
