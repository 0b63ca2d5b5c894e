#include "Engine/PyramidReference.h"

#include "Base/Check.h"
#include "Engine/Flattener.h"

#include <cstring>

namespace ombrel {

namespace {

PixelTile filled(const PremultipliedColor& color) {
    PixelTile tile(4 * pixelsPerTile);
    const std::array<Half, 4> halves = color.halves();
    for (std::size_t i = 0; i < tile.size(); ++i)
        tile[i] = halves[i % 4].bits;
    return tile;
}

PixelTile copied(const std::byte* bytes) {
    PixelTile tile(4 * pixelsPerTile);
    std::memcpy(tile.data(), bytes, bytesPerTile(TileFormat::rgba16Float));
    return tile;
}

TileGrid flattenedTiles(const DocumentState& state, PixelDevice& device, TileStore& store) {
    auto grid = Flattener::compositeGrid(state, device, store);
    OMBREL_CHECK(grid.has_value(), "the flattener works");
    return *std::move(grid);
}

} // namespace

PixelTile pixelsOf(const CompositeCache::Content& content) {
    if (const auto* color = std::get_if<PremultipliedColor>(&content)) return filled(*color);
    if (const auto* tile = std::get_if<Tile>(&content)) return copied(TilePin(*tile).bytes());
    if (const auto* owned = std::get_if<CompositeCache::Owned>(&content))
        return copied((*owned)->bytes());
    return filled(PremultipliedColor::transparent());
}

PixelTile halved(const std::array<PixelTile, 4>& children) {
    PixelTile tile(4 * pixelsPerTile);
    for (std::size_t y = 0; y < 256; ++y) {
        for (std::size_t x = 0; x < 256; ++x) {
            const PixelTile& child = children[y / 128 * 2 + x / 128];
            const std::size_t upper = 4 * (2 * y % 256 * 256 + 2 * x % 256);
            const std::size_t lower = upper + std::size_t{4} * 256;
            for (std::size_t c = 0; c < 4; ++c) {
                const auto value = [&](std::size_t i) { return toFloat(Half{child[i + c]}); };
                const float sum =
                    (value(upper) + value(lower)) + (value(upper + 4) + value(lower + 4));
                tile[4 * (y * 256 + x) + c] = toHalf(sum * 0.25f).bits;
            }
        }
    }
    return tile;
}

PyramidReference::PyramidReference(const DocumentState& state, PixelDevice& device,
                                   TileStore& store)
    : geometry_(state.canvas.size), base_(flattenedTiles(state, device, store)) {}

const PixelTile& PyramidReference::tile(int level, TileCoord coord) {
    const auto key = std::pair(level, coord);
    if (const auto found = tiles_.find(key); found != tiles_.end()) return found->second;
    PixelTile tile;
    if (!geometry_.contains(level, coord)) {
        tile = filled(PremultipliedColor::transparent());
    } else if (level == 0) {
        const auto content = base_[coord];
        tile = !content ? filled(PremultipliedColor::transparent())
                        : std::visit([](const auto& what) { return pixelsOf(what); }, *content);
    } else {
        std::array<PixelTile, 4> children;
        for (std::size_t i = 0; i < 4; ++i)
            children[i] = this->tile(level - 1, PyramidGeometry::children(coord)[i]);
        tile = halved(children);
    }
    return tiles_.emplace(key, std::move(tile)).first->second;
}

} // namespace ombrel
