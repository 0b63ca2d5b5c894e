// Grids turned by quarters and mirrored: pixels change places and nothing else. Areas of one colour
// cost nothing. Synchronous, any thread, all cores.
#pragma once

#include "Core/Orientation.h"
#include "Core/TileGrid.h"
#include "Engine/EngineError.h"
#include "Engine/WorkMeter.h"

#include <expected>

namespace ombrel {

class TileStore;

/// Every pixel (x, y) put to orientation.placeOf(x, y) plus `shift`. Where the shift is of whole
/// tiles, tiles stay tiles. `background`: what an absent cell of an r8 grid reads as, 0 to 1.
std::expected<TileGrid, EngineError> oriented(const TileGrid& grid, Orientation orientation,
                                              PixelOffset shift, float background, TileStore& store,
                                              WorkMeter& meter);

} // namespace ombrel
