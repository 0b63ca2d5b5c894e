#include "Editor/EditedMark.h"

#include <utility>

namespace ombrel {

void EditedMark::note(DocumentSession::ChangeType change, const Uuid& entry) {
    if (change == DocumentSession::ChangeType::done && entry == current_) {
        if (saved_ == entry) saved_.reset();
        if (saving_ == entry) saving_.reset();
    }
    current_ = entry;
}

void EditedMark::endSaving(bool isWritten) {
    const std::optional<Uuid> written = std::exchange(saving_, std::nullopt);
    if (isWritten) saved_ = written;
}

} // namespace ombrel
