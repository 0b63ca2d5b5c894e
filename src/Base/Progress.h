// How long work tells its caller how far it is, and learns that it is no longer wanted. Whoever
// starts the work owns the Progress and may read it and cancel from any thread.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

namespace ombrel {

class Progress {
public:
    using Observer = std::function<void(double fraction, const std::string& text)>;

    Progress() = default;
    /// `observer` is called on the working thread, without a lock held.
    explicit Progress(Observer observer) : observer_(std::move(observer)) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Share of the work done, 0 to 1. Any thread.
    void setFraction(double fraction);
    double fraction() const { return fraction_.load(std::memory_order_relaxed); }

    /// What is being done, for the user ("Decoding").
    void setText(std::string text);
    std::string text() const;

    void cancel() { cancelled_.store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return cancelled_.load(std::memory_order_relaxed); }

private:
    std::atomic<double> fraction_ = 0;
    std::atomic<bool> cancelled_ = false;
    mutable std::mutex mutex_;
    std::string text_;
    Observer observer_;
};

} // namespace ombrel
