// The executor of the main thread, which owns documents, tools and windows. It runs nothing by
// itself: a loop of the owning thread drives it, be it the event loop of a window system (through
// the wake-up hook) or a plain loop (runUntil). Tasks run in the order in which they were posted.
#pragma once

#include "Base/Executor.h"
#include "Base/ThreadAnnotations.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace ombrel {

class MainExecutor final : public Executor {
public:
    using Clock = std::chrono::steady_clock;

    /// The one of the thread that runs main(). Never destroyed.
    static MainExecutor& shared();

    /// Owned by the calling thread; for tests and tools with a loop of their own.
    MainExecutor() : MainExecutor(std::this_thread::get_id()) {}

    void post(Task task) override;
    bool isCurrent() const override { return std::this_thread::get_id() == owner_; }

    /// Runs the tasks that were waiting when it was called, not those they post; returns how many
    /// ran. May be called from within a task. Owning thread only, as all that follow.
    std::size_t runPending();
    /// Runs the task that has waited longest; false where none does. Wakes nobody for the rest.
    bool runNext();
    /// Runs tasks, and sleeps while there are none, until `isDone` returns true. It is asked
    /// before the first task and after each.
    void runUntil(const std::function<bool()>& isDone);
    /// The same; false when `deadline` came first.
    bool runUntil(const std::function<bool()>& isDone, Clock::time_point deadline);

    /// `wakeUp` is called with no lock held, on the posting thread whenever the queue gets its
    /// first task, and on the owning thread when tasks are left after runPending; an event loop
    /// then calls runPending. An empty function takes the hook away; a call that is under way on
    /// another thread may still end after that.
    void setWakeUp(std::function<void()> wakeUp);

private:
    explicit MainExecutor(std::thread::id owner) : owner_(owner) {}

    std::optional<Task> takeNext();
    void wakeUpIfTasksWait();
    bool loop(const std::function<bool()>& isDone, std::optional<Clock::time_point> deadline);

    const std::thread::id owner_;
    Mutex mutex_;
    Condition arrived_;
    std::deque<Task> tasks_ OMBREL_GUARDED_BY(mutex_);
    std::shared_ptr<const std::function<void()>> wakeUp_ OMBREL_GUARDED_BY(mutex_);
};

} // namespace ombrel
