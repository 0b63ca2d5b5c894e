// The undo list of one document: whole states, oldest first, one of which is the present. States
// share tiles, so an old one costs only the tiles that its successor no longer holds, and undo is a
// plain replacement of the present state. Rapid edits with one key become one entry; the oldest
// entries go when there are too many, or when they hold more memory than the budget allows.
// A value, cheap to copy: entries are shared. Dropping a state may take long where it is the last
// that holds many tiles, so what leaves the list is handed to the caller.
#pragma once

#include "Base/Uuid.h"
#include "Core/CowPtr.h"
#include "Core/DocumentState.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ombrel {

class History {
public:
    using Date = std::chrono::system_clock::time_point;

    struct Entry {
        Uuid id;          ///< stays while the entry is coalesced into
        std::string name; ///< what the menu shows
        DocumentState state;
        Date date; ///< of the last write
        std::optional<std::string> coalescingKey = std::nullopt;
        std::int64_t retainedBytes = 0; ///< what it holds and its successor does not
    };
    using Entries = std::vector<CowPtr<Entry>>;

    /// One entry without a key, dated now. `maximumStates` is at least 2, the budget is in bytes.
    History(DocumentState initial, std::string name, std::int64_t maximumStates,
            std::int64_t memoryBudget);

    const Entries& entries() const { return entries_; } ///< never empty
    std::int64_t count() const { return static_cast<std::int64_t>(entries_.size()); }
    /// The present; later entries are the redo branch.
    std::int64_t currentIndex() const { return currentIndex_; }
    std::int64_t maximumStates() const { return maximumStates_; }
    std::int64_t memoryBudget() const { return memoryBudget_; }

    const Entry& currentEntry() const { return entryAt(currentIndex_); }
    const DocumentState& current() const { return currentEntry().state; }
    bool canUndo() const { return currentIndex_ > 0; }
    bool canRedo() const { return currentIndex_ < count() - 1; }
    std::optional<std::string> undoName() const; ///< of the step that undo would take back
    std::optional<std::string> redoName() const;
    /// Uncompressed bytes; an estimate of what dropping all but the last entry would free.
    std::int64_t retainedTotal() const;

    /// Makes `state` the present: ends the redo branch, then coalesces into the present entry
    /// where both have the same key and less than the interval lies between their dates, or else
    /// appends an entry and drops the oldest ones over the limits. Returns what left the list.
    Entries record(DocumentState state, std::string name, std::optional<std::string> coalescingKey,
                   Date date);
    /// The state that is the present afterwards; null where there is nothing to take back.
    const DocumentState* undo();
    const DocumentState* redo();
    /// The index is brought into range. Nothing is removed.
    const DocumentState& jump(std::int64_t index);

    /// Another limit, at least 2, from now on. Returns what left the list.
    Entries setMaximumStates(std::int64_t maximumStates);

    /// Seconds below which edits with one key become one entry.
    static constexpr double coalescingInterval = 1.5;

private:
    const Entry& entryAt(std::int64_t index) const {
        return *entries_[static_cast<std::size_t>(index)];
    }
    bool coalesces(const std::optional<std::string>& key, Date date) const;
    void coalesce(DocumentState state, Date date, Entries& left);
    void setRetainedBytes(std::int64_t index, const DocumentState& successor);
    void trim(Entries& left);

    Entries entries_;
    std::int64_t currentIndex_ = 0;
    std::int64_t maximumStates_;
    std::int64_t memoryBudget_;
};

} // namespace ombrel
