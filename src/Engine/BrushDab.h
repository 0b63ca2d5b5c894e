// One stamp of a brush, as the stroke pipeline makes it and the stroke renderer lays it down. Plain
// value; places and sizes are pixels of the document.
#pragma once

#include <cstdint>

namespace ombrel {

struct BrushDab {
    float x = 0; ///< of the middle; pixel (0, 0) covers the square from (0, 0) to (1, 1)
    float y = 0;
    float radius = 0;
    float hardness = 1;     ///< 0 to 1: how much of the radius is solid before it falls off
    float alpha = 1;        ///< how much paint this stamp brings: the flow, with its dynamics
    bool aliased = false;   ///< whole pixels only
    float angle = 0;        ///< of the long axis, radians, clockwise on the screen
    float roundness = 1;    ///< above 0, to 1: short axis by long axis
    float speckle = 0;      ///< above 0: grains of this size instead of a surface, pixels
    std::uint32_t seed = 0; ///< which pattern of grains

    bool operator==(const BrushDab&) const = default;
};

} // namespace ombrel
