#include "IO/Native/BakedOffsets.h"

#include "Base/Check.h"
#include "Core/TileStore.h"
#include "Engine/GridMapping.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <cstring>

namespace ombrel::NativeFormat {

namespace {

TileStore* storeOf(const TileGrid& grid) {
    TileStore* store = nullptr;
    grid.forEachTile([&](TileCoord, const Tile& tile) {
        store = &tile.store();
        return false;
    });
    // A grid of solid cells alone makes its border tiles where all documents do.
    return store != nullptr ? store : &TileStore::shared();
}

/// The pixels of a tile whose upper left corner lies anywhere in the plane of another grid.
void drawFrom(const LayerMask& mask, std::int64_t left, std::int64_t top, std::byte* bytes) {
    const PixelRect from{left, top, tileSize, tileSize};
    for (const TileCoord coord : from.tileRange()) {
        const PixelRect part = intersectionOf(from, PixelRect::ofTile(coord));
        const TileCell cell = mask.pixels.cell(coord);
        std::optional<TilePin> pin;
        if (cell.isPixels()) pin.emplace(cell.tile());
        for (std::int64_t y = part.y; y < part.maxY(); ++y) {
            std::byte* row = bytes + (y - top) * tileSize + (part.x - left);
            const auto width = static_cast<std::size_t>(part.width);
            if (pin) {
                const std::int64_t at = (y & (tileSize - 1)) * tileSize + (part.x & (tileSize - 1));
                std::memcpy(row, pin->bytes() + at, width);
            } else {
                std::memset(row, coverageByte(cell, mask.background), width);
            }
        }
    }
}

/// Where the moved mask has cells.
PixelRect movedBoundsOf(const LayerMask& mask) {
    const TileRange tiles = mask.pixels.tileBounds();
    const PixelRect bounds{tiles.minX * tileSize, tiles.minY * tileSize,
                           (tiles.maxX - tiles.minX + 1) * tileSize,
                           (tiles.maxY - tiles.minY + 1) * tileSize};
    return bounds.offsetBy(mask.offset);
}

TileGrid movedMask(const LayerMask& mask) {
    const auto [dx, dy] = mask.offset;
    TileStore& store = *storeOf(mask.pixels);
    if (((dx | dy) & (tileSize - 1)) == 0) return mask.pixels.shifted(dx, dy, store);
    GridMapping mapping{
        .source = &mask.pixels,
        .target = movedBoundsOf(mask),
        .sourceOf = [dx, dy](const PixelRect& rect) { return rect.offsetBy({-dx, -dy}); }};
    MappedGrid mapped = mappedGrid(mapping);
    WorkMeter meter(nullptr);
    const auto drawn = drawTiles(mapped.tiles, mapped.work, mask.background, store, meter,
                                 [&](TileCoord coord, std::byte* bytes) {
                                     const PixelRect to = PixelRect::ofTile(coord);
                                     drawFrom(mask, to.x - dx, to.y - dy, bytes);
                                     return true;
                                 });
    OMBREL_CHECK(drawn, "nobody cancels the moving of a mask");
    return std::move(mapped.tiles);
}

void bake(std::optional<LayerMask>& mask) {
    if (!mask || mask->offset == PixelOffset{}) return;
    mask->pixels = movedMask(*mask);
    mask->offset = {};
}

bool isOffset(const std::optional<LayerMask>& mask) {
    return mask && mask->offset != PixelOffset{};
}

bool needsBaking(const LayerNode& node);
bool needsBaking(const GroupLayer& group) {
    return isOffset(group.mask) || std::ranges::any_of(group.children, [](const LayerNode& child) {
               return needsBaking(child);
           });
}
bool needsBaking(const LayerNode& node) {
    if (const GroupLayer* group = node.group()) return needsBaking(*group);
    return node.pixelLayer()->offset != PixelOffset{} || isOffset(node.mask());
}

void bake(GroupLayer& group) {
    for (LayerNode& child : group.children) {
        if (!needsBaking(child)) continue;
        if (GroupLayer* inner = child.writeGroup()) {
            bake(*inner);
            continue;
        }
        PixelLayer& layer = *child.writePixelLayer();
        const auto [dx, dy] = layer.offset;
        if (dx != 0 || dy != 0) layer.pixels = layer.pixels.shifted(dx, dy, *storeOf(layer.pixels));
        layer.offset = {};
        bake(layer.mask);
    }
    bake(group.mask);
}

} // namespace

Board withoutOffsets(Board board) {
    for (BoardNode& node : board.nodes)
        if (needsBaking(*node.state.root)) bake(node.state.root.write());
    return board;
}

} // namespace ombrel::NativeFormat
