// Work for a device: add dabs to the masks of a stroke, then compute the tiles under them anew.
// Both arrays of tiles are in the same order, and no tile is in them twice. Everything pointed at
// is kept alive by the caller until the device is done.
#pragma once

#include "Core/Tile.h"
#include "Engine/BrushRecords.h"
#include "Engine/CompositeRecords.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ombrel {

class BrushTipPyramid;

struct BrushBatch {
    BrushPassParams params;
    TileFormat format = TileFormat::rgba16Float; ///< of originals and outputs
    std::span<const GPUBrushTile> tiles;
    /// A flag a tile: its mask has never been written, and the device zeroes it first.
    std::span<const std::uint8_t> isFresh;
    std::span<const GPUDab> dabs; ///< tile after tile
    std::span<const GPUBrushApplyTile> applyTiles;
    /// The output of each tile's last batch, or null. A device may copy from it what the dabs of
    /// this batch do not reach; the rest, without one all of the tile, it computes again.
    std::span<const std::byte* const> previous;
    /// The window that `params` describes, row by row.
    std::span<const GPUTileRef> neighbourhood;
    TileFormat neighbourFormat = TileFormat::rgba16Float;
    const BrushTipPyramid* tip = nullptr; ///< null: round dabs
};

} // namespace ombrel
