// Calls back after a time, once or again and again, on an executor of the caller's choice.
// Destroying or cancelling the timer on that executor (main or a strand) ensures that no call
// follows; elsewhere a call that has begun may still run. One thread at a time.
#pragma once

#include "Base/Executor.h"

#include <chrono>
#include <memory>

namespace ombrel {

class Timer {
public:
    using Duration = std::chrono::steady_clock::duration;
    using Callback = std::move_only_function<void()>;

    Timer();
    ~Timer();
    Timer(Timer&&) noexcept;
    Timer& operator=(Timer&&) noexcept;

    /// Calls once after `delay`. What was started before is cancelled. `answerOn` outlives this.
    void startOnce(Duration delay, Executor& answerOn, Callback callback);
    /// Calls every `interval` (above 0), counted from now. While the executor is busy calls are
    /// left out, never piled up.
    void startRepeating(Duration interval, Executor& answerOn, Callback callback);
    void cancel();
    /// Whether a call is still to come.
    bool isActive() const;

private:
    struct State;
    void start(Duration delay, Duration interval, Executor& answerOn, Callback callback);

    std::shared_ptr<State> state_;
};

} // namespace ombrel
