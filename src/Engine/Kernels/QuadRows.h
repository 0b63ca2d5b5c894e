// How the two by two tiles around an output tile lie over its rows. Layers and masks need not lie
// on the tile raster: up to four of their tiles meet in one output tile.
#pragma once

#include "Engine/CompositeRecords.h"

#include <array>
#include <cstdint>
#include <span>

namespace ombrel::Kernels {

inline constexpr std::uint32_t tileEdge = 256;

/// One output row: its columns below `split` come from the end of a row of `left`, the others from
/// the beginning of the same row of `right`.
struct QuadRow {
    const GPUTileRef* left = nullptr;
    const GPUTileRef* right = nullptr;
    std::uint32_t split = 0;
    std::uint32_t row = 0; ///< within the tiles
};

struct Quad {
    const std::array<GPUTileRef, 4>& tiles;
    const std::array<std::int32_t, 2>& phase;

    QuadRow row(std::uint32_t y) const;
};

inline QuadRow Quad::row(std::uint32_t y) const {
    const auto phaseX = static_cast<std::uint32_t>(phase[0]);
    const auto phaseY = static_cast<std::uint32_t>(phase[1]);
    const bool isLower = phaseY != 0 && y >= phaseY;
    const GPUTileRef* pair = tiles.data() + (isLower ? 2 : 0);
    return {pair, phaseX != 0 ? pair + 1 : pair, phaseX, (y - phaseY) % tileEdge};
}

inline bool isNothing(const GPUTileRef& ref) {
    return ref.pixels == 0 && ref.solid == std::array<float, 4>{};
}

/// What a few rows of a quad amount to.
struct QuadRowsContent {
    bool hasPixels = false;
    bool hasSolid = false;        ///< a colour that is not nothing
    bool isOneColor = true;       ///< no pixels, and the same colour (or nothing) everywhere
    std::array<float, 4> color{}; ///< of isOneColor
};

QuadRowsContent contentOfRows(const Quad& quad, std::uint32_t firstRow, std::uint32_t rowCount);

/// Pixels of a row of halves as they lie in the quad; where there are none, zero.
void copyHalves(const QuadRow& row, std::uint16_t* out);

/// Opacity times mask value for the pixels of a row. The mask value is m + (1 - a) * background cut
/// to 0 and 1; a byte of a tile is m = byte / 255 with a = 1, a colour gives its red and alpha.
void maskFactors(const QuadRow& row, float background, float opacity, float* out);
float maskValue(const std::array<float, 4>& color, float background);

} // namespace ombrel::Kernels
