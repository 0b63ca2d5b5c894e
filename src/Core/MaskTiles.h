// The cells of a mask as a grey picture and back, cell by cell: a mask value v is the opaque grey
// (v, v, v, 1). A value, stored as a byte, comes back unchanged. Nothing here knows of layers. Any
// thread.
#pragma once

#include "Core/TileGrid.h"

#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace ombrel {

class TileStore;

namespace MaskTiles {

using Cells = std::vector<std::pair<TileCoord, TileCell>>;
using Contents = std::vector<std::pair<TileCoord, std::optional<TileContent>>>;

/// The value that a colour stands for in a mask whose absent cells have the value `background`:
/// its luminance, and the background as far as the colour is transparent. 0 to 1.
float valueOf(const PremultipliedColor& color, float background);
PremultipliedColor greyOf(float value);
/// Of a solid cell of a mask, which has its value in the first channel; where it is transparent,
/// the background. 0 to 1.
float valueOfSolid(const PremultipliedColor& color, float background);

/// Of an r8 grid's cells; absent ones become solid greys of the background.
Contents greyCells(const Cells& cells, float background, TileStore& store);
/// Of an rgba16Float grid's cells; absent ones stay absent.
Contents valueCells(const Cells& cells, float background, TileStore& store);

} // namespace MaskTiles

} // namespace ombrel
