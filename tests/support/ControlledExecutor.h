// Executors whose tasks run only when a test says so, one at a time on the test's own thread, in
// the order the test chooses. Code under a worker's task is as if on another thread: a main
// executor is not current there.
#pragma once

#include "Base/Check.h"
#include "Base/Executor.h"

#include <cstddef>
#include <deque>
#include <random>
#include <utility>

namespace ombrel {

class ControlledExecutor final : public Executor {
public:
    enum class Role { main, worker };

    explicit ControlledExecutor(Role role) : role_(role) {}

    void post(Task task) override { tasks_.push_back(std::move(task)); }
    bool isCurrent() const override {
        return running_ != nullptr ? running_ == this : role_ == Role::main;
    }

    std::size_t pending() const { return tasks_.size(); }
    /// Runs the task at a place in the order of posting.
    void run(std::size_t place = 0) {
        OMBREL_CHECK(place < tasks_.size(), "a task that is run has been posted");
        Task task = std::move(tasks_[place]);
        tasks_.erase(tasks_.begin() + static_cast<std::ptrdiff_t>(place));
        const ControlledExecutor* const before = std::exchange(running_, this);
        task();
        task = nullptr; // what it held ends here too
        running_ = before;
    }
    /// Runs tasks in order until none is left, those they post included.
    std::size_t runAll() {
        std::size_t count = 0;
        for (; !tasks_.empty(); ++count)
            run();
        return count;
    }

private:
    static inline thread_local const ControlledExecutor* running_ = nullptr;

    const Role role_;
    std::deque<Task> tasks_;
};

/// A main thread, which keeps the order of its tasks, and workers, which do not.
struct ControlledExecutors {
    ControlledExecutor main{ControlledExecutor::Role::main};
    ControlledExecutor worker{ControlledExecutor::Role::worker};

    ~ControlledExecutors() { settle(); }

    /// Runs everything until nothing is left.
    void settle() {
        while (worker.runAll() + main.runAll() > 0) {
        }
    }
    /// Runs one task of either, chosen by chance; false where there is none.
    template <typename Random>
    bool step(Random& random) {
        const std::size_t mains = main.pending() > 0 ? 1 : 0;
        const std::size_t choices = mains + worker.pending();
        if (choices == 0) return false;
        const std::size_t choice = random() % choices;
        if (choice < mains) {
            main.run();
        } else {
            worker.run(choice - mains);
        }
        return true;
    }
};

} // namespace ombrel
