#include "Core/History.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ombrel {

namespace {

void moveToEnd(History::Entries& from, History::Entries::iterator begin,
               History::Entries::iterator end, History::Entries& to) {
    to.insert(to.end(), std::make_move_iterator(begin), std::make_move_iterator(end));
    from.erase(begin, end);
}

} // namespace

History::History(DocumentState initial, std::string name, std::int64_t maximumStates,
                 std::int64_t memoryBudget)
    : maximumStates_(std::max<std::int64_t>(maximumStates, 2)), memoryBudget_(memoryBudget) {
    entries_.emplace_back(Entry{.id = Uuid::make(),
                                .name = std::move(name),
                                .state = std::move(initial),
                                .date = Date::clock::now()});
}

std::optional<std::string> History::undoName() const {
    if (!canUndo()) return std::nullopt;
    return currentEntry().name;
}

std::optional<std::string> History::redoName() const {
    if (!canRedo()) return std::nullopt;
    return entryAt(currentIndex_ + 1).name;
}

std::int64_t History::retainedTotal() const {
    std::int64_t total = 0;
    for (const CowPtr<Entry>& entry : entries_)
        total += entry->retainedBytes;
    return total;
}

History::Entries History::record(DocumentState state, std::string name,
                                 std::optional<std::string> coalescingKey, Date date) {
    Entries left;
    moveToEnd(entries_, entries_.begin() + currentIndex_ + 1, entries_.end(), left);
    if (coalesces(coalescingKey, date)) {
        coalesce(std::move(state), date, left);
        return left;
    }
    setRetainedBytes(currentIndex_, state);
    entries_.emplace_back(Entry{.id = Uuid::make(),
                                .name = std::move(name),
                                .state = std::move(state),
                                .date = date,
                                .coalescingKey = std::move(coalescingKey)});
    ++currentIndex_;
    trim(left);
    return left;
}

History::Entries History::setMaximumStates(std::int64_t maximumStates) {
    maximumStates_ = std::max<std::int64_t>(maximumStates, 2);
    Entries left;
    trim(left);
    return left;
}

const DocumentState* History::undo() {
    if (!canUndo()) return nullptr;
    --currentIndex_;
    return &current();
}

const DocumentState* History::redo() {
    if (!canRedo()) return nullptr;
    ++currentIndex_;
    return &current();
}

const DocumentState& History::jump(std::int64_t index) {
    currentIndex_ = std::clamp<std::int64_t>(index, 0, count() - 1);
    return current();
}

bool History::coalesces(const std::optional<std::string>& key, Date date) const {
    const std::chrono::duration<double> gap = date - currentEntry().date;
    return key && currentIndex_ != 0 && currentEntry().coalescingKey == key &&
           gap.count() < coalescingInterval;
}

void History::coalesce(DocumentState state, Date date, Entries& left) {
    const Entry& before = currentEntry();
    CowPtr<Entry> entry(Entry{.id = before.id,
                              .name = before.name,
                              .state = std::move(state),
                              .date = date,
                              .coalescingKey = before.coalescingKey});
    setRetainedBytes(currentIndex_ - 1, entry->state);
    left.push_back(std::exchange(entries_.back(), std::move(entry)));
}

void History::setRetainedBytes(std::int64_t index, const DocumentState& successor) {
    CowPtr<Entry>& entry = entries_[static_cast<std::size_t>(index)];
    entry.write().retainedBytes = successor.retainedBytes(entry->state);
}

void History::trim(Entries& left) {
    std::int64_t total = retainedTotal();
    std::int64_t removed = 0;
    while (removed < currentIndex_ && (count() - removed > maximumStates_ || total > memoryBudget_))
        total -= entryAt(removed++).retainedBytes;
    currentIndex_ -= removed;
    moveToEnd(entries_, entries_.begin(), entries_.begin() + removed, left);
}

} // namespace ombrel
