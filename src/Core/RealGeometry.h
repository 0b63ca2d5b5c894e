// Sizes, rectangles and affine maps between pixels, in double; y grows downward. Plain values, not
// checked: sides may be negative, numbers infinite or NaN, as a file brings them.
#pragma once

#include "Core/Geometry.h"

namespace ombrel {

struct RealSize {
    double width = 0;
    double height = 0;

    bool operator==(const RealSize&) const = default;
};

struct RealRect {
    RealPoint origin;
    RealSize size;

    bool operator==(const RealRect&) const = default;
};

/// (x, y) goes to (a x + c y + tx, b x + d y + ty).
struct AffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;

    bool operator==(const AffineTransform&) const = default;
};

} // namespace ombrel
