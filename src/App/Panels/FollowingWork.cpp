#include "App/Panels/FollowingWork.h"

#include <utility>

namespace ombrel {

FollowingWork::FollowingWork(Executor& main, Executor& worker, std::chrono::milliseconds interval,
                             std::function<Job()> next)
    : next_(std::move(next)), work_(main, worker) {
    pause_.setSingleShot(true);
    pause_.setInterval(interval);
    QObject::connect(&pause_, &QTimer::timeout, [this] { run(); });
}

void FollowingWork::wish() {
    isWished_ = true;
    if (!isWorking_ && !pause_.isActive()) pause_.start();
}

void FollowingWork::run() {
    if (!std::exchange(isWished_, false)) return;
    Job job = next_();
    if (!job.slice) return work_.cancel(); // what is done meanwhile is of something else
    isWorking_ = true;
    work_.start(std::move(job.slice), [this, answer = std::move(job.answer)] {
        isWorking_ = false;
        if (isWished_) pause_.start();
        if (answer) answer();
    });
}

void FollowingWork::startIdle(Job job) {
    if (!isBusy()) work_.start(std::move(job.slice), std::move(job.answer));
}

void FollowingWork::stop() {
    pause_.stop();
    isWished_ = false;
    isWorking_ = false;
    work_.cancel();
}

void FollowingWork::stopWith(SlicedWork::Slice last) {
    stop();
    work_.start(std::move(last), {});
}

} // namespace ombrel
