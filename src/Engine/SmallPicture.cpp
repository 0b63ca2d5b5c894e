#include "Engine/SmallPicture.h"

#include "Core/TileStore.h"

#include <algorithm>
#include <cstring>

namespace ombrel {

namespace {

constexpr int samplesOfSide = 4; ///< that a pixel is averaged from, each way
constexpr int coarsestLevel = 6; ///< a sampled tile has 64 x 64 tiles of each layer below it

/// Copies the part of a tile that lies in the picture.
void copyTile(const CompositeCache::Content& content, TileCoord coord, FlatImage& image) {
    const PixelSize size = image.size();
    const std::int64_t left = coord.x * tileSize;
    const std::int64_t top = coord.y * tileSize;
    const std::int64_t width = std::min(tileSize, size.width - left);
    const std::int64_t height = std::min(tileSize, size.height - top);
    constexpr std::int64_t pixelBytes = 8;
    const auto rowOf = [&](std::int64_t y) {
        return image.bytes().data() + (top + y) * image.bytesPerRow() + left * pixelBytes;
    };
    if (const auto* color = std::get_if<PremultipliedColor>(&content)) {
        const auto halves = color->halves();
        for (std::int64_t y = 0; y < height; ++y)
            for (std::int64_t x = 0; x < width; ++x)
                std::memcpy(rowOf(y) + x * pixelBytes, halves.data(), sizeof(halves));
        return;
    }
    const auto copy = [&](const std::byte* bytes) {
        for (std::int64_t y = 0; y < height; ++y)
            std::memcpy(rowOf(y), bytes + y * tileSize * pixelBytes,
                        static_cast<std::size_t>(width * pixelBytes));
    };
    if (const auto* tile = std::get_if<Tile>(&content)) copy(TilePin(*tile).bytes());
    if (const auto* owned = std::get_if<CompositeCache::Owned>(&content)) copy((*owned)->bytes());
}

} // namespace

void SmallPicture::follow(const DocumentState& state, int side) {
    const std::int64_t longer = std::max(state.canvas.size.width, state.canvas.size.height);
    int level = 0;
    while (level < coarsestLevel && (longer >> (level + 1)) >= std::int64_t{side} * samplesOfSide)
        ++level;
    halvings_ = 0;
    while ((longer >> (level + halvings_ + 1)) >= side)
        ++halvings_;
    cache_.update(state.compositeProgram(), state.canvas.size, !state.canvas.blendUsingGamma1,
                  level);
    halvings_ = std::min(halvings_, cache_.geometry().maxLevel());
}

std::expected<bool, EngineError> SmallPicture::advance(Clock::duration time) {
    const PyramidGeometry& geometry = cache_.geometry();
    if (geometry.canvas().isEmpty()) return true;
    const Clock::time_point deadline = Clock::now() + time;
    const TileRange samples = geometry.tiles(0);
    const std::vector<TileCoord> coords(samples.begin(), samples.end());
    const auto taken = cache_.refresh(coords, deadline, std::numeric_limits<std::int64_t>::max());
    if (!taken || !*taken || halvings_ == 0) return taken;
    const TileRange halved = geometry.tiles(halvings_);
    return cache_.refreshHalved(halvings_, std::vector<TileCoord>(halved.begin(), halved.end()),
                                deadline);
}

PixelSize SmallPicture::size() const {
    const PixelSize samples = cache_.geometry().canvas();
    if (samples.isEmpty()) return {};
    return {std::max<std::int64_t>(1, samples.width >> halvings_),
            std::max<std::int64_t>(1, samples.height >> halvings_)};
}

std::optional<FlatImage> SmallPicture::picture() const {
    const PixelSize size = this->size();
    if (size.isEmpty()) return std::nullopt;
    auto image = FlatImage::allocate(size);
    if (!image) return std::nullopt;
    std::ranges::fill(image->bytes(), std::byte{0});
    for (std::int64_t y = 0; y * tileSize < size.height; ++y) {
        for (std::int64_t x = 0; x * tileSize < size.width; ++x) {
            const TileCoord coord = TileCoord::checked(x, y);
            const CompositeCache::Content* content =
                halvings_ == 0 ? cache_.content(coord) : cache_.halved(halvings_, coord);
            if (content != nullptr) copyTile(*content, coord, *image);
        }
    }
    return image;
}

} // namespace ombrel
