// Grids turned by any angle, bicubic (Catmull-Rom) on premultiplied linear light, in the
// coordinates of the canvas. Areas of one colour stay as they are and cost nothing; negative
// weights are kept from drawing fringes as in Resampling.h. Synchronous, any thread, all cores.
#pragma once

#include "Core/Geometry.h"
#include "Engine/Resampling.h"

#include <expected>

namespace ombrel {

class TileStore;

/// Clockwise as seen on the screen, y grows downward.
struct Rotation {
    double degrees = 0;
    RealPoint from; ///< this point of the canvas before
    RealPoint to;   ///< comes to lie here after

    /// Where a point comes from.
    RealPoint sourceOf(RealPoint target) const;
    /// Where a point goes.
    RealPoint targetOf(RealPoint source) const;
    /// A rectangle around where another one goes.
    PixelRect targetOf(const PixelRect& source) const;
};

/// The result lies at offset (0, 0). `background`: what an absent cell of an r8 grid reads as.
std::expected<PlacedGrid, EngineError> rotated(const PlacedGrid& grid, const Rotation& rotation,
                                               float background, TileStore& store,
                                               WorkMeter& meter);

} // namespace ombrel
