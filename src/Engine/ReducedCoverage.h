// Coverage at a smaller size: each pixel the mean of what it covers, parts of pixels counted as
// such. A pure function; any thread.
#pragma once

#include "Core/Geometry.h"

#include <cstdint>
#include <vector>

namespace ombrel {

struct CoverageView {
    const std::uint8_t* bytes = nullptr; ///< of the first pixel
    PixelSize size;
    std::int64_t pitch = 0; ///< bytes from row to row
};

/// Row by row without gaps. No side is larger than before, nor 0.
std::vector<std::uint8_t> reducedCoverage(const CoverageView& from, PixelSize to);

} // namespace ombrel
