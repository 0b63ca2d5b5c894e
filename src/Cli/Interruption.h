// Ctrl-C and requests to end, for a scope: the first cancels the Progress, so that the work stops
// and takes its unfinished results away; a second one ends the process at once.
#pragma once

#include "Base/Progress.h"

namespace ombrel {

class Interruption {
public:
    /// `progress` outlives this. One at a time in a process.
    explicit Interruption(Progress& progress);
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
};

} // namespace ombrel
