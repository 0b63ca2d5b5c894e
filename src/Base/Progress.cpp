#include "Base/Progress.h"

namespace ombrel {

void Progress::setFraction(double fraction) {
    fraction_.store(fraction, std::memory_order_relaxed);
    if (observer_) observer_(fraction, text());
}

void Progress::setText(std::string text) {
    {
        const std::lock_guard lock(mutex_);
        text_ = std::move(text);
    }
    if (observer_) observer_(fraction(), this->text());
}

std::string Progress::text() const {
    const std::lock_guard lock(mutex_);
    return text_;
}

} // namespace ombrel
