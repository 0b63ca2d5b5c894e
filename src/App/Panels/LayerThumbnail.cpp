#include "App/Panels/LayerThumbnail.h"

#include "App/Canvas/DisplayColors.h"
#include "Core/TileCompression.h"
#include "Core/TileStore.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace ombrel {

namespace {

/// Along a side of a pixel that stands for a square of so many pixels of the canvas. Samples far
/// from each other lie in tiles of their own, each of which may have to be decoded.
int mostSamples(double step) {
    return step <= 2 * tileSize ? 4 : step <= 8 * tileSize ? 2 : 1;
}

/// Neighbouring samples that lie in one tile.
struct SampleRun {
    std::int32_t tile;
    int first;               ///< number of the first sample
    std::vector<int> places; ///< within the tile
};

/// Evenly spaced samples over `length` pixels that begin at `origin` in the grid's space.
std::vector<SampleRun> samplesAlong(std::int64_t length, std::int64_t origin, int count) {
    std::vector<SampleRun> runs;
    for (int i = 0; i < count; ++i) {
        const double at = (i + 0.5) * static_cast<double>(length) / count;
        const std::int64_t place = origin + static_cast<std::int64_t>(at);
        const auto tile = static_cast<std::int32_t>(place >> tileShift);
        if (runs.empty() || runs.back().tile != tile)
            runs.push_back({.tile = tile, .first = i, .places = {}});
        runs.back().places.push_back(static_cast<int>(place & (tileSize - 1)));
    }
    return runs;
}

/// The bytes of tiles, one after another.
class TileReading {
public:
    explicit TileReading(TileFormat format) : format_(format), decoded_(bytesPerTile(format)) {}

    const std::byte* bytesOf(const Tile& tile) {
        pin_.reset();
        if (tile.store().isResident(tile)) return pin_.emplace(tile).bytes();
        const TileBlob blob = tile.store().compressedBlob(tile);
        // What is damaged reads as nothing, as it does everywhere.
        if (!TileCompression::decode(blob, decoded_, format_))
            std::ranges::fill(decoded_, std::byte{0});
        return decoded_.data();
    }

private:
    const TileFormat format_;
    std::vector<std::byte> decoded_;
    std::optional<TilePin> pin_;
};

/// Where samples fall in a picture.
struct SampleGround {
    QSize size;
    int perSide; ///< samples along a side of a pixel
    std::vector<SampleRun> columns;
    std::vector<SampleRun> rows;

    SampleGround(PixelSize canvas, PixelOffset offset, int side)
        : size(thumbnailSize(canvas, side)), perSide(samplesPerSide(canvas, size)),
          columns(samplesAlong(canvas.width, -offset.dx, size.width() * perSide)),
          rows(samplesAlong(canvas.height, -offset.dy, size.height() * perSide)) {}

    static int samplesPerSide(PixelSize canvas, QSize size) {
        const double step = static_cast<double>(canvas.width) / size.width();
        return std::clamp(static_cast<int>(std::ceil(step)), 1, mostSamples(step));
    }
    std::size_t pixelCount() const {
        return static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
    }
    std::size_t pixelOf(int column, int row) const {
        return static_cast<std::size_t>(row / perSide) * static_cast<std::size_t>(size.width()) +
               static_cast<std::size_t>(column / perSide);
    }
};

/// Calls visit(pixel, cell, bytes, x, y) for each sample that has a cell; the bytes are the
/// tile's, null for a solid.
template <typename Visit>
void forEachSample(const TileGrid& grid, const SampleGround& ground, Visit&& visit) {
    TileReading reading(grid.format());
    for (const SampleRun& row : ground.rows) {
        for (const SampleRun& column : ground.columns) {
            const TileCell cell = grid.cell({column.tile, row.tile});
            if (cell.isAbsent()) continue;
            const std::byte* bytes = cell.isPixels() ? reading.bytesOf(cell.tile()) : nullptr;
            for (std::size_t y = 0; y < row.places.size(); ++y) {
                for (std::size_t x = 0; x < column.places.size(); ++x) {
                    const std::size_t pixel = ground.pixelOf(column.first + static_cast<int>(x),
                                                             row.first + static_cast<int>(y));
                    const int place = row.places[y] * static_cast<int>(tileSize) + column.places[x];
                    visit(pixel, cell, bytes, static_cast<std::size_t>(place));
                }
            }
        }
    }
}

/// From a document's colours to pixels of a picture.
class SRGBEncoding {
public:
    explicit SRGBEncoding(const ColorProfile& profile)
        : conversion_(colors_.conversionFrom(profile)) {}

    QRgb pixelOf(const PremultipliedColor& color) const {
        const PremultipliedColor light =
            conversion_.apply(color.red, color.green, color.blue, color.alpha);
        if (!(light.alpha > 0)) return 0;
        const float alpha = std::min(light.alpha, 1.0f);
        return qPremultiply(
            qRgba(byteOf(0, light.red / light.alpha), byteOf(1, light.green / light.alpha),
                  byteOf(2, light.blue / light.alpha), static_cast<int>(std::lround(255 * alpha))));
    }

private:
    int byteOf(std::size_t channel, float light) const {
        const float root = std::sqrt(std::clamp(light, 0.0f, 1.0f));
        const auto step = static_cast<std::size_t>(std::lround(root * (DisplayColors::steps - 1)));
        return colors_.curves()[channel][step];
    }

    DisplayColors colors_;
    const ProfileConversion conversion_;
};

QImage pictureOf(const PixelLayer& layer, const Canvas& canvas, int side) {
    const SampleGround ground(canvas.size, layer.offset, side);
    std::vector<PremultipliedColor> sums(ground.pixelCount());
    const auto add = [&](std::size_t pixel, const PremultipliedColor& color) {
        PremultipliedColor& sum = sums[pixel];
        sum = {sum.red + color.red, sum.green + color.green, sum.blue + color.blue,
               sum.alpha + color.alpha};
    };
    forEachSample(
        layer.pixels, ground,
        [&](std::size_t pixel, const TileCell& cell, const std::byte* bytes, std::size_t place) {
            if (bytes == nullptr) return add(pixel, cell.color());
            std::array<Half, 4> halves;
            std::memcpy(halves.data(), bytes + place * sizeof(halves), sizeof(halves));
            add(pixel,
                {toFloat(halves[0]), toFloat(halves[1]), toFloat(halves[2]), toFloat(halves[3])});
        });
    const SRGBEncoding encoding(canvas.profile);
    QImage picture(ground.size, QImage::Format_ARGB32_Premultiplied);
    const float share = 1.0f / static_cast<float>(ground.perSide * ground.perSide);
    for (int y = 0; y < picture.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const PremultipliedColor& sum =
                sums[ground.pixelOf(x * ground.perSide, y * ground.perSide)];
            line[x] = encoding.pixelOf(
                {sum.red * share, sum.green * share, sum.blue * share, sum.alpha * share});
        }
    }
    return picture;
}

QImage maskPictureOf(const LayerMask& mask, const Canvas& canvas, int side) {
    const SampleGround ground(canvas.size, mask.offset, side);
    const int background = static_cast<int>(std::lround(255 * mask.background));
    const int samples = ground.perSide * ground.perSide;
    std::vector<int> sums(ground.pixelCount(), background * samples);
    forEachSample(
        mask.pixels, ground,
        [&](std::size_t pixel, const TileCell& cell, const std::byte* bytes, std::size_t place) {
            const int value = bytes != nullptr ? std::to_integer<int>(bytes[place])
                                               : coverageByte(cell, mask.background);
            sums[pixel] += value - background;
        });
    QImage picture(ground.size, QImage::Format_Grayscale8);
    for (int y = 0; y < picture.height(); ++y) {
        uchar* line = picture.scanLine(y);
        for (int x = 0; x < picture.width(); ++x)
            line[x] = static_cast<uchar>(
                sums[ground.pixelOf(x * ground.perSide, y * ground.perSide)] / samples);
    }
    return picture;
}

} // namespace

QSize thumbnailSize(PixelSize canvas, int side) {
    const double longer =
        static_cast<double>(std::max({canvas.width, canvas.height, std::int64_t{1}}));
    const auto part = [&](std::int64_t length) {
        return std::max(1,
                        static_cast<int>(std::lround(side * static_cast<double>(length) / longer)));
    };
    return {part(canvas.width), part(canvas.height)};
}

LayerThumbnail layerThumbnail(const LayerNode& node, const Canvas& canvas, int side) {
    LayerThumbnail thumbnail;
    const PixelLayer* layer = node.pixelLayer();
    if (layer != nullptr) thumbnail.picture = pictureOf(*layer, canvas, side);
    if (node.mask()) thumbnail.mask = maskPictureOf(*node.mask(), canvas, side);
    return thumbnail;
}

} // namespace ombrel
