// Holds a stroke back on a string: the brush stays where it is until the string is taut, and is
// then pulled along behind the pointer. So the hand's trembling ends in slack. A value that a tool
// owns for one stroke.
#pragma once

#include "Tools/StrokePoint.h"

#include <algorithm>
#include <optional>

namespace ombrel {

class StrokeSmoother {
public:
    /// The length of the string, document pixels; below zero it is none.
    explicit StrokeSmoother(double length = 0) : length_(std::max(length, 0.0)) {}

    StrokePoint begin(const StrokePoint& point);
    /// Where the brush is now; nothing where the string was slack.
    std::optional<StrokePoint> add(const StrokePoint& point);
    /// The real end of the stroke, where the brush is away from it. The smoother is empty then.
    std::optional<StrokePoint> finish();

    double length() const { return length_; }

private:
    double length_;
    std::optional<StrokePoint> anchor_; ///< the brush
    std::optional<StrokePoint> latest_; ///< the pointer
};

} // namespace ombrel
