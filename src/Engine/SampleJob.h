// Work for a device: one tile that holds every so manieth pixel of many tiles, a fast look at a
// layer from far away.
#pragma once

#include "Core/Tile.h"
#include "Engine/CompositeJob.h"

#include <cstdint>
#include <vector>

namespace ombrel {

struct SampleJob {
    std::byte* output = nullptr; ///< a tile of `format`
    TileFormat format = TileFormat::rgba16Float;
    std::uint32_t step = 1;        ///< pixels from one sample to the next, in both directions
    std::uint32_t firstX = 0;      ///< the first sample, within the first cell
    std::uint32_t firstY = 0;      ///< the same, downward
    std::uint32_t cellsOfRow = 1;  ///< cells that a row of samples passes
    std::vector<GPUTileRef> cells; ///< in row order
    float background = 0;          ///< of an r8 job: what an absent cell counts as
};

} // namespace ombrel
