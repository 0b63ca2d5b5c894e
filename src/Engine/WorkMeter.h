// Counts what is done of work in several parts and tells it to one Progress, and asks it whether
// the work is still wanted. One thread at a time.
#pragma once

#include "Base/Progress.h"

#include <algorithm>
#include <cstdint>

namespace ombrel {

class WorkMeter {
public:
    /// `progress` may be null. `total` items in all parts; known before the first one is done.
    explicit WorkMeter(Progress* progress, std::int64_t total = 0)
        : progress_(progress), total_(total) {}

    void expect(std::int64_t items) { total_ += items; }
    void add(std::int64_t items) {
        done_ += items;
        if (progress_ != nullptr && total_ > 0)
            progress_->setFraction(
                std::min(static_cast<double>(done_) / static_cast<double>(total_), 1.0));
    }
    bool isCancelled() const { return progress_ != nullptr && progress_->isCancelled(); }
    const Progress* progress() const { return progress_; }

private:
    Progress* progress_;
    std::int64_t total_;
    std::int64_t done_ = 0;
};

} // namespace ombrel
