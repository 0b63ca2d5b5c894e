// Where code runs. An executor takes tasks and runs them later, in the order and on the threads its
// kind promises: ThreadPool (any of its threads, in parallel), Strand (one at a time, in order) and
// MainExecutor (the main thread). Asynchronous operations take the executor on which they answer;
// it must outlive them. Posting is allowed from any thread and never blocks.
#pragma once

#include <functional>
#include <type_traits>
#include <utility>

namespace ombrel {

class Executor {
public:
    /// Runs once. Must not throw: an exception that leaves a task ends the process.
    using Task = std::move_only_function<void()>;

    Executor() = default;
    virtual ~Executor() = default;
    Executor(const Executor&) = delete;
    Executor& operator=(const Executor&) = delete;

    /// Runs `task` later, never inside this call.
    virtual void post(Task task) = 0;
    /// Whether the caller is being run by this executor.
    virtual bool isCurrent() const = 0;

    /// Runs `task` at once where that is allowed (isCurrent), else posts it.
    void dispatch(Task task) {
        if (isCurrent()) {
            task();
        } else {
            post(std::move(task));
        }
    }
};

/// Runs `work` on `worker`, then `answer` on `answerOn` with what it returned.
template <typename Work, typename Answer>
void postWithAnswer(Executor& worker, Work work, Executor& answerOn, Answer answer) {
    worker.post([work = std::move(work), &answerOn, answer = std::move(answer)]() mutable {
        if constexpr (std::is_void_v<std::invoke_result_t<Work&>>) {
            work();
            answerOn.post(std::move(answer));
        } else {
            answerOn.post([answer = std::move(answer), result = work()]() mutable {
                answer(std::move(result));
            });
        }
    });
}

} // namespace ombrel
