// A grid of tiles in a manifest: {"format", "tiles": [{"x", "y", "color" or "tile"}]}, cells by row
// and column. Written and read directly, without values in between: a large canvas has millions.
#pragma once

#include "Core/TileGrid.h"
#include "IO/Native/ManifestWalk.h"
#include "IO/Native/TileTable.h"

#include <span>
#include <string>
#include <string_view>

namespace ombrel::NativeFormat {

std::string_view formatCode(TileFormat format);
FromManifest<TileFormat> readFormatCode(ManifestWalk& walk, ManifestElement element);

/// The fewest digits that give the float back; "inf", "-inf" and "nan" as texts.
void appendNumber(std::string& text, float number);
void appendNumber(std::string& text, std::int64_t number);

/// Every tile of the grid is in `table`.
void appendGrid(std::string& text, const TileGrid& grid, const TileTable& table);

/// Why a grid could not be built: the description is at fault, or it names a tile that is none.
struct GridFault {
    bool isTileReference = false;
    std::string description;
};

/// A grid of the wanted format.
std::expected<TileGrid, GridFault> readGrid(ManifestWalk& walk, ManifestElement element,
                                            TileFormat wanted, std::span<const Tile> tiles);

} // namespace ombrel::NativeFormat
