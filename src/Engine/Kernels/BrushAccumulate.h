// The kernel "brush_accumulate": adds the dabs of a tile, in their order, to rows of its mask. With
// M the mask, s the dab's coverage of the pixel (see DabShape.h), a its alpha and k the spacing
// factor:
//   k = 0      M' = 1 - (1 - M) (1 - a s)                      dabs add up as they come
//   k <= 1     M' = max(1 - (1 - M) (1 - a s)^k, a s)          one dab brings a s; where they lie
//              close, as much comes together as of dabs a quarter of the diameter apart
//   k > 1      M' = 1 - (1 - M) (1 - s (1 - (1 - a)^k))        dabs further apart bring more
// M never falls and never passes 1. It reads and writes the pixel's own mask value only; no halo.
#pragma once

#include "Engine/BrushRecords.h"
#include "Engine/Kernels/ColumnSpan.h"

#include <cstdint>
#include <span>

namespace ombrel {
class BrushTipPyramid;
}

namespace ombrel::Kernels {

struct BrushAccumulateArguments {
    const BrushPassParams* params = nullptr;
    const GPUBrushTile* tile = nullptr;
    std::span<const GPUDab> dabs; ///< of all tiles
    const BrushTipPyramid* tip = nullptr;
    std::uint32_t firstRow = 0;
    std::uint32_t rowCount = 256;
    /// One for each of these rows: widened to what the dabs reach, in whole vectors.
    std::span<ColumnSpan> touched;
};

void accumulateRows(const BrushAccumulateArguments& arguments);

} // namespace ombrel::Kernels
