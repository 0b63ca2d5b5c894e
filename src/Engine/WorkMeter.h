// Counts what is done of work in several parts and tells it to one Progress, and asks it whether
// the work is still wanted. One thread at a time.
#pragma once

#include "Base/Progress.h"

#include <algorithm>
#include <cstdint>

namespace ombrel {

class WorkMeter {
public:
    /// `progress` may be null. `total` is the sum of the weights of all parts.
    explicit WorkMeter(Progress* progress, std::int64_t total = 1)
        : progress_(progress), total_(std::max<std::int64_t>(total, 1)) {}

    /// The part before counts as done. Comes before all else.
    void beginPart(std::int64_t weight) {
        before_ += weight_;
        weight_ = weight;
        items_ = 0;
        done_ = 0;
    }
    /// Of this part, before the first one is done.
    void expect(std::int64_t items) { items_ = items; }
    void add(std::int64_t items) {
        done_ += items;
        if (progress_ == nullptr || items_ == 0) return;
        const double part = static_cast<double>(done_) / static_cast<double>(items_);
        const double all = static_cast<double>(before_) + static_cast<double>(weight_) * part;
        progress_->setFraction(std::min(all / static_cast<double>(total_), 1.0));
    }
    bool isCancelled() const { return progress_ != nullptr && progress_->isCancelled(); }
    const Progress* progress() const { return progress_; }

private:
    Progress* progress_;
    std::int64_t total_;
    std::int64_t before_ = 0;
    std::int64_t weight_ = 0;
    std::int64_t items_ = 0;
    std::int64_t done_ = 0;
};

} // namespace ombrel
