// From a decoder's rows to the tiles of a grid. Bands of 256 rows are decoded one after another
// while the bands before them are converted on all cores, so what is held beside the tiles is a few
// bands, whatever the picture's size. The picture comes out upright.
#pragma once

#include "Base/Progress.h"
#include "Core/TileGrid.h"
#include "Core/TileStore.h"
#include "IO/ImageDecoder.h"
#include "IO/SampleRows.h"

#include <expected>

namespace ombrel {

/// Reads the decoder to its end. A block that is wholly transparent leaves no cell, a full block of
/// one colour becomes a solid cell (the same halves, bit for bit); beyond the picture's right and
/// bottom edges tiles are transparent. Errors: the decoder's, and `cancelled` when `progress`
/// (which may be null) says so; nothing is kept then.
std::expected<TileGrid, ImageIOError> convertToTiles(ImageDecoder& decoder,
                                                     const RowLineariser& lineariser,
                                                     TileStore& store, Progress* progress);

} // namespace ombrel
