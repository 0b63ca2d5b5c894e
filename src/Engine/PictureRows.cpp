#include "Engine/PictureRows.h"

#include "Base/Check.h"
#include "Core/Tile.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ombrel {

PictureRows::PictureRows(const PixelRect& rect, std::span<std::byte> bytes)
    : rect_(rect), bytes_(bytes) {
    OMBREL_CHECK(static_cast<std::int64_t>(bytes.size()) >= rect.width * rect.height * 8,
                 "the memory holds the rectangle");
}

void PictureRows::fillTile(TileCoord coord, const PremultipliedColor& color) const {
    const PixelRect part = intersectionOf(PixelRect::ofTile(coord), rect_);
    if (part.isEmpty()) return;
    const std::array<Half, 4> halves = color.halves();
    const auto rowBytes = static_cast<std::size_t>(part.width * 8);
    std::byte* const first = at(part.x, part.y);
    for (std::int64_t x = 0; x < part.width; ++x)
        std::memcpy(first + x * 8, halves.data(), sizeof halves);
    for (std::int64_t y = part.y + 1; y < part.maxY(); ++y)
        std::memcpy(at(part.x, y), first, rowBytes);
}

void PictureRows::copyTile(TileCoord coord, const std::byte* pixels) const {
    const PixelRect tile = PixelRect::ofTile(coord);
    const PixelRect part = intersectionOf(tile, rect_);
    const auto rowBytes = static_cast<std::size_t>(part.width * 8);
    for (std::int64_t y = part.y; y < part.maxY(); ++y) {
        const std::byte* row =
            pixels + (y - tile.y) * std::int64_t{bytesPerTileRow(TileFormat::rgba16Float)} +
            (part.x - tile.x) * 8;
        std::memcpy(at(part.x, y), row, rowBytes);
    }
}

} // namespace ombrel
