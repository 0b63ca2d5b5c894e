#include "Editor/BrushTipImport.h"

#include "Core/TransferFunction.h"
#include "Engine/ReducedCoverage.h"
#include "Engine/Resampling.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

namespace ombrel {

namespace {

/// Pictures beyond this are made smaller before anybody looks at single pixels.
constexpr std::int64_t largestLookedAt = 4096;

struct Plane {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint8_t> bytes;

    std::uint8_t& at(std::int64_t x, std::int64_t y) {
        return bytes[static_cast<std::size_t>(y * width + x)];
    }
    std::uint8_t at(std::int64_t x, std::int64_t y) const {
        return bytes[static_cast<std::size_t>(y * width + x)];
    }
};

/// How dark the light of a half is, as a byte.
const std::array<std::uint8_t, 65536>& darknessTable() {
    static const auto table = [] {
        std::array<std::uint8_t, 65536> made{};
        for (std::size_t bits = 0; bits < made.size(); ++bits) {
            const float light = toFloat(std::bit_cast<Half>(static_cast<std::uint16_t>(bits)));
            const float seen = TransferFunction::encode(std::clamp(light, 0.0F, 1.0F));
            made.at(bits) = static_cast<std::uint8_t>(std::lround(255 * (1 - seen)));
        }
        return made;
    }();
    return table;
}

std::uint8_t darkness(const PremultipliedColor& color) {
    const float light = 0.2126F * color.red + 0.7152F * color.green + 0.0722F * color.blue;
    return darknessTable().at(std::bit_cast<std::uint16_t>(toHalf(light)));
}

std::uint8_t opacity(const PremultipliedColor& color) {
    return static_cast<std::uint8_t>(std::lround(255 * std::clamp(color.alpha, 0.0F, 1.0F)));
}

/// Calls visit(x, y, color) for every pixel of the canvas.
template <typename Visit>
void forEachPixel(const TileGrid& grid, PixelSize size, Visit&& visit) {
    for (const TileCoord coord : PixelRect::ofSize(size).tileRange()) {
        const std::int64_t left = coord.x * tileSize;
        const std::int64_t top = coord.y * tileSize;
        const std::int64_t right = std::min(left + tileSize, size.width);
        const std::int64_t bottom = std::min(top + tileSize, size.height);
        const std::optional<TileContent> content = grid[coord];
        const Tile* const tile = content ? std::get_if<Tile>(&*content) : nullptr;
        std::optional<TilePin> pin;
        if (tile != nullptr) pin.emplace(*tile);
        PremultipliedColor color;
        if (content && tile == nullptr) color = std::get<PremultipliedColor>(*content);
        for (std::int64_t y = top; y < bottom; ++y)
            for (std::int64_t x = left; x < right; ++x) {
                if (pin) {
                    std::array<Half, 4> halves;
                    std::memcpy(halves.data(), pin->bytes() + ((y - top) * tileSize + x - left) * 8,
                                8);
                    color = {toFloat(halves[0]), toFloat(halves[1]), toFloat(halves[2]),
                             toFloat(halves[3])};
                }
                visit(x, y, color);
            }
    }
}

bool hasTransparency(const TileGrid& grid, PixelSize size) {
    bool found = false;
    forEachPixel(grid, size,
                 [&](std::int64_t /*x*/, std::int64_t /*y*/, const PremultipliedColor& color) {
                     found |= color.alpha < 0.999F;
                 });
    return found;
}

Plane coverageOf(const TileGrid& grid, PixelSize size) {
    const bool byOpacity = hasTransparency(grid, size);
    Plane plane{size.width, size.height, {}};
    plane.bytes.resize(static_cast<std::size_t>(size.width * size.height));
    forEachPixel(grid, size, [&](std::int64_t x, std::int64_t y, const PremultipliedColor& color) {
        plane.at(x, y) = byOpacity ? opacity(color) : darkness(color);
    });
    return plane;
}

/// Without its empty margins; empty where all of it is.
Plane trimmed(const Plane& plane) {
    std::int64_t left = plane.width;
    std::int64_t right = 0;
    std::int64_t top = plane.height;
    std::int64_t bottom = 0;
    for (std::int64_t y = 0; y < plane.height; ++y)
        for (std::int64_t x = 0; x < plane.width; ++x) {
            if (plane.at(x, y) == 0) continue;
            left = std::min(left, x);
            right = std::max(right, x + 1);
            top = std::min(top, y);
            bottom = y + 1;
        }
    if (right <= left) return {};
    Plane inner{right - left, bottom - top, {}};
    for (std::int64_t y = top; y < bottom; ++y)
        for (std::int64_t x = left; x < right; ++x)
            inner.bytes.push_back(plane.at(x, y));
    return inner;
}

PixelSize sizeWithin(PixelSize size, std::int64_t largest) {
    const std::int64_t side = std::max(size.width, size.height);
    if (side <= largest) return size;
    const auto scaled = [&](std::int64_t length) {
        return std::max<std::int64_t>(1, (length * largest + side / 2) / side);
    };
    return {scaled(size.width), scaled(size.height)};
}

} // namespace

std::expected<BrushTipImage, std::string> brushTipOf(const ImportedImage& image, TileStore& store) {
    PlacedGrid grid{image.pixels, {}};
    const PixelSize lookedAt = sizeWithin(image.size, largestLookedAt);
    if (lookedAt != image.size) {
        WorkMeter meter(nullptr);
        auto smaller = resampled(grid, {image.size, lookedAt}, 0, store, meter);
        if (!smaller) return std::unexpected(smaller.error().text());
        grid = std::move(*smaller);
    }
    Plane plane = trimmed(coverageOf(grid.tiles, lookedAt));
    if (plane.bytes.empty())
        return std::unexpected("Nothing of this picture would paint: it is white or transparent.");
    const PixelSize size = sizeWithin({plane.width, plane.height}, largestTipSide);
    const CoverageView whole{plane.bytes.data(), {plane.width, plane.height}, plane.width};
    if (size != whole.size) plane.bytes = reducedCoverage(whole, size);
    return BrushTipImage{Uuid::make(), size.width, size.height, std::move(plane.bytes)};
}

std::expected<BrushTipImage, std::string> importBrushTip(const std::filesystem::path& path,
                                                         TileStore& store) {
    const auto image = ImageImporter::read(path, store);
    if (!image) return std::unexpected(image.error().text());
    return brushTipOf(*image, store);
}

} // namespace ombrel
