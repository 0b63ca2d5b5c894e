#include "Engine/GridRotation.h"

#include "Core/TilePixels.h"
#include "Core/TileStore.h"
#include "Engine/GridMapping.h"
#include "Engine/Kernels/SamplePixels.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

namespace ombrel {

namespace {

using Kernels::ResampleRange;
using Kernels::ResampleSource;

constexpr std::int64_t reach = 2; ///< pixels on each side that count

struct Turn {
    double sine;
    double cosine;

    explicit Turn(double degrees)
        : sine(std::sin(degrees * std::numbers::pi / 180)),
          cosine(std::cos(degrees * std::numbers::pi / 180)) {}
};

PixelRect boundsOf(const std::array<RealPoint, 4>& corners) {
    const auto [left, right] = std::ranges::minmax(corners, {}, &RealPoint::x);
    const auto [top, bottom] = std::ranges::minmax(corners, {}, &RealPoint::y);
    return PixelRect::enclosing(left.x, top.y, right.x - left.x, bottom.y - top.y);
}

std::array<RealPoint, 4> cornersOf(const PixelRect& rect) {
    const auto left = static_cast<double>(rect.x);
    const auto top = static_cast<double>(rect.y);
    const auto right = static_cast<double>(rect.maxX());
    const auto bottom = static_cast<double>(rect.maxY());
    return {{{left, top}, {right, top}, {left, bottom}, {right, bottom}}};
}

PixelRect grown(const PixelRect& rect, std::int64_t by) {
    return {rect.x - by, rect.y - by, rect.width + 2 * by, rect.height + 2 * by};
}

/// The four weights of Catmull-Rom for a part of a pixel.
void writeWeights(float part, float* weights) {
    const float t = part;
    weights[0] = ((-0.5f * t + 1) * t - 0.5f) * t;
    weights[1] = (1.5f * t - 2.5f) * t * t + 1;
    weights[2] = ((-1.5f * t + 2) * t + 0.5f) * t;
    weights[3] = (0.5f * t - 0.5f) * t * t;
}

/// What the targets of one row of a tile take.
struct RowSamples {
    std::array<std::uint32_t, 256> places{};
    alignas(64) std::array<float, 1024> columnWeights{};
    alignas(64) std::array<float, 1024> rowWeights{};
};

/// Source pixels around what a tile is made of, as interleaved floats.
class Patch {
public:
    Patch(const TileGrid& grid, const PixelRect& rect, float background)
        : grid_(grid), rect_(rect), background_(background),
          floats_(static_cast<std::size_t>((rect.width * rect.height + 8) * 4)) {}

    const PixelRect& rect() const { return rect_; }
    std::size_t stride() const { return static_cast<std::size_t>(rect_.width) * 4; }
    const float* pixels() const { return floats_.data(); }

    ResampleRange load(ResampleSource source) {
        ResampleRange range;
        const bool isCoverage = grid_.format() == TileFormat::r8;
        const float nothing =
            isCoverage ? static_cast<float>(coverageByte(TileCell(), background_)) : 0;
        std::ranges::fill(floats_, nothing);
        grid_.forEachIn(rect_.tileRange(), [&](TileCoord coord, const TileCell& cell) {
            const PixelRect part = intersectionOf(rect_, PixelRect::ofTile(coord));
            if (isCoverage)
                loadCoverage(cell, part);
            else
                include(range, loadColors(cell, part, source));
        });
        return range;
    }

private:
    float* at(std::int64_t x, std::int64_t y) {
        return floats_.data() + ((y - rect_.y) * rect_.width + x - rect_.x) * 4;
    }
    static std::size_t indexIn(std::int64_t x, std::int64_t y) {
        return static_cast<std::size_t>((y & (tileSize - 1)) * tileSize + (x & (tileSize - 1)));
    }
    static void include(ResampleRange& range, const ResampleRange& part) {
        range.reachesBelowZero = range.reachesBelowZero || part.reachesBelowZero;
        range.exceedsAlpha = range.exceedsAlpha || part.exceedsAlpha;
    }

    ResampleRange loadColors(const TileCell& cell, const PixelRect& part, ResampleSource source) {
        ResampleRange range;
        std::optional<TilePin> pin;
        if (cell.isPixels()) pin.emplace(cell.tile());
        std::array<Half, 4> solid{};
        if (cell.isSolid()) solid = cell.color().halves();
        std::array<std::uint16_t, 1024> row{};
        for (std::size_t i = 0; i < 1024 && !pin; ++i)
            row[i] = solid[i % 4].bits;
        for (std::int64_t y = part.y; y < part.maxY(); ++y) {
            const auto* halves =
                pin ? reinterpret_cast<const std::uint16_t*>(pin->bytes()) + indexIn(part.x, y) * 4
                    : row.data();
            include(range, Kernels::loadHalves(halves, static_cast<std::size_t>(part.width), source,
                                               at(part.x, y)));
        }
        return range;
    }

    void loadCoverage(const TileCell& cell, const PixelRect& part) {
        std::optional<TilePin> pin;
        if (cell.isPixels()) pin.emplace(cell.tile());
        const float solid = pin ? 0 : static_cast<float>(coverageByte(cell, background_));
        for (std::int64_t y = part.y; y < part.maxY(); ++y) {
            for (std::int64_t x = part.x; x < part.maxX(); ++x) {
                const float value =
                    pin ? static_cast<float>(std::to_integer<int>(pin->bytes()[indexIn(x, y)]))
                        : solid;
                std::fill_n(at(x, y), 4, value);
            }
        }
    }

    const TileGrid& grid_;
    PixelRect rect_;
    float background_;
    std::vector<float> floats_;
};

/// One grid on its way; the grid's own coordinates are those of the canvas less its offset.
class GridRotation {
public:
    GridRotation(const PlacedGrid& grid, const Rotation& rotation, float background)
        : grid_(grid.tiles), rotation_(rotation), turn_(rotation.degrees), background_(background) {
        rotation_.from.x -= static_cast<double>(grid.offset.dx);
        rotation_.from.y -= static_cast<double>(grid.offset.dy);
    }

    std::expected<PlacedGrid, EngineError> run(TileStore& store, WorkMeter& meter) const {
        const TileRange cells = grid_.tileBounds();
        const PixelRect source{cells.minX * tileSize, cells.minY * tileSize,
                               (cells.maxX - cells.minX + 1) * tileSize,
                               (cells.maxY - cells.minY + 1) * tileSize};
        MappedGrid mapped =
            mappedGrid({.source = &grid_,
                        .target = tilesAround(rotation_.targetOf(grown(source, reach))),
                        .sourceOf = [this](const PixelRect& target) { return sourceOf(target); }});
        meter.expect(std::ssize(mapped.work));
        const auto drawn = drawTiles(mapped.tiles, mapped.work, background_, store, meter,
                                     [&](TileCoord coord, std::byte* bytes) {
                                         draw(coord, bytes);
                                         return true;
                                     });
        if (!drawn) return std::unexpected(drawn.error());
        return PlacedGrid{std::move(mapped.tiles), {}};
    }

private:
    /// Beyond the cells there is nothing to draw, so whole tiles do no harm.
    static PixelRect tilesAround(const PixelRect& rect) {
        const TileRange range = rect.tileRange();
        return {range.minX * tileSize, range.minY * tileSize,
                (range.maxX - range.minX + 1) * tileSize, (range.maxY - range.minY + 1) * tileSize};
    }

    PixelRect sourceOf(const PixelRect& target) const {
        std::array<RealPoint, 4> corners = cornersOf(target);
        for (RealPoint& corner : corners)
            corner = rotation_.sourceOf(corner);
        return grown(boundsOf(corners), reach + 1);
    }

    void draw(TileCoord coord, std::byte* bytes) const {
        const PixelRect target = PixelRect::ofTile(coord);
        Patch patch(grid_, sourceOf(target), background_);
        const ResampleRange range = patch.load(ResampleSource::channels);
        std::vector<float> sums(4 * pixelsPerTile);
        sample(target, patch, Kernels::ResampleCombine::sum, sums);
        if (grid_.format() == TileFormat::r8) return storeCoverage(sums, bytes);

        std::vector<float> below;
        std::vector<float> above;
        Kernels::ResampleLimits limits;
        if (range.reachesBelowZero || range.exceedsAlpha) {
            below.resize(sums.size());
            above.resize(sums.size());
            patch.load(ResampleSource::belowZero);
            sample(target, patch, Kernels::ResampleCombine::largest, below);
            patch.load(ResampleSource::aboveAlpha);
            sample(target, patch, Kernels::ResampleCombine::largest, above);
            limits = {below.data(), above.data()};
        }
        Kernels::storeHalves(sums.data(), pixelsPerTile, &limits,
                             reinterpret_cast<std::uint16_t*>(bytes));
    }

    void sample(const PixelRect& target, const Patch& patch, Kernels::ResampleCombine combine,
                std::vector<float>& out) const {
        RowSamples row;
        for (std::int64_t y = 0; y < tileSize; ++y) {
            place(target.x, target.y + y, patch.rect(), row);
            Kernels::samplePixels({.patch = patch.pixels(),
                                   .stride = patch.stride(),
                                   .places = row.places.data(),
                                   .columnWeights = row.columnWeights.data(),
                                   .rowWeights = row.rowWeights.data(),
                                   .count = tileSize,
                                   .combine = combine,
                                   .targets = out.data() + y * 4 * tileSize});
        }
    }

    void place(std::int64_t x, std::int64_t y, const PixelRect& patch, RowSamples& row) const {
        const double middleY = static_cast<double>(y) + 0.5 - rotation_.to.y;
        for (std::size_t i = 0; i < row.places.size(); ++i) {
            const double middleX =
                static_cast<double>(x + static_cast<std::int64_t>(i)) + 0.5 - rotation_.to.x;
            const double u = turn_.cosine * middleX + turn_.sine * middleY + rotation_.from.x - 0.5;
            const double v = turn_.cosine * middleY - turn_.sine * middleX + rotation_.from.y - 0.5;
            const double column = std::floor(u);
            const double line = std::floor(v);
            writeWeights(static_cast<float>(u - column), &row.columnWeights[4 * i]);
            writeWeights(static_cast<float>(v - line), &row.rowWeights[4 * i]);
            const std::int64_t first = static_cast<std::int64_t>(column) - 1 - patch.x;
            const std::int64_t top = static_cast<std::int64_t>(line) - 1 - patch.y;
            row.places[i] = static_cast<std::uint32_t>((top * patch.width + first) * 4);
        }
    }

    static void storeCoverage(const std::vector<float>& sums, std::byte* bytes) {
        for (std::size_t i = 0; i < pixelsPerTile; ++i)
            bytes[i] = static_cast<std::byte>(std::lrintf(std::clamp(sums[4 * i], 0.0f, 255.0f)));
    }

    const TileGrid& grid_;
    Rotation rotation_;
    Turn turn_;
    float background_;
};

} // namespace

RealPoint Rotation::sourceOf(RealPoint target) const {
    const Turn turn(degrees);
    const double x = target.x - to.x;
    const double y = target.y - to.y;
    return {turn.cosine * x + turn.sine * y + from.x, turn.cosine * y - turn.sine * x + from.y};
}

RealPoint Rotation::targetOf(RealPoint source) const {
    return Rotation{-degrees, to, from}.sourceOf(source);
}

PixelRect Rotation::targetOf(const PixelRect& source) const {
    std::array<RealPoint, 4> corners = cornersOf(source);
    for (RealPoint& corner : corners)
        corner = targetOf(corner);
    return boundsOf(corners);
}

std::expected<PlacedGrid, EngineError> rotated(const PlacedGrid& grid, const Rotation& rotation,
                                               float background, TileStore& store,
                                               WorkMeter& meter) {
    if (grid.tiles.isEmpty()) return PlacedGrid{grid.tiles, {}};
    return GridRotation(grid, rotation, background).run(store, meter);
}

} // namespace ombrel
