// The operations of a grid that make new pixels: only tiles that a rectangle cuts, or whose
// neighbours flow into them, are rendered; the rest is done on the tree.
#include "Core/TileGrid.h"

#include "Base/Check.h"
#include "Core/TileBlocks.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace ombrel {

namespace {

using TilePixels::LocalRect;

// The tiles that a rectangle covers whole; may be empty.
TileRange wholeTiles(const PixelRect& rect) {
    const TileRange inner{(rect.x + tileSize - 1) >> tileShift,
                          (rect.y + tileSize - 1) >> tileShift, (rect.maxX() >> tileShift) - 1,
                          (rect.maxY() >> tileShift) - 1};
    return rect.isEmpty() || inner.isEmpty() ? TileRange{} : inner;
}

// The tiles that a rectangle cuts, as ranges that do not overlap.
std::vector<TileRange> cutTiles(const PixelRect& rect) {
    const TileRange all = rect.tileRange();
    const TileRange inner = wholeTiles(rect);
    if (inner.isEmpty()) return {all};
    const std::array<TileRange, 4> strips{{
        {all.minX, all.minY, all.maxX, inner.minY - 1},
        {all.minX, inner.maxY + 1, all.maxX, all.maxY},
        {all.minX, inner.minY, inner.minX - 1, inner.maxY},
        {inner.maxX + 1, inner.minY, all.maxX, inner.maxY},
    }};
    std::vector<TileRange> cut;
    std::ranges::copy_if(strips, std::back_inserter(cut),
                         [](const TileRange& strip) { return !strip.isEmpty(); });
    return cut;
}

void install(TileGrid& grid, std::span<const TileBlock> blocks, TileStore& store) {
    std::vector<std::optional<TileContent>> contents = renderBlocks(grid.format(), blocks, store);
    for (std::size_t index = 0; index < blocks.size(); ++index)
        grid.set(blocks[index].coord, std::move(contents[index]));
}

// Whether filling a part of the cell leaves it as it reads now.
bool isUnchangedBy(const PremultipliedColor& color, const TileCell& cell) {
    if (cell.isSolid()) return isSameBits(cell.color(), color);
    return cell.isAbsent() && color.halves() == std::array<Half, 4>{};
}

} // namespace

PremultipliedColor TileGrid::color(std::int64_t x, std::int64_t y) const {
    OMBREL_CHECK(format_ == TileFormat::rgba16Float, "only rgba16Float grids have colours");
    const TileCell found = cell(TileCoord::checked(x >> tileShift, y >> tileShift));
    if (found.isAbsent()) return {};
    if (found.isSolid()) return found.color();
    const TilePin pin(found.tile());
    std::array<Half, 4> pixel;
    const auto index =
        static_cast<std::size_t>((y & (tileSize - 1)) * tileSize + (x & (tileSize - 1)));
    std::memcpy(pixel.data(), pin.bytes() + index * sizeof(pixel), sizeof(pixel));
    return {toFloat(pixel[0]), toFloat(pixel[1]), toFloat(pixel[2]), toFloat(pixel[3])};
}

void TileGrid::fill(const PixelRect& rect, const PremultipliedColor& color, TileStore& store) {
    OMBREL_CHECK(format_ == TileFormat::rgba16Float, "only rgba16Float grids are filled");
    if (rect.isEmpty()) return;
    const TileRange range = rect.tileRange();
    static_cast<void>(TileCoord::checked(range.minX, range.minY));
    static_cast<void>(TileCoord::checked(range.maxX, range.maxY));

    // The blocks look into a grid that stays as it was while this one changes.
    const TileGrid before = *this;
    std::vector<TileBlock> blocks;
    for (const TileRange& strip : cutTiles(rect)) {
        for (const TileCoord coord : strip) {
            const TileCell cell = before.cell(coord);
            if (isUnchangedBy(color, cell)) continue;
            blocks.push_back({coord,
                              {{cell, LocalRect::wholeTile()},
                               {TileCell(color), LocalRect::overlap(coord, rect)}}});
        }
    }
    assign(wholeTiles(rect), color);
    install(*this, blocks, store);
}

TileGrid TileGrid::shifted(std::int64_t dx, std::int64_t dy, TileStore& store) const {
    if (dx == 0 && dy == 0) return *this;
    if (((dx | dy) & (tileSize - 1)) == 0) return shiftedByTiles(dx >> tileShift, dy >> tileShift);
    return shiftedByPixels(dx, dy, store);
}

// A tile of the moved picture lies over up to four tiles of this one. Each of the four, seen alone,
// is the grid moved by whole tiles; where the four agree on a solid or on nothing, that is the
// result already, and only the other tiles are rendered.
TileGrid TileGrid::shiftedByPixels(std::int64_t dx, std::int64_t dy, TileStore& store) const {
    const int right = static_cast<int>(dx & (tileSize - 1));
    const int down = static_cast<int>(dy & (tileSize - 1));
    struct Quarter {
        TileGrid grid;
        LocalRect rect; // of the result
        int sourceLeft;
        int sourceTop;
    };
    std::vector<Quarter> quarters;
    for (const int below : {0, 1}) {
        for (const int beside : {0, 1}) {
            const LocalRect rect{beside != 0 ? 0 : right, below != 0 ? 0 : down,
                                 beside != 0 ? right : 256, below != 0 ? down : 256};
            if (rect.isEmpty()) continue;
            quarters.push_back(
                {shiftedByTiles((dx >> tileShift) + beside, (dy >> tileShift) + below), rect,
                 beside != 0 ? 256 - right : 0, below != 0 ? 256 - down : 0});
        }
    }

    TileGrid result = quarters.front().grid;
    std::vector<TileCoord> coords;
    result.forEachTile([&](TileCoord coord, const Tile&) { coords.push_back(coord); });
    for (const Quarter& quarter : quarters) {
        diff(result, quarter.grid,
             [&](TileCoord coord, const TileCell&, const TileCell&) { coords.push_back(coord); });
    }
    std::ranges::sort(coords);
    coords.erase(std::ranges::unique(coords).begin(), coords.end());

    std::vector<TileBlock> blocks;
    blocks.reserve(coords.size());
    for (const TileCoord coord : coords) {
        TileBlock& block = blocks.emplace_back(TileBlock{coord, {}});
        for (const Quarter& quarter : quarters) {
            const TileCell cell = quarter.grid.cell(coord);
            if (cell.isAbsent()) continue;
            block.pieces.push_back({cell, quarter.rect, quarter.sourceLeft, quarter.sourceTop});
        }
    }
    install(result, blocks, store);
    return result;
}

TileGrid TileGrid::cropped(const PixelRect& rect, TileStore& store) const {
    if (rect.isEmpty()) return TileGrid(format_);
    TileGrid result = subgrid(rect);
    std::vector<TileBlock> blocks;
    for (const TileRange& strip : cutTiles(rect)) {
        forEachIn(strip, [&](TileCoord coord, const TileCell& cell) {
            const LocalRect overlap = LocalRect::overlap(coord, rect);
            blocks.push_back({coord, {{cell, overlap, overlap.left, overlap.top}}});
        });
    }
    install(result, blocks, store);
    return result;
}

} // namespace ombrel
