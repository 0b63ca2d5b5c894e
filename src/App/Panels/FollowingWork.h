// Keeps what a panel shows up to date with something that changes all the time: a moment after a
// wish the work of the moment is asked for and done in slices. Work that has begun is finished
// before the next begins, so that even during a long drag there is always something to see. What is
// done when there is nothing else to do is given up at the next wish. Main thread only.
#pragma once

#include "App/Panels/SlicedWork.h"

#include <QTimer>
#include <chrono>
#include <functional>

namespace ombrel {

class FollowingWork {
public:
    struct Job {
        SlicedWork::Slice slice;
        std::function<void()> answer; ///< on the main thread
    };

    /// `next` tells what is to be done at that moment; it outlives this.
    FollowingWork(Executor& main, Executor& worker, std::chrono::milliseconds interval,
                  std::function<Job()> next);

    void wish();
    /// Work that the next wish ends.
    void startIdle(Job job);
    /// Nothing is wanted any more, and nothing will be answered.
    void stop();
    /// The same, and then one last thing that is not answered.
    void stopWith(SlicedWork::Slice last);
    bool isBusy() const { return isWished_ || isWorking_; }

private:
    void run();

    const std::function<Job()> next_;
    QTimer pause_;
    bool isWished_ = false;
    bool isWorking_ = false; ///< at a wish
    SlicedWork work_;
};

} // namespace ombrel
