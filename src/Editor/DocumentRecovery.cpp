#include "Editor/DocumentRecovery.h"

#include "Base/Log.h"

#include <algorithm>
#include <utility>

namespace ombrel {

namespace {

constexpr double bytesASecond = 500'000;
constexpr double shortestSeconds = 20;
constexpr double longestSeconds = 300;

} // namespace

DocumentRecovery::DocumentRecovery(const Services& services, const Uuid& recoveryID,
                                   Questions questions)
    : services_(services), recoveryID_(recoveryID), questions_(std::move(questions)) {}

std::chrono::duration<double> DocumentRecovery::delayAfter(std::int64_t lastRecoveryBytes) {
    const double seconds = static_cast<double>(lastRecoveryBytes) / bytesASecond;
    return std::chrono::duration<double>(std::clamp(seconds, shortestSeconds, longestSeconds));
}

void DocumentRecovery::editedStateChanged() {
    if (isClosed_) return;
    if (questions_.isEdited()) {
        changedSinceRecovery_ = true;
        schedule();
    } else {
        changedSinceRecovery_ = false;
        dropTask();
        removeCopy();
    }
}

void DocumentRecovery::schedule() {
    if (isTaskUnderWay_ || isClosed_) return;
    isTaskUnderWay_ = true;
    const auto length = std::chrono::duration_cast<Timer::Duration>(delay());
    auto wakeUp = [weak = weak_from_this(), task = task_] {
        if (const auto self = weak.lock()) self->wake(task);
    };
    if (services_.sleep) return services_.sleep(length, std::move(wakeUp));
    timer_.startOnce(length, services_.main, std::move(wakeUp));
}

void DocumentRecovery::wake(std::int64_t task) {
    if (task != task_ || isClosed_) return; // dropped while it slept
    isTaskUnderWay_ = false;
    if (!questions_.isEdited()) return;
    if (!questions_.isInterruptible()) return schedule();
    if (changedSinceRecovery_) write();
}

void DocumentRecovery::write() {
    changedSinceRecovery_ = false;
    isTaskUnderWay_ = true;
    auto copy = std::make_shared<const Copy>(questions_.copy());
    postWithAnswer(
        services_.worker,
        [&store = services_.store, entry = entryOf(*copy), copy = std::move(copy)]() mutable {
            auto written = store.save(copy->board, entry);
            copy.reset(); // here, where dropping the last holder of many tiles hurts nobody
            return written;
        },
        services_.main,
        [weak = weak_from_this(), task = task_](auto written) {
            if (const auto self = weak.lock()) self->finishWrite(task, std::move(written));
        });
}

void DocumentRecovery::finishWrite(std::int64_t task,
                                   std::expected<std::uint64_t, NativeSaveError> written) {
    if (written) {
        lastRecoveryBytes_ = static_cast<std::int64_t>(*written);
    } else if (!written.error().isCancelled()) {
        Log::warning("Couldn't write a recovery copy: {}", written.error().text());
        changedSinceRecovery_ = true; // the next round tries again
    }
    if (task != task_ || isClosed_) return; // dropped meanwhile, and its copy removed
    isTaskUnderWay_ = false;
    if (questions_.isEdited()) {
        schedule();
    } else {
        removeCopy();
    }
}

void DocumentRecovery::dropTask() {
    timer_.cancel();
    isTaskUnderWay_ = false;
    ++task_;
}

// Removing waits for files; a save of the copy that runs meanwhile leaves nothing behind.
void DocumentRecovery::removeCopy() {
    services_.worker.post([&store = services_.store, id = recoveryID_] { store.remove(id); });
}

void DocumentRecovery::close() {
    if (std::exchange(isClosed_, true)) return;
    dropTask();
    removeCopy();
    questions_ = {};
}

void DocumentRecovery::leave() {
    if (std::exchange(isClosed_, true)) return;
    dropTask();
    questions_ = {};
}

void DocumentRecovery::writeNow() {
    if (isClosed_ || !questions_.isEdited()) return;
    // Also where the last copy may still be under way: what it holds is then saved twice.
    if (!changedSinceRecovery_ && !isTaskUnderWay_) return;
    const Copy copy = questions_.copy();
    if (const auto written = services_.store.save(copy.board, entryOf(copy)); !written)
        Log::error("Couldn't write a recovery copy: {}", written.error().text());
    changedSinceRecovery_ = false;
}

RecoveryStore::Entry DocumentRecovery::entryOf(const Copy& copy) const {
    return {.id = recoveryID_,
            .name = copy.name,
            .originalURL = copy.originalURL,
            .savedAt = currentDate()};
}

} // namespace ombrel
