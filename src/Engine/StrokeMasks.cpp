#include "Engine/StrokeMasks.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr std::size_t masksOfBuffer = 2;
static_assert(masksOfBuffer * pixelsPerTile * sizeof(float) ==
              bytesPerTile(TileFormat::rgba16Float));

} // namespace

StrokeMasks::~StrokeMasks() {
    for (TileBuffer& buffer : buffers_)
        store_.recycleBuffer(std::move(buffer));
}

StrokeMasks::Mask StrokeMasks::at(TileCoord coord) {
    const auto [found, isNew] = masks_.try_emplace(coord, nullptr);
    if (!isNew) return {found->second, false};
    const std::size_t place = (masks_.size() - 1) % masksOfBuffer;
    if (place == 0) buffers_.push_back(store_.acquireBuffer(TileFormat::rgba16Float));
    float* mask = reinterpret_cast<float*>(buffers_.back().bytes()) + place * pixelsPerTile;
    found->second = mask;
    return {mask, true};
}

void StrokeMasks::zero(TileCoord coord) {
    const auto found = masks_.find(coord);
    if (found != masks_.end()) std::fill_n(found->second, pixelsPerTile, 0.0f);
}

std::optional<StrokeCoverage> StrokeMasks::coverage(const PixelRect& bounds) const {
    PixelRect rect;
    for (const auto& [coord, mask] : masks_)
        rect = unionOf(rect, intersectionOf(PixelRect::ofTile(coord), bounds));
    if (rect.isEmpty()) return std::nullopt;
    StrokeCoverage coverage{.rect = rect, .bytes = {}};
    coverage.bytes.resize(static_cast<std::size_t>(rect.width * rect.height));
    for (const auto& [coord, mask] : masks_) {
        const PixelRect tile = PixelRect::ofTile(coord);
        const PixelRect part = intersectionOf(tile, bounds);
        for (std::int64_t y = part.y; y < part.maxY(); ++y) {
            const float* from = mask + (y - tile.y) * tileSize + (part.x - tile.x);
            std::transform(from, from + part.width,
                           coverage.bytes.begin() + (y - rect.y) * rect.width + (part.x - rect.x),
                           [](float value) {
                               const float cut = std::clamp(value, 0.0f, 1.0f);
                               return static_cast<std::uint8_t>(std::lround(cut * 255));
                           });
        }
    }
    return coverage;
}

} // namespace ombrel
