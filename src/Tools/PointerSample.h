// One event of a pointer as tools see it: where it is in the document and in the view, and what a
// pen adds to that. A plain value, made by the canvas.
#pragma once

#include "Core/Geometry.h"
#include "Tools/ToolModifiers.h"

#include <cstdint>

namespace ombrel {

enum class PointerDevice : std::uint8_t { mouse, pen, eraser };

struct PointerSample {
    RealPoint location;     ///< in document coordinates
    RealPoint viewLocation; ///< in view points
    float pressure = 1;     ///< 0 to 1
    RealPoint tilt = {};    ///< -1 to 1 in both directions, 0 upright
    float rotation = 0;     ///< of the pen about itself, degrees
    double timestamp = 0;   ///< seconds
    ToolModifiers modifiers = {};
    PointerDevice device = PointerDevice::mouse;
    std::int64_t clickCount = 1;

    bool operator==(const PointerSample&) const = default;
};

} // namespace ombrel
