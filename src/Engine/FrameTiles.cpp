#include "Engine/FrameTiles.h"

#include <algorithm>

namespace ombrel {

namespace {

/// How many levels down stand-ins are looked for: each has four times as many tiles.
constexpr int finerLevels = 3;
constexpr std::size_t pagedAtOnce = 8;

FramePixels pixelsOf(const CompositeCache::Owned& owned) {
    return {.revision = 2 * owned->revision() + 1, .bytes = owned->bytes(), .owner = owned};
}

} // namespace

void FrameTiles::add(int level, std::span<const TileCoord> coords, FrameNode& node) {
    node_ = &node;
    pageIn(level, coords);
    for (const TileCoord coord : coords)
        cover({level, coord}, 0);
}

void FrameTiles::cover(const Place& place, int depth) {
    if (cache_.isValid(place.level, place.coord)) {
        if (put(place, place, depth == 0)) {
            if (depth > 0) node_->isComplete = false;
            return;
        }
    } else if (hasFiner(place, depth)) {
        for (const TileCoord child : PyramidGeometry::children(place.coord)) {
            if (cache_.geometry().contains(place.level - 1, child))
                cover({place.level - 1, child}, depth + 1);
        }
        return;
    }
    node_->isComplete = false;
    coverByStandIn(place);
}

bool FrameTiles::hasFiner(const Place& place, int depth) const {
    if (place.level == 0 || depth == finerLevels) return false;
    return std::ranges::any_of(PyramidGeometry::children(place.coord), [&](TileCoord child) {
        return cache_.isValid(place.level - 1, child) ||
               hasFiner({place.level - 1, child}, depth + 1);
    });
}

void FrameTiles::coverByStandIn(const Place& place) {
    const int sharper = preview_ == nullptr ? cache_.maxLevel() : preview_->level();
    if (coverByCoarser(place, sharper, true) || coverByPreview(place) ||
        coverByCoarser(place, cache_.maxLevel(), true) ||
        coverByCoarser(place, cache_.maxLevel(), false))
        return;
    coverByOldFiner(place, 0);
}

bool FrameTiles::coverByCoarser(const Place& place, int lastLevel, bool wantsValid) {
    for (int level = place.level; level <= lastLevel; ++level) {
        const Place from{level, PyramidGeometry::ancestor(place.coord, level - place.level)};
        const CompositeCache::Entry* entry = cache_.entry(from.level, from.coord);
        if (entry != nullptr && cache_.isValid(*entry) == wantsValid && put(place, from, false))
            return true;
    }
    return false;
}

bool FrameTiles::coverByPreview(const Place& place) {
    if (preview_ == nullptr || preview_->level() < place.level) return false;
    const int levels = preview_->level() - place.level;
    const Place from{preview_->level(), PyramidGeometry::ancestor(place.coord, levels)};
    const CompositeCache::Content* content = preview_->content(from.coord);
    return content != nullptr && put(place, from, *content, false);
}

void FrameTiles::coverByOldFiner(const Place& place, int depth) {
    if (place.level == 0 || depth == finerLevels) return;
    for (const TileCoord coord : PyramidGeometry::children(place.coord)) {
        const Place child{place.level - 1, coord};
        const bool isThere = cache_.entry(child.level, coord) != nullptr;
        if (!isThere || !put(child, child, false)) coverByOldFiner(child, depth + 1);
    }
}

void FrameTiles::pageIn(int level, std::span<const TileCoord> coords) {
    std::vector<Tile> tiles;
    const auto fetch = [&] {
        TileStore::prefetch(tiles);
        for (const Tile& tile : tiles)
            pagedIn_.insert(tile.id());
        tiles.clear();
    };
    for (const TileCoord coord : coords) {
        const CompositeCache::Entry* entry = cache_.entry(level, coord);
        const auto* tile = entry == nullptr ? nullptr : std::get_if<Tile>(&entry->content);
        if (tile == nullptr || tile->store().isResident(*tile)) continue;
        tiles.push_back(*tile);
        if (tiles.size() < pagedAtOnce) continue;
        fetch();
        if (isLate()) return;
    }
    fetch();
}

bool FrameTiles::isLate() const {
    return deadline_ && CompositeCache::Clock::now() >= *deadline_;
}

std::optional<FramePixels> FrameTiles::pixelsOf(const Tile& tile) const {
    TileStore& store = tile.store();
    if (isLate() && !pagedIn_.contains(tile.id()) && !store.isResident(tile)) return std::nullopt;
    const auto pin = std::make_shared<const TilePin>(tile);
    return FramePixels{.revision = 2 * tile.id().rawValue, .bytes = pin->bytes(), .owner = pin};
}

bool FrameTiles::put(const Place& place, const Place& from, bool isCurrent) {
    return put(place, from, cache_.entry(from.level, from.coord)->content, isCurrent);
}

bool FrameTiles::put(const Place& place, const Place& from, const CompositeCache::Content& content,
                     bool isCurrent) {
    if (std::holds_alternative<EmptyTile>(content)) return true;
    FrameTile tile{.source = PremultipliedColor{}, .level = from.level, .isCurrent = isCurrent};
    if (const auto* color = std::get_if<PremultipliedColor>(&content)) {
        tile.source = *color;
    } else if (const auto* owned = std::get_if<CompositeCache::Owned>(&content)) {
        tile.source = ombrel::pixelsOf(*owned);
    } else if (auto pixels = pixelsOf(std::get<Tile>(content))) {
        tile.source = *std::move(pixels);
    } else {
        return false;
    }
    const std::int64_t side = PyramidGeometry::tileSide(place.level);
    const PixelRect whole{place.coord.x * side, place.coord.y * side, side, side};
    const PixelRect area = intersectionOf(whole, PixelRect::ofSize(cache_.canvasSize()));
    const auto real = [](std::int64_t value) { return static_cast<double>(value); };
    tile.area = {{real(area.x), real(area.y)}, {real(area.width), real(area.height)}};
    const double texel = real(std::int64_t{1} << from.level);
    const std::int64_t fromSide = PyramidGeometry::tileSide(from.level);
    tile.texels = {{real(area.x - from.coord.x * fromSide) / texel,
                    real(area.y - from.coord.y * fromSide) / texel},
                   {real(area.width) / texel, real(area.height) / texel}};
    node_->tiles.push_back(std::move(tile));
    return true;
}

} // namespace ombrel
