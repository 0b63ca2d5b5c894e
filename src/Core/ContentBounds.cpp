#include "Core/ContentBounds.h"

#include "Base/ParallelFor.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ombrel {

namespace {

/// Pixels within a tile, all inclusive; empty as it begins.
struct Extent {
    int left = 256;
    int top = 256;
    int right = -1;
    int bottom = -1;

    bool isEmpty() const { return right < 0; }
};

bool hasContent(const std::byte* tile, TileFormat format, int x, int y) {
    const std::size_t index = static_cast<std::size_t>(y) * 256 + static_cast<std::size_t>(x);
    if (format == TileFormat::r8) return tile[index] != std::byte{0};
    std::uint16_t alpha = 0;
    std::memcpy(&alpha, tile + index * 8 + 6, sizeof alpha);
    return alpha >= 0x0001 && alpha <= 0x7C00; // above 0 up to infinity, no NaN
}

/// Looks at a row only where it may lie outside of the extent.
void growByRow(Extent& extent, const std::byte* tile, TileFormat format, int y) {
    bool isEmpty = y < extent.top || y > extent.bottom;
    for (int x = 0; x < extent.left; ++x) {
        if (!hasContent(tile, format, x, y)) continue;
        extent.left = x; // ends the loop
        isEmpty = false;
    }
    for (int x = 255; x > extent.right; --x) {
        if (!hasContent(tile, format, x, y)) continue;
        extent.right = x; // ends the loop
        isEmpty = false;
    }
    // A row above or below counts for what it has between the two, too.
    for (int x = extent.left; x <= extent.right && isEmpty; ++x)
        isEmpty = !hasContent(tile, format, x, y);
    if (isEmpty) return;
    extent.top = std::min(extent.top, y);
    extent.bottom = std::max(extent.bottom, y);
}

Extent extentOf(const Tile& tile, TileFormat format) {
    const TilePin pin(tile);
    Extent extent;
    for (int y = 0; y < 256 && extent.isEmpty(); ++y)
        growByRow(extent, pin.bytes(), format, y);
    if (extent.isEmpty()) return extent;
    const int top = extent.top;
    // From below, so that the rows between are looked at only beside the extent.
    for (int y = 255; y > extent.bottom; --y)
        growByRow(extent, pin.bytes(), format, y);
    for (int y = top; y <= extent.bottom; ++y)
        growByRow(extent, pin.bytes(), format, y);
    return extent;
}

struct PlacedCell {
    TileCoord coord;
    TileCell cell;
};

/// One border of the content: how cells line up along it and which edge of a cell counts.
struct Side {
    std::int32_t TileCoord::* line;
    int Extent::* edge;
    bool isFar; ///< right or bottom: the largest counts

    /// Nothing lies further out than the edge of the tiles themselves.
    int outermost() const { return isFar ? 255 : 0; }
    int outerOf(int one, int other) const {
        return isFar ? std::max(one, other) : std::min(one, other);
    }
};

/// Finds the borders of one grid. Looks into a tile once, in however many cells it lies.
class BorderFinder {
public:
    explicit BorderFinder(TileFormat format) : format_(format) {}

    /// Walks lines from the outside in until one has content. `cells` are sorted by the side's
    /// line.
    std::optional<std::int64_t> edgeOf(std::span<const PlacedCell> cells, const Side& side);

private:
    using Edge = std::optional<int>;

    /// The outermost content of the cells of one line; nothing where they are all transparent.
    Edge edgeOfLine(std::span<const PlacedCell> cells, const Side& side);
    /// Once one of the tiles reaches the edge of its cell, the rest may stay unknown.
    void lookInto(std::span<const Tile* const> tiles, const Side& side);
    /// Of the tile, by what is known of it.
    Edge knownEdge(const Tile& tile, const Side& side) const;

    TileFormat format_;
    std::unordered_map<TileID, Extent> extents_; ///< of the tiles that were looked into
};

BorderFinder::Edge BorderFinder::knownEdge(const Tile& tile, const Side& side) const {
    const auto known = extents_.find(tile.id());
    if (known == extents_.end() || known->second.isEmpty()) return std::nullopt;
    return known->second.*side.edge;
}

void BorderFinder::lookInto(std::span<const Tile* const> tiles, const Side& side) {
    std::vector<std::optional<Extent>> found(tiles.size());
    std::atomic<bool> isReached = false;
    parallelFor(ThreadPool::shared(), tiles.size(), [&](std::size_t i) {
        if (isReached.load(std::memory_order_relaxed)) return;
        const Extent extent = extentOf(*tiles[i], format_);
        found[i] = extent;
        if (!extent.isEmpty() && extent.*side.edge == side.outermost())
            isReached.store(true, std::memory_order_relaxed);
    });
    for (std::size_t i = 0; i < tiles.size(); ++i)
        if (found[i]) extents_.emplace(tiles[i]->id(), *found[i]);
}

BorderFinder::Edge BorderFinder::edgeOfLine(std::span<const PlacedCell> cells, const Side& side) {
    Edge result;
    const auto add = [&](Edge edge) {
        if (edge) result = side.outerOf(result.value_or(*edge), *edge);
        return result == side.outermost();
    };
    std::vector<const Tile*> unknown;
    for (const PlacedCell& placed : cells) {
        if (placed.cell.isSolid()) return side.outermost(); // transparent ones are never stored
        const Tile& tile = placed.cell.tile();
        if (!extents_.contains(tile.id())) {
            unknown.push_back(&tile);
        } else if (add(knownEdge(tile, side))) {
            return result;
        }
    }
    const auto idOf = [](const Tile* tile) { return tile->id(); };
    std::ranges::sort(unknown, {}, idOf);
    const auto repeated = std::ranges::unique(unknown, {}, idOf);
    unknown.erase(repeated.begin(), repeated.end());
    lookInto(unknown, side);
    for (const Tile* tile : unknown)
        add(knownEdge(*tile, side));
    return result;
}

std::optional<std::int64_t> BorderFinder::edgeOf(std::span<const PlacedCell> cells,
                                                 const Side& side) {
    const auto lineOf = [&](const PlacedCell& placed) { return placed.coord.*side.line; };
    while (!cells.empty()) {
        const std::int32_t line = lineOf(side.isFar ? cells.back() : cells.front());
        const auto same = std::ranges::equal_range(cells, line, {}, lineOf);
        if (const auto edge = edgeOfLine(std::span(same), side)) return line * tileSize + *edge;
        cells = side.isFar ? cells.first(cells.size() - same.size()) : cells.subspan(same.size());
    }
    return std::nullopt;
}

} // namespace

std::optional<PixelRect> contentBounds(const TileGrid& grid) {
    std::vector<PlacedCell> cells;
    cells.reserve(static_cast<std::size_t>(grid.tileCount()));
    grid.forEach([&](TileCoord coord, const TileCell& cell) { cells.push_back({coord, cell}); });

    constexpr Side top{&TileCoord::y, &Extent::top, false};
    constexpr Side bottom{&TileCoord::y, &Extent::bottom, true};
    constexpr Side left{&TileCoord::x, &Extent::left, false};
    constexpr Side right{&TileCoord::x, &Extent::right, true};
    BorderFinder finder(grid.format());
    const auto minY = finder.edgeOf(cells, top); // cells come in rows
    if (!minY) return std::nullopt;
    const std::int64_t maxY = *finder.edgeOf(cells, bottom);
    std::ranges::sort(cells, {}, [](const PlacedCell& placed) {
        return std::pair(placed.coord.x, placed.coord.y);
    });
    const std::int64_t minX = *finder.edgeOf(cells, left);
    const std::int64_t maxX = *finder.edgeOf(cells, right);
    return PixelRect{minX, *minY, maxX - minX + 1, maxY - *minY + 1};
}

} // namespace ombrel
