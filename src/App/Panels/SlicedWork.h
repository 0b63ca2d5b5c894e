// Work that a panel has done on a worker, in slices: one piece of work at a time, the newest wish
// next, and between slices the worker is free for others. What was overtaken ends at its next slice
// and is never answered. So what slices work on needs no lock, as long as only slices touch it.
// Main thread only.
#pragma once

#include "Base/Executor.h"

#include <functional>
#include <memory>

namespace ombrel {

class SlicedWork {
public:
    /// On the worker, again and again until it gives true.
    using Slice = std::function<bool()>;

    SlicedWork(Executor& main, Executor& worker);
    /// Nothing is answered any more; a slice that runs owns what it needs.
    ~SlicedWork();
    SlicedWork(const SlicedWork&) = delete;
    SlicedWork& operator=(const SlicedWork&) = delete;

    /// `answer` is called on the main thread after the last slice.
    void start(Slice slice, std::function<void()> answer);
    /// What there is to do is not wanted any more.
    void cancel();
    bool isBusy() const;

private:
    struct Core;

    std::shared_ptr<Core> core_;
};

} // namespace ombrel
