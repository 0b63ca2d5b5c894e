#include "Base/Timer.h"

#include "Base/Check.h"
#include "Base/ThreadAnnotations.h"
#include "Base/ThreadPool.h"

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <asio/thread_pool.hpp>

#include <atomic>

namespace ombrel {

namespace {

/// One thread of their own, which does nothing but post: timers stay punctual while the pools are
/// busy. Kept to the end of the process as the shared pools are.
asio::thread_pool& timerContext() {
    static ThreadPool* const pool = new ThreadPool(TaskPriority::userInitiated, 1);
    return pool->context();
}

} // namespace

/// Shared by the timer, the wait and the posted call. The wait is touched only on the timer
/// thread; the callback only on the answering executor.
struct Timer::State : std::enable_shared_from_this<State> {
    State(Duration repeatInterval, Executor& executor, Callback call)
        : interval(repeatInterval), answerOn(executor), callback(std::move(call)),
          wait(timerContext().get_executor()) {}

    /// On the timer thread.
    void arm(std::chrono::steady_clock::time_point time) {
        if (!isActive.load()) return;
        due = time;
        wait.expires_at(due);
        wait.async_wait([self = shared_from_this()](const asio::error_code& error) {
            if (error) return;
            const LockGuard lock(self->posting);
            if (!self->isActive.load()) return;
            self->answerOn.post([self] { self->call(); });
        });
    }
    /// On the answering executor.
    void call() {
        if (!isActive.load()) return;
        if (interval == Duration::zero()) isActive.store(false);
        callback();
        if (!isActive.load()) return;
        asio::post(wait.get_executor(), [self = shared_from_this()] {
            const auto missed = (std::chrono::steady_clock::now() - self->due) / self->interval;
            self->arm(self->due + self->interval * (missed + 1));
        });
    }
    void cancel() {
        {
            const LockGuard lock(posting);
            if (!isActive.exchange(false)) return;
        }
        asio::post(wait.get_executor(), [self = shared_from_this()] { self->wait.cancel(); });
    }

    const Duration interval; ///< zero calls once
    Executor& answerOn;
    Callback callback;
    /// Held while posting: the executor may go as soon as cancel() has returned.
    Mutex posting;
    std::atomic<bool> isActive = true;
    asio::steady_timer wait;
    std::chrono::steady_clock::time_point due;
};

Timer::Timer() = default;
Timer::~Timer() {
    cancel();
}
Timer::Timer(Timer&&) noexcept = default;
Timer& Timer::operator=(Timer&& other) noexcept {
    std::swap(state_, other.state_);
    other.cancel();
    return *this;
}

void Timer::startOnce(Duration delay, Executor& answerOn, Callback callback) {
    start(delay, Duration::zero(), answerOn, std::move(callback));
}

void Timer::startRepeating(Duration interval, Executor& answerOn, Callback callback) {
    OMBREL_CHECK(interval > Duration::zero(), "a timer repeats after some time");
    start(interval, interval, answerOn, std::move(callback));
}

void Timer::start(Duration delay, Duration interval, Executor& answerOn, Callback callback) {
    cancel();
    const auto due = std::chrono::steady_clock::now() + delay;
    state_ = std::make_shared<State>(interval, answerOn, std::move(callback));
    asio::post(state_->wait.get_executor(), [state = state_, due] { state->arm(due); });
}

void Timer::cancel() {
    if (const std::shared_ptr<State> state = std::exchange(state_, nullptr)) state->cancel();
}

bool Timer::isActive() const {
    return state_ && state_->isActive.load();
}

} // namespace ombrel
