// One point of a stroke between pointer and dabs: where the brush is, and what the pen says there.
// A plain value.
#pragma once

#include "Core/Geometry.h"

namespace ombrel {

struct StrokePoint {
    RealPoint position; ///< in document coordinates
    float pressure = 1; ///< 0 to 1
    RealPoint tilt;     ///< -1 to 1 in both directions, 0 upright

    bool operator==(const StrokePoint&) const = default;
};

} // namespace ombrel
