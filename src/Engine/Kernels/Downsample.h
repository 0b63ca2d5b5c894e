// The downsample kernel: each quadrant of the output tile is a child at half size.
//
//   out(x, y) = ((p(2x, 2y) + p(2x, 2y + 1)) + (p(2x + 1, 2y) + p(2x + 1, 2y + 1))) / 4
//
// in floats, in this order, then rounded to the nearest half: the same bits on every SIMD target.
// No halo. The mean is taken of premultiplied linear pixels. It keeps the light of a thin line:
// one level up the line is half as bright at most, never gone and never doubled, wherever it lies
// on the raster, and a box of boxes is again a box, so that a level does not depend on how many
// steps led to it. Filters that reach further would sharpen more but let levels differ by ringing,
// and picking pixels would make lines come and go as the zoom changes.
#pragma once

#include "Engine/CompositeRecords.h"

#include <array>
#include <cstdint>

namespace ombrel::Kernels {

struct DownsampleArguments {
    const GPUTileRef* child = nullptr;
    std::uint32_t quadrant = 0;      ///< of the output: 0 to 3 in row order
    std::uint16_t* output = nullptr; ///< the whole tile, 256 rows of 256 interleaved pixels
};

void downsampleQuadrant(const DownsampleArguments& arguments);

} // namespace ombrel::Kernels
