// Where the pixels of a grid are: the smallest rectangle around everything that is not transparent.
// Exact, yet only tiles at the border of the content are looked into, several at once. Any thread.
#pragma once

#include "Core/Geometry.h"
#include "Core/TileGrid.h"

#include <optional>

namespace ombrel {

/// Around all pixels with alpha (in an r8 grid coverage) above 0, in the grid's own space; nothing
/// where there are none. May page tiles in.
std::optional<PixelRect> contentBounds(const TileGrid& grid);

} // namespace ombrel
