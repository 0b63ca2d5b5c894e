// Work for a device: halve four tiles into one, a step of the screen's pyramid.
#pragma once

#include "Engine/CompositeJob.h"

#include <array>

namespace ombrel {

struct DownsampleJob {
    std::byte* output = nullptr;           ///< a tile of halves
    std::array<GPUTileSource, 4> children; ///< in row order; each becomes a quadrant
};

} // namespace ombrel
