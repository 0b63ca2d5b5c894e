// Grids at another size: every grid of a document is resampled in the coordinates of the canvas, so
// contents keep their places relative to each other to a fraction of a pixel, whatever their
// offsets. On premultiplied linear light; areas of one colour stay as they are and cost nothing.
// Synchronous, any thread, all cores; memory is that of the result and a few tiles.
//
// At a side of the canvas beyond which a grid has nothing, its border pixels count as going on: an
// opaque background stays opaque to its edge. What comes to lie beyond that side is cut.
#pragma once

#include "Core/TileGrid.h"
#include "Engine/EngineError.h"
#include "Engine/ResampleAxis.h"
#include "Engine/WorkMeter.h"

#include <expected>

namespace ombrel {

class TileStore;

struct Resampling {
    PixelSize from; ///< of the canvas; not empty
    PixelSize to;   ///< not empty
    ResampleFilter filter = ResampleFilter::lanczos;

    bool operator==(const Resampling&) const = default;
};

/// A grid and where it sits on the canvas.
struct PlacedGrid {
    TileGrid tiles;
    PixelOffset offset;
};

/// `background`: what an absent cell of an r8 grid reads as, 0 to 1. Negative weights never take
/// channels below 0 or above alpha where the pixels they weigh did not go there; alpha ends in
/// 0..1.
std::expected<PlacedGrid, EngineError> resampled(const PlacedGrid& grid,
                                                 const Resampling& resampling, float background,
                                                 TileStore& store, WorkMeter& meter);

/// Where an offset goes: to the nearest whole pixel, halves upward.
PixelOffset scaledOffset(PixelOffset offset, const Resampling& resampling);

} // namespace ombrel
