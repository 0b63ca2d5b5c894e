// What several tools know of gestures. Pure functions.
#pragma once

#include "Core/Geometry.h"

#include <cmath>

namespace ombrel {

/// View points that a pointer moves before a press is a drag and no click.
inline constexpr double dragThreshold = 3;

inline double distanceOf(RealPoint a, RealPoint b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

} // namespace ombrel
