// A new grid drawn from an old one by a map of places: which target tiles are one colour as a
// whole, which hold nothing, and which have to be computed. Areas of one colour are passed by as a
// whole, so the cost follows stored tiles and borders. The tiles are computed in parallel, batch by
// batch, at the store's pace.
#pragma once

#include "Core/TileBuffer.h"
#include "Core/TileGrid.h"
#include "Engine/EngineError.h"
#include "Engine/WorkMeter.h"

#include <expected>
#include <functional>
#include <span>
#include <vector>

namespace ombrel {

class TileStore;

struct GridMapping {
    const TileGrid* source = nullptr;
    PixelRect target; ///< pixels beyond it are never drawn
    /// The source pixels that may be read for a rectangle of targets; empty where there are none.
    /// Whatever lies within stays within for a smaller rectangle.
    std::function<PixelRect(const PixelRect&)> sourceOf;
};

/// What is known without computing a pixel.
struct MappedGrid {
    TileGrid tiles;              ///< cells of one colour
    std::vector<TileCoord> work; ///< tiles to compute, neighbours close to each other
};

MappedGrid mappedGrid(const GridMapping& mapping);

/// Computes tiles into a grid. `draw(coord, bytes)` fills a whole tile and returns false when it
/// was cancelled; it runs on several threads. Tiles of one colour become cells of one colour.
std::expected<void, EngineError> drawTiles(TileGrid& grid, std::span<const TileCoord> work,
                                           float background, TileStore& store, WorkMeter& meter,
                                           const std::function<bool(TileCoord, std::byte*)>& draw);

} // namespace ombrel
