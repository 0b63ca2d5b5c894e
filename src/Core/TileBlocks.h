// New tiles made of pieces of old cells: what every operation that cuts or moves pixels of a grid
// comes down to. Blocks are rendered in parallel; blocks of equal pieces that read no stored tile
// are rendered once and share their tile. Any thread.
#pragma once

#include "Core/TilePixels.h"

#include <optional>
#include <span>
#include <vector>

namespace ombrel {

class TileStore;

/// A part of a block, taken from a cell; an absent cell gives zeros. Later pieces lie on top.
struct TilePiece {
    TileCell cell;
    TilePixels::LocalRect rect; ///< in the block
    int sourceLeft = 0;         ///< where a stored tile is read, for the rectangle's corner
    int sourceTop = 0;
};

struct TileBlock {
    TileCoord coord;
    std::vector<TilePiece> pieces; ///< what none of them covers is zero
};

/// A tile for each block, or nothing where all its channels are zero. The cells of the pieces must
/// stay valid for the call.
std::vector<std::optional<TileContent>>
renderBlocks(TileFormat format, std::span<const TileBlock> blocks, TileStore& store);

} // namespace ombrel
