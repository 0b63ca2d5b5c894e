// How the cells of a grid with an offset meet the tiles of the canvas: an output tile overlaps one
// cell, or two by two where the offset is not a multiple of the tile.
#pragma once

#include "Core/TileGrid.h"

#include <array>
#include <cstdint>

namespace ombrel {

/// An offset as whole tiles and what is left, 0 to 255.
struct TileShift {
    std::int64_t tilesX = 0;
    std::int64_t tilesY = 0;
    std::array<std::int32_t, 2> phase{};

    static TileShift of(PixelOffset offset);
    std::int64_t extraX() const { return phase[0] != 0 ? 1 : 0; } ///< a second column of cells
    std::int64_t extraY() const { return phase[1] != 0 ? 1 : 0; }
};

/// The cells under one output tile in row order, beginning with the one under its upper left
/// corner. Valid as long as the grid.
struct TileQuad {
    std::array<TileCell, 4> cells;
    std::array<std::int32_t, 2> phase{};

    static TileQuad at(const TileGrid& grid, const TileShift& shift, TileCoord output);
    bool hasContent() const;
};

/// Whether any cell lies under the output tile.
bool touches(const TileGrid& grid, const TileShift& shift, TileCoord output);

/// The output tiles, within `range`, that a cell touches.
TileRange outputsOf(TileCoord cell, const TileShift& shift, const TileRange& range);

/// The cells that lie under any output tile of a range.
TileRange cellsUnder(const TileRange& outputs, const TileShift& shift);

/// Calls visit(TileCoord) for every output tile within `range` that some cell of the grid touches;
/// a tile may come more than once.
template <typename Visit>
void forEachOutput(const TileGrid& grid, PixelOffset offset, const TileRange& range,
                   Visit&& visit) {
    const TileShift shift = TileShift::of(offset);
    grid.forEachIn(cellsUnder(range, shift), [&](TileCoord cell, const TileCell&) {
        for (const TileCoord output : outputsOf(cell, shift, range))
            visit(output);
    });
}

} // namespace ombrel
