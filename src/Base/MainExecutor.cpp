#include "Base/MainExecutor.h"

#include "Base/Check.h"

#include <memory>

namespace ombrel {

namespace {

// Static initialisation runs on the main thread.
const std::thread::id mainThread = std::this_thread::get_id();

} // namespace

MainExecutor& MainExecutor::shared() {
    static MainExecutor* const executor = new MainExecutor(mainThread);
    return *executor;
}

void MainExecutor::post(Task task) {
    std::shared_ptr<const std::function<void()>> wakeUp;
    {
        const LockGuard lock(mutex_);
        if (tasks_.empty()) wakeUp = wakeUp_;
        tasks_.push_back(std::move(task));
        arrived_.notifyOne();
    }
    if (wakeUp) (*wakeUp)();
}

void MainExecutor::setWakeUp(std::function<void()> wakeUp) {
    std::shared_ptr<const std::function<void()>> installed;
    if (wakeUp) installed = std::make_shared<const std::function<void()>>(std::move(wakeUp));
    {
        const LockGuard lock(mutex_);
        wakeUp_ = std::move(installed);
    }
    wakeUpIfTasksWait();
}

std::optional<Executor::Task> MainExecutor::takeNext() {
    const LockGuard lock(mutex_);
    if (tasks_.empty()) return std::nullopt;
    std::optional<Task> task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

std::size_t MainExecutor::runPending() {
    OMBREL_CHECK(isCurrent(), "the main executor is driven by its own thread");
    std::size_t waiting = 0;
    {
        const LockGuard lock(mutex_);
        waiting = tasks_.size();
    }
    std::size_t count = 0;
    while (count < waiting) {
        std::optional<Task> task = takeNext();
        if (!task) break; // a nested loop took the rest
        (*task)();
        ++count;
    }
    wakeUpIfTasksWait();
    return count;
}

bool MainExecutor::runNext() {
    OMBREL_CHECK(isCurrent(), "the main executor is driven by its own thread");
    std::optional<Task> task = takeNext();
    if (!task) return false;
    (*task)();
    return true;
}

void MainExecutor::wakeUpIfTasksWait() {
    std::shared_ptr<const std::function<void()>> wakeUp;
    {
        const LockGuard lock(mutex_);
        if (!tasks_.empty()) wakeUp = wakeUp_;
    }
    if (wakeUp) (*wakeUp)();
}

void MainExecutor::runUntil(const std::function<bool()>& isDone) {
    loop(isDone, std::nullopt);
}

bool MainExecutor::runUntil(const std::function<bool()>& isDone, Clock::time_point deadline) {
    return loop(isDone, deadline);
}

bool MainExecutor::loop(const std::function<bool()>& isDone,
                        std::optional<Clock::time_point> deadline) {
    OMBREL_CHECK(isCurrent(), "the main executor is driven by its own thread");
    while (!isDone()) {
        if (deadline && Clock::now() >= *deadline) return false;
        if (std::optional<Task> task = takeNext()) {
            (*task)();
            continue;
        }
        const LockGuard lock(mutex_);
        while (tasks_.empty()) {
            if (!deadline) {
                arrived_.wait(mutex_);
            } else if (!arrived_.waitUntil(mutex_, *deadline)) {
                break;
            }
        }
    }
    return true;
}

} // namespace ombrel
