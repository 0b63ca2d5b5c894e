#include "Tools/StrokeSmoother.h"

#include <cmath>
#include <utility>

namespace ombrel {

StrokePoint StrokeSmoother::begin(const StrokePoint& point) {
    anchor_ = point;
    latest_ = point;
    return point;
}

std::optional<StrokePoint> StrokeSmoother::add(const StrokePoint& point) {
    latest_ = point;
    if (!anchor_ || !(length_ > 0)) {
        anchor_ = point;
        return point;
    }
    const RealPoint from = anchor_->position;
    const double dx = point.position.x - from.x;
    const double dy = point.position.y - from.y;
    const double distance = std::hypot(dx, dy);
    if (length_ >= distance) return std::nullopt;
    const double fraction = (distance - length_) / distance;
    anchor_ = point;
    anchor_->position = {from.x + dx * fraction, from.y + dy * fraction};
    return anchor_;
}

std::optional<StrokePoint> StrokeSmoother::finish() {
    const auto anchor = std::exchange(anchor_, std::nullopt);
    const auto latest = std::exchange(latest_, std::nullopt);
    if (!anchor || !latest) return std::nullopt;
    const double away = std::hypot(latest->position.x - anchor->position.x,
                                   latest->position.y - anchor->position.y);
    return away > 0.5 ? latest : std::nullopt;
}

} // namespace ombrel
