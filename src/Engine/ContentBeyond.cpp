#include "Engine/ContentBeyond.h"

#include "Core/TilePixels.h"
#include "Core/TileStore.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <span>

namespace ombrel {

namespace {

using TilePixels::LocalRect;

bool isNothing(std::span<const std::byte> row, std::byte nothing) {
    return std::ranges::all_of(row, [&](std::byte byte) { return byte == nothing; });
}

bool holdsContent(TileFormat format, const TileCell& cell, const LocalRect& part, std::byte nothing,
                  float background) {
    if (cell.isSolid())
        return format == TileFormat::rgba16Float ||
               std::byte{coverageByte(cell, background)} != nothing;
    const TilePin pin(cell.tile());
    const std::size_t pixel = bytesPerPixel(format);
    for (int y = part.top; y < part.bottom; ++y) {
        const std::size_t first =
            (static_cast<std::size_t>(y) * tileSize + static_cast<std::size_t>(part.left)) * pixel;
        const std::size_t count = static_cast<std::size_t>(part.right - part.left) * pixel;
        if (!isNothing({pin.bytes() + first, count}, nothing)) return true;
    }
    return false;
}

bool holdsContentIn(const TileGrid& grid, const PixelRect& rect, float background) {
    const std::byte nothing{grid.format() == TileFormat::r8 ? coverageByte(TileCell(), background)
                                                            : std::uint8_t{0}};
    bool isFound = false;
    grid.forEachIn(rect.tileRange(), [&](TileCoord coord, const TileCell& cell) {
        isFound =
            holdsContent(grid.format(), cell, LocalRect::overlap(coord, rect), nothing, background);
        return !isFound;
    });
    return isFound;
}

PixelRect between(std::int64_t left, std::int64_t top, std::int64_t right, std::int64_t bottom) {
    if (right <= left || bottom <= top) return {};
    return {left, top, right - left, bottom - top};
}

} // namespace

ContentBeyond contentBeyond(const TileGrid& grid, const PixelRect& rect, float background) {
    const TileRange cells = grid.tileBounds();
    if (cells.isEmpty()) return {};
    const std::int64_t left = cells.minX * tileSize;
    const std::int64_t top = cells.minY * tileSize;
    const std::int64_t right = (cells.maxX + 1) * tileSize;
    const std::int64_t bottom = (cells.maxY + 1) * tileSize;
    const auto holds = [&](const PixelRect& part) {
        return !part.isEmpty() && holdsContentIn(grid, part, background);
    };
    return {holds(between(left, top, std::min(rect.x, right), bottom)),
            holds(between(std::max(rect.maxX(), left), top, right, bottom)),
            holds(between(left, top, right, std::min(rect.y, bottom))),
            holds(between(left, std::max(rect.maxY(), top), right, bottom))};
}

} // namespace ombrel
