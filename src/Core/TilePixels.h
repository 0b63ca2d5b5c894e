// Operations on the bytes of one tile: 256 rows of 256 pixels without padding, as TileStore hands
// them out. Nothing here knows of grids or keeps a tile pinned beyond a call. Any thread.
#pragma once

#include "Core/PremultipliedColor.h"
#include "Core/Tile.h"
#include "Core/TileGrid.h"

#include <cstddef>
#include <cstdint>

namespace ombrel::TilePixels {

/// A rectangle within a tile, in pixels from its upper left corner; right and bottom exclusive.
struct LocalRect {
    int left = 0;
    int top = 0;
    int right = 256;
    int bottom = 256;

    /// The part of a tile that a rectangle of the plane overlaps; empty where there is none.
    static LocalRect overlap(TileCoord coord, const PixelRect& rect);
    static constexpr LocalRect wholeTile() { return {}; }

    bool isEmpty() const { return right <= left || bottom <= top; }
    bool operator==(const LocalRect&) const = default;
};

/// What a solid cell means in an r8 grid: its alpha as a byte, rounded, cut to 0..255.
std::uint8_t coverageOf(float alpha);

/// Writes a cell's content over a whole tile: a copy, the colour, or zeros where it is absent.
void write(TileFormat format, const TileCell& cell, std::byte* tile);
/// Fills a part of a tile with a colour, in r8 with its coverage.
void fill(TileFormat format, std::byte* tile, const LocalRect& rect,
          const PremultipliedColor& color);
/// Copies pixels between tiles of one format: `rect` of the target from the same-sized rectangle
/// of the source at (sourceLeft, sourceTop).
void copy(TileFormat format, std::byte* tile, const LocalRect& rect, const std::byte* source,
          int sourceLeft, int sourceTop);
/// Whether every channel of every pixel is zero, so that an absent cell reads the same.
bool isBlank(TileFormat format, const std::byte* tile);

} // namespace ombrel::TilePixels
