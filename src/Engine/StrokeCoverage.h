// Where a whole stroke has painted, and how much: what is computed from a finished stroke reads it.
#pragma once

#include "Core/Geometry.h"

#include <cstdint>
#include <vector>

namespace ombrel {

struct StrokeCoverage {
    PixelRect rect;
    std::vector<std::uint8_t> bytes; ///< row by row over the rectangle

    bool operator==(const StrokeCoverage&) const = default;
};

} // namespace ombrel
