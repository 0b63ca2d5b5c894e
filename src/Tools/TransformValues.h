// A free transform as its fields show it. Plain values.
#pragma once

#include "Core/Geometry.h"

namespace ombrel {

struct TransformValues {
    RealPoint position; ///< of the pivot, in document coordinates
    double scaleX = 1;  ///< below 0 mirrors
    double scaleY = 1;
    double rotation = 0; ///< radians, clockwise
    double skew = 0;     ///< radians

    bool operator==(const TransformValues&) const = default;
};

/// What somebody answered who was asked whether a transform is to be applied.
enum class ApplyTransformChoice { apply, discard, cancel };

} // namespace ombrel
