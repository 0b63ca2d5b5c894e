#include "Cli/ProgressLine.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace ombrel {

namespace {

constexpr auto firstDraw = std::chrono::milliseconds(500);
constexpr auto drawInterval = std::chrono::milliseconds(100);
constexpr const char* eraseLine = "\r\x1b[K";

} // namespace

ProgressLine::ProgressLine()
    : isTerminal_(::isatty(STDERR_FILENO) == 1), nextDraw_(Clock::now() + firstDraw) {}

ProgressLine::~ProgressLine() {
    if (isDrawn_) std::fputs(eraseLine, stderr);
}

void ProgressLine::show(double fraction, const std::string& text) {
    if (!isTerminal_) return;
    const LockGuard lock(mutex_);
    const Clock::time_point now = Clock::now();
    if (now < nextDraw_) return;
    nextDraw_ = now + drawInterval;
    isDrawn_ = true;
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
    std::fputs(fmt::format("{}{} {}%", eraseLine, text, percent).c_str(), stderr);
}

} // namespace ombrel
