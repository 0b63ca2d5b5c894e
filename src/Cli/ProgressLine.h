// How far long work is, on one line of a terminal that is taken away at the end. Silent where
// standard error is no terminal, and for work that is soon done.
#pragma once

#include "Base/ThreadAnnotations.h"

#include <chrono>
#include <string>

namespace ombrel {

class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine(); ///< takes the line away
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Any thread, as often as one likes: drawn a few times a second.
    void show(double fraction, const std::string& text);

private:
    using Clock = std::chrono::steady_clock;

    const bool isTerminal_;
    Mutex mutex_;
    Clock::time_point nextDraw_ OMBREL_GUARDED_BY(mutex_);
    bool isDrawn_ OMBREL_GUARDED_BY(mutex_) = false;
};

} // namespace ombrel
