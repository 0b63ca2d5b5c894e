// Messages to whoever looks after the program: one line each on standard error, written at once.
// Sparse on purpose: what the user must know goes to the user instead. Warnings and errors are
// shown; OMBREL_LOG=debug (or info, warning, error) in the environment sets another threshold.
// Any thread.
#pragma once

#include <fmt/core.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace ombrel {

enum class LogLevel { debug, info, warning, error };

namespace Log {

/// Receives messages in place of standard error. Called with the log's lock held: a sink does not
/// log.
using Sink = std::function<void(LogLevel, std::string_view message)>;

/// Whether messages of this level are shown; for work that is done only to be logged.
bool isShown(LogLevel level);
/// Line breaks and other control characters become spaces, so that a message stays one line.
void write(LogLevel level, std::string_view message);

template <typename... Args>
void debug(fmt::format_string<Args...> format, Args&&... args) {
    if (isShown(LogLevel::debug)) {
        write(LogLevel::debug, fmt::format(format, std::forward<Args>(args)...));
    }
}
template <typename... Args>
void info(fmt::format_string<Args...> format, Args&&... args) {
    if (isShown(LogLevel::info)) {
        write(LogLevel::info, fmt::format(format, std::forward<Args>(args)...));
    }
}
template <typename... Args>
void warning(fmt::format_string<Args...> format, Args&&... args) {
    if (isShown(LogLevel::warning)) {
        write(LogLevel::warning, fmt::format(format, std::forward<Args>(args)...));
    }
}
template <typename... Args>
void error(fmt::format_string<Args...> format, Args&&... args) {
    write(LogLevel::error, fmt::format(format, std::forward<Args>(args)...));
}

} // namespace Log

/// Sends the messages of `threshold` and above to a sink for as long as it lives; for tests.
class LogCapture {
public:
    LogCapture(LogLevel threshold, Log::Sink sink);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

private:
    LogLevel thresholdBefore_;
    Log::Sink sinkBefore_;
};

/// Logs how long its scope took ("Flatten: 12.3 ms") at the debug level; costs a comparison
/// otherwise.
class TimingInterval {
public:
    explicit TimingInterval(std::string_view name)
        : name_(name), isShown_(Log::isShown(LogLevel::debug)) {
        if (isShown_) start_ = std::chrono::steady_clock::now();
    }
    ~TimingInterval();
    TimingInterval(const TimingInterval&) = delete;
    TimingInterval& operator=(const TimingInterval&) = delete;

private:
    std::string_view name_; ///< a literal
    bool isShown_;
    std::chrono::steady_clock::time_point start_;
};

} // namespace ombrel
