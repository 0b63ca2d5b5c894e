// What cells of a mask without stored pixels amount to as bytes. A mask's value at a pixel is
// m + (1 - a) * background: an absent cell is the background, a stored byte stands for itself.
#pragma once

#include "Core/MaskTiles.h"
#include "Core/TileGrid.h"
#include "Core/TilePixels.h"

#include <cstdint>

namespace ombrel {

/// Of an absent or solid cell.
inline std::uint8_t coverageByte(const TileCell& cell, float background) {
    if (!cell.isSolid()) return TilePixels::coverageOf(background);
    return TilePixels::coverageOf(MaskTiles::valueOfSolid(cell.color(), background));
}

} // namespace ombrel
