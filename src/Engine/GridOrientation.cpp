#include "Engine/GridOrientation.h"

#include "Core/TilePixels.h"
#include "Core/TileStore.h"
#include "Engine/GridMapping.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace ombrel {

namespace {

/// The map and its inverse on rectangles.
struct OrientedPlane {
    Orientation orientation;
    PixelOffset shift;

    std::pair<std::int64_t, std::int64_t> place(std::int64_t x, std::int64_t y) const {
        const auto [placeX, placeY] = orientation.placeOf(x, y);
        return {placeX + shift.dx, placeY + shift.dy};
    }
    PixelRect targetOf(const PixelRect& source) const {
        const auto [x, y] = place(source.x, source.y);
        const auto [endX, endY] = place(source.maxX() - 1, source.maxY() - 1);
        return {std::min(x, endX), std::min(y, endY), std::abs(endX - x) + 1,
                std::abs(endY - y) + 1};
    }
    PixelRect sourceOf(const PixelRect& target) const {
        PixelRect rect = target.offsetBy({-shift.dx, -shift.dy});
        if (orientation.isMirroredX) rect.x = -rect.maxX();
        if (orientation.isMirroredY) rect.y = -rect.maxY();
        if (orientation.isTransposed) {
            std::swap(rect.x, rect.y);
            std::swap(rect.width, rect.height);
        }
        return rect;
    }
};

constexpr std::int64_t patch = 8; ///< columns and rows at a time: few cache lines on both sides

/// Pixels of a rectangle of a source tile, whose first one goes to `origin` of the target tile.
struct Walk {
    TilePixels::LocalRect rect;
    std::int64_t origin = 0;
    std::int64_t columnStep = 1;
    std::int64_t rowStep = tileSize;
};

template <typename Pixel>
void copyWalk(const std::byte* source, std::byte* target, const Walk& walk) {
    const auto* from = reinterpret_cast<const Pixel*>(source);
    auto* to = reinterpret_cast<Pixel*>(target);
    const TilePixels::LocalRect& rect = walk.rect;
    for (std::int64_t top = rect.top; top < rect.bottom; top += patch) {
        const std::int64_t bottom = std::min<std::int64_t>(top + patch, rect.bottom);
        for (std::int64_t left = rect.left; left < rect.right; left += patch) {
            const std::int64_t right = std::min<std::int64_t>(left + patch, rect.right);
            for (std::int64_t y = top; y < bottom; ++y) {
                for (std::int64_t x = left; x < right; ++x)
                    to[walk.origin + (x - rect.left) * walk.columnStep +
                       (y - rect.top) * walk.rowStep] = from[y * tileSize + x];
            }
        }
    }
}

class OrientedTile {
public:
    OrientedTile(const TileGrid& grid, const OrientedPlane& plane, float background)
        : grid_(grid), plane_(plane),
          nothing_{coverageByte(TileCell(), grid.format() == TileFormat::r8 ? background : 0)},
          background_(background) {}

    void draw(TileCoord coord, std::byte* bytes) const {
        const PixelRect target = PixelRect::ofTile(coord);
        std::memset(bytes, std::to_integer<int>(nothing_), bytesPerTile(grid_.format()));
        const PixelRect source = plane_.sourceOf(target);
        grid_.forEachIn(source.tileRange(), [&](TileCoord from, const TileCell& cell) {
            const PixelRect part = intersectionOf(source, PixelRect::ofTile(from));
            if (cell.isPixels())
                copyPixels(cell.tile(), from, part, target, bytes);
            else
                fill(cell, coord, plane_.targetOf(part), bytes);
        });
    }

private:
    void copyPixels(const Tile& tile, TileCoord from, const PixelRect& part,
                    const PixelRect& target, std::byte* bytes) const {
        const auto index = [&](std::int64_t x, std::int64_t y) {
            const auto [placeX, placeY] = plane_.place(x, y);
            return (placeY - target.y) * tileSize + placeX - target.x;
        };
        Walk walk{.rect = TilePixels::LocalRect::overlap(from, part),
                  .origin = index(part.x, part.y)};
        walk.columnStep = index(part.x + 1, part.y) - walk.origin;
        walk.rowStep = index(part.x, part.y + 1) - walk.origin;
        const TilePin pin(tile);
        if (grid_.format() == TileFormat::r8)
            copyWalk<std::uint8_t>(pin.bytes(), bytes, walk);
        else
            copyWalk<PackedPixel>(pin.bytes(), bytes, walk);
    }

    void fill(const TileCell& cell, TileCoord coord, const PixelRect& part,
              std::byte* bytes) const {
        PremultipliedColor color = cell.color();
        if (grid_.format() == TileFormat::r8)
            color.alpha = static_cast<float>(coverageByte(cell, background_)) / 255;
        TilePixels::fill(grid_.format(), bytes, TilePixels::LocalRect::overlap(coord, part), color);
    }

    const TileGrid& grid_;
    const OrientedPlane& plane_;
    std::byte nothing_;
    float background_;
};

} // namespace

std::expected<TileGrid, EngineError> oriented(const TileGrid& grid, Orientation orientation,
                                              PixelOffset shift, float background, TileStore& store,
                                              WorkMeter& meter) {
    const TileRange cells = grid.tileBounds();
    if (cells.isEmpty()) return grid;
    const OrientedPlane plane{orientation, shift};
    const PixelRect source{cells.minX * tileSize, cells.minY * tileSize,
                           (cells.maxX - cells.minX + 1) * tileSize,
                           (cells.maxY - cells.minY + 1) * tileSize};
    // All tiles that the cells reach: what is beyond them is known to be nothing.
    const TileRange reached = plane.targetOf(source).tileRange();
    const PixelRect target{reached.minX * tileSize, reached.minY * tileSize,
                           (reached.maxX - reached.minX + 1) * tileSize,
                           (reached.maxY - reached.minY + 1) * tileSize};
    MappedGrid mapped =
        mappedGrid({.source = &grid, .target = target, .sourceOf = [&](const PixelRect& rect) {
                        return plane.sourceOf(rect);
                    }});
    meter.expect(std::ssize(mapped.work));
    const OrientedTile tile(grid, plane, background);
    const auto drawn = drawTiles(mapped.tiles, mapped.work, background, store, meter,
                                 [&](TileCoord coord, std::byte* bytes) {
                                     tile.draw(coord, bytes);
                                     return true;
                                 });
    if (!drawn) return std::unexpected(drawn.error());
    return std::move(mapped.tiles);
}

} // namespace ombrel
