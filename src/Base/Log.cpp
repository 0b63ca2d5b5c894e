#include "Base/Log.h"

#include "Base/ThreadAnnotations.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <unistd.h>

namespace ombrel {

namespace {

constexpr std::array<std::string_view, 4> levelNames{"debug", "info", "warning", "error"};

LogLevel thresholdFromEnvironment() {
    const char* value = std::getenv("OMBREL_LOG");
    const auto found = std::ranges::find(levelNames, std::string_view(value ? value : ""));
    if (found == levelNames.end()) return LogLevel::warning;
    return static_cast<LogLevel>(found - levelNames.begin());
}

struct LogState {
    std::atomic<LogLevel> threshold = thresholdFromEnvironment();
    Mutex mutex;
    Log::Sink sink OMBREL_GUARDED_BY(mutex);
};

LogState& state() {
    static LogState* const state = new LogState; // messages come until the very end
    return *state;
}

std::string oneLine(std::string_view message) {
    std::string line(message);
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    }
    return line;
}

/// One write, so that lines of several processes and threads do not mix.
void writeToStandardError(LogLevel level, std::string_view message) {
    const std::string line = fmt::format(
        "ombrel: {}: {}\n", levelNames[static_cast<std::size_t>(level)], oneLine(message));
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

} // namespace

bool Log::isShown(LogLevel level) {
    return level >= state().threshold.load(std::memory_order_relaxed);
}

void Log::write(LogLevel level, std::string_view message) {
    if (!isShown(level)) return;
    const LockGuard lock(state().mutex);
    if (state().sink) {
        state().sink(level, message);
    } else {
        writeToStandardError(level, message);
    }
}

LogCapture::LogCapture(LogLevel threshold, Log::Sink sink) {
    const LockGuard lock(state().mutex);
    thresholdBefore_ = state().threshold.exchange(threshold);
    sinkBefore_ = std::exchange(state().sink, std::move(sink));
}

LogCapture::~LogCapture() {
    const LockGuard lock(state().mutex);
    state().threshold.store(thresholdBefore_);
    state().sink = std::move(sinkBefore_);
}

TimingInterval::~TimingInterval() {
    if (!isShown_) return;
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start_;
    Log::debug("{}: {:.1f} ms", name_, taken.count());
}

} // namespace ombrel
