#include "Core/TilePixels.h"

#include "Core/TileStore.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace ombrel::TilePixels {

namespace {

std::byte* rowOf(TileFormat format, std::byte* tile, int x, int y) {
    return tile + static_cast<std::size_t>(y) * bytesPerTileRow(format) +
           static_cast<std::size_t>(x) * bytesPerPixel(format);
}

const std::byte* rowOf(TileFormat format, const std::byte* tile, int x, int y) {
    return rowOf(format, const_cast<std::byte*>(tile), x, y);
}

// One row's worth of the pixel, to be copied into each row.
void fillRow(TileFormat format, std::byte* row, int width, const PremultipliedColor& color) {
    const auto count = static_cast<std::size_t>(width);
    if (format == TileFormat::r8) {
        std::memset(row, coverageOf(color.alpha), count);
        return;
    }
    const auto pixel = std::bit_cast<std::uint64_t>(color.halves());
    for (std::size_t index = 0; index < count; ++index)
        std::memcpy(row + index * sizeof(pixel), &pixel, sizeof(pixel));
}

} // namespace

LocalRect LocalRect::overlap(TileCoord coord, const PixelRect& rect) {
    const PixelRect tile = PixelRect::ofTile(coord);
    const PixelRect common = intersectionOf(tile, rect);
    if (common.isEmpty()) return {0, 0, 0, 0};
    return {static_cast<int>(common.x - tile.x), static_cast<int>(common.y - tile.y),
            static_cast<int>(common.maxX() - tile.x), static_cast<int>(common.maxY() - tile.y)};
}

std::uint8_t coverageOf(float alpha) {
    if (!(alpha > 0)) return 0;
    return static_cast<std::uint8_t>(std::lround(std::min(alpha, 1.0f) * 255.0f));
}

void write(TileFormat format, const TileCell& cell, std::byte* tile) {
    if (cell.isPixels()) {
        const TilePin pin(cell.tile());
        std::memcpy(tile, pin.bytes(), bytesPerTile(format));
    } else if (cell.isSolid()) {
        fill(format, tile, LocalRect::wholeTile(), cell.color());
    } else {
        std::memset(tile, 0, bytesPerTile(format));
    }
}

void fill(TileFormat format, std::byte* tile, const LocalRect& rect,
          const PremultipliedColor& color) {
    if (rect.isEmpty()) return;
    const std::byte* first = rowOf(format, tile, rect.left, rect.top);
    const auto bytes = static_cast<std::size_t>(rect.right - rect.left) * bytesPerPixel(format);
    fillRow(format, rowOf(format, tile, rect.left, rect.top), rect.right - rect.left, color);
    for (int y = rect.top + 1; y < rect.bottom; ++y)
        std::memcpy(rowOf(format, tile, rect.left, y), first, bytes);
}

void copy(TileFormat format, std::byte* tile, const LocalRect& rect, const std::byte* source,
          int sourceLeft, int sourceTop) {
    if (rect.isEmpty()) return;
    const auto bytes = static_cast<std::size_t>(rect.right - rect.left) * bytesPerPixel(format);
    for (int y = rect.top; y < rect.bottom; ++y) {
        std::memcpy(rowOf(format, tile, rect.left, y),
                    rowOf(format, source, sourceLeft, sourceTop + y - rect.top), bytes);
    }
}

bool isBlank(TileFormat format, const std::byte* tile) {
    // A half is zero whatever its sign.
    const std::uint64_t significant =
        format == TileFormat::rgba16Float ? 0x7FFF7FFF7FFF7FFFu : ~std::uint64_t{0};
    const std::size_t row = bytesPerTileRow(format);
    for (std::size_t start = 0; start < bytesPerTile(format); start += row) {
        std::uint64_t seen = 0;
        for (std::size_t offset = 0; offset < row; offset += sizeof(seen)) {
            std::uint64_t word = 0;
            std::memcpy(&word, tile + start + offset, sizeof(word));
            seen |= word;
        }
        if ((seen & significant) != 0) return false;
    }
    return true;
}

} // namespace ombrel::TilePixels
