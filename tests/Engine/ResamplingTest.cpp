#include "Engine/Resampling.h"

#include "Core/TilePixels.h"
#include "Engine/KernelScene.h"
#include "Engine/Kernels/SimdTargets.h"
#include "TestSeed.h"
#include "support/TestStore.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>
#include <set>

namespace ombrel {
namespace {

constexpr std::array filters{ResampleFilter::nearest, ResampleFilter::bilinear,
                             ResampleFilter::bicubic, ResampleFilter::lanczos};

using Channels = std::array<double, 4>;

/// All pixels of a grid in one block; for r8 the mask's value in all channels.
class Plane {
public:
    Plane(const TileGrid& grid, float background)
        : background_(background), isCoverage_(grid.format() == TileFormat::r8) {
        const TileRange tiles = grid.tileBounds();
        if (tiles.isEmpty()) return;
        rect_ = {tiles.minX * 256, tiles.minY * 256, (tiles.maxX - tiles.minX + 1) * 256,
                 (tiles.maxY - tiles.minY + 1) * 256};
        pixels_.resize(static_cast<std::size_t>(rect_.width * rect_.height), absent());
        grid.forEach([&](TileCoord coord, const TileCell& cell) { write(coord, cell); });
    }

    Channels absent() const {
        const double value = std::lround(background_ * 255);
        return isCoverage_ ? Channels{value, value, value, value} : Channels{};
    }
    Channels at(std::int64_t x, std::int64_t y) const {
        if (!rect_.contains(x, y)) return absent();
        return pixels_[static_cast<std::size_t>((y - rect_.y) * rect_.width + x - rect_.x)];
    }
    const PixelRect& rect() const { return rect_; }

private:
    void write(TileCoord coord, const TileCell& cell) {
        std::optional<TilePin> pin;
        if (cell.isPixels()) pin.emplace(cell.tile());
        for (std::int64_t i = 0; i < 65536; ++i) {
            Channels value{};
            if (isCoverage_) {
                const double byte =
                    pin ? std::to_integer<int>(pin->bytes()[i])
                        : std::lround(255 * std::clamp(cell.color().red +
                                                           (1 - cell.color().alpha) * background_,
                                                       0.0f, 1.0f));
                value = {byte, byte, byte, byte};
            } else if (pin) {
                PixelHalves halves;
                std::memcpy(halves.data(), pin->bytes() + i * 8, 8);
                for (std::size_t c = 0; c < 4; ++c)
                    value[c] = toFloat(halves[c]);
            } else {
                const PremultipliedColor& color = cell.color();
                value = {color.red, color.green, color.blue, color.alpha};
            }
            const std::int64_t x = coord.x * 256 + i % 256 - rect_.x;
            const std::int64_t y = coord.y * 256 + i / 256 - rect_.y;
            pixels_[static_cast<std::size_t>(y * rect_.width + x)] = value;
        }
    }

    float background_;
    bool isCoverage_;
    PixelRect rect_;
    std::vector<Channels> pixels_;
};

double kernel(ResampleFilter filter, double x) {
    x = std::fabs(x);
    const auto sinc = [](double v) {
        return v == 0 ? 1 : std::sin(std::numbers::pi * v) / (std::numbers::pi * v);
    };
    if (filter == ResampleFilter::bilinear) return std::max(0.0, 1 - x);
    if (filter == ResampleFilter::lanczos) return x < 3 ? sinc(x) * sinc(x / 3) : 0;
    if (x < 1) return 1.5 * x * x * x - 2.5 * x * x + 1;
    return x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
}

/// What one axis of the canvas takes for a target: places among the source's pixels and weights.
std::vector<std::pair<std::int64_t, double>> judgedTaps(ResampleFilter filter, std::int64_t target,
                                                        std::int64_t from, std::int64_t to,
                                                        bool endsBefore, bool endsAfter) {
    const double ratio = static_cast<double>(from) / static_cast<double>(to);
    const double middle = (static_cast<double>(target) + 0.5) * ratio;
    if (filter == ResampleFilter::nearest) return {{std::floor(middle), 1}};
    const double wide = std::max(1.0, ratio);
    std::vector<std::pair<std::int64_t, double>> taps;
    double total = 0;
    for (auto i = static_cast<std::int64_t>(std::floor(middle - 3 * wide - 1));
         i <= middle + 3 * wide + 1; ++i) {
        const double weight = kernel(filter, (static_cast<double>(i) + 0.5 - middle) / wide);
        if (std::fabs(weight) < 1e-9) continue;
        std::int64_t place = i;
        if (endsBefore) place = std::max<std::int64_t>(place, 0);
        if (endsAfter) place = std::min(place, from - 1);
        taps.emplace_back(place, weight);
        total += weight;
    }
    for (auto& [place, weight] : taps)
        weight /= total;
    return taps;
}

/// A random sparse grid around the canvas, which may or may not end at its sides.
class ResamplingCase {
public:
    ResamplingCase(std::uint64_t seed, TileFormat format, TileStore& store)
        : maker_(seed, seed % 3 == 0), format_(format), store_(store), grid_{TileGrid(format), {}} {
        resampling_.filter = filters[maker_.below(4)];
        resampling_.from = {number(200, 700), number(200, 700)};
        resampling_.to = {number(40, 900), number(40, 900)};
        if (maker_.oneIn(4)) resampling_.to.width = resampling_.from.width;
        background_ = format == TileFormat::r8 && maker_.oneIn(2) ? 1 : 0;
        const std::int64_t count = number(1, 6);
        for (std::int64_t i = 0; i < count; ++i)
            setCell();
        if (maker_.oneIn(2)) grid_.offset = {number(-300, 300), number(-300, 300)};
    }

    void check() {
        WorkMeter meter(nullptr);
        const auto result = resampled(grid_, resampling_, background_, store_, meter);
        ASSERT_TRUE(result);
        const Plane source(grid_.tiles, background_);
        const Plane target(result->tiles, background_);
        findEnds(source);
        for (int i = 0; i < 1500; ++i) {
            const std::int64_t x = number(-50, resampling_.to.width + 50);
            const std::int64_t y = number(-50, resampling_.to.height + 50);
            if ((x < 0 && ends_[0]) || (x >= resampling_.to.width && ends_[1])) continue;
            if ((y < 0 && ends_[2]) || (y >= resampling_.to.height && ends_[3])) continue;
            const Channels found = target.at(x - result->offset.dx, y - result->offset.dy);
            const Channels judged = judgedAt(source, x, y);
            for (std::size_t c = 0; c < 4; ++c)
                ASSERT_TRUE(isClose(found[c], judged[c]))
                    << "filter " << static_cast<int>(resampling_.filter) << " "
                    << resampling_.from.text() << " to " << resampling_.to.text() << " at " << x
                    << ", " << y << " channel " << c << ": " << found[c] << ", judged "
                    << judged[c];
        }
    }

private:
    std::int64_t number(std::int64_t least, std::int64_t greatest) {
        return least + static_cast<std::int64_t>(
                           maker_.below(static_cast<std::uint64_t>(greatest - least + 1)));
    }

    void setCell() {
        const TileCoord coord{static_cast<std::int32_t>(number(-1, 2)),
                              static_cast<std::int32_t>(number(-1, 2))};
        if (maker_.oneIn(3)) {
            const float alpha = maker_.oneIn(2) ? 1 : maker_.unit();
            grid_.tiles.set(coord, PremultipliedColor{maker_.unit() * alpha, maker_.unit() * alpha,
                                                      maker_.unit() * alpha, alpha});
            return;
        }
        TileBuffer buffer = store_.acquireBuffer(format_);
        if (format_ == TileFormat::r8) {
            const MaskTile pixels = maker_.mask();
            std::memcpy(buffer.bytes(), pixels.data(), buffer.size());
        } else {
            const PixelTile pixels = maker_.tile();
            std::memcpy(buffer.bytes(), pixels.data(), buffer.size());
        }
        grid_.tiles.set(coord, store_.makeTile(std::move(buffer)));
    }

    void findEnds(const Plane& source) {
        ends_ = {true, true, true, true};
        const PixelRect rect = source.rect();
        for (std::int64_t y = rect.y; y < rect.maxY(); ++y) {
            for (std::int64_t x = rect.x; x < rect.maxX(); ++x) {
                if (source.at(x, y) == source.absent()) continue;
                ends_[0] = ends_[0] && x + grid_.offset.dx >= 0;
                ends_[1] = ends_[1] && x + grid_.offset.dx < resampling_.from.width;
                ends_[2] = ends_[2] && y + grid_.offset.dy >= 0;
                ends_[3] = ends_[3] && y + grid_.offset.dy < resampling_.from.height;
            }
        }
    }

    Channels judgedAt(const Plane& source, std::int64_t x, std::int64_t y) const {
        const auto columns = judgedTaps(resampling_.filter, x, resampling_.from.width,
                                        resampling_.to.width, ends_[0], ends_[1]);
        const auto rows = judgedTaps(resampling_.filter, y, resampling_.from.height,
                                     resampling_.to.height, ends_[2], ends_[3]);
        Channels sum{};
        Channels belows{};
        Channels aboves{};
        for (const auto& [row, rowWeight] : rows) {
            for (const auto& [column, weight] : columns) {
                const Channels pixel = source.at(column - grid_.offset.dx, row - grid_.offset.dy);
                for (std::size_t c = 0; c < 4; ++c) {
                    sum[c] += rowWeight * weight * pixel[c];
                    belows[c] = std::min(belows[c], pixel[c]);
                    aboves[c] = std::max(aboves[c], pixel[c] - pixel[3]);
                }
            }
        }
        if (format_ == TileFormat::r8) {
            for (double& value : sum)
                value = std::clamp(value, 0.0, 255.0);
            return sum;
        }
        if (isConvex(resampling_.filter)) return sum;
        const double overshoot = std::max(1.0, sum[3]);
        for (double& value : sum)
            value /= overshoot;
        sum[3] = std::max(sum[3], 0.0);
        for (std::size_t c = 0; c < 3; ++c)
            sum[c] = std::min(std::max(sum[c], belows[c]), sum[3] + aboves[c]);
        return sum;
    }

    bool isClose(double found, double judged) const {
        if (format_ == TileFormat::r8) return std::fabs(found - judged) <= 0.5001;
        // Terms that nearly cancel leave the rounding of floats, which small halves resolve.
        if (std::fabs(found - judged) < 1e-6) return true;
        return halfDistance(toHalf(static_cast<float>(found)),
                            toHalf(static_cast<float>(judged))) <= 1;
    }

    PixelMaker maker_;
    TileFormat format_;
    TileStore& store_;
    PlacedGrid grid_;
    Resampling resampling_;
    float background_ = 0;
    std::array<bool, 4> ends_{};
};

/// A layer without offset whose pixels are what `colorAt(x, y)` gives.
template <typename ColorAt>
TileGrid painted(const PixelRect& rect, TileStore& store, ColorAt&& colorAt) {
    TileGrid grid(TileFormat::rgba16Float);
    for (const TileCoord coord : rect.tileRange()) {
        TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
        std::memset(buffer.bytes(), 0, buffer.size());
        const auto part = TilePixels::LocalRect::overlap(coord, rect);
        for (int y = part.top; y < part.bottom; ++y) {
            for (int x = part.left; x < part.right; ++x) {
                const PixelHalves pixel =
                    colorAt(coord.x * tileSize + x, coord.y * tileSize + y).halves();
                std::memcpy(buffer.bytes() + (y * tileSize + x) * 8, pixel.data(), 8);
            }
        }
        grid.set(coord, store.makeTile(std::move(buffer)));
    }
    return grid;
}

PlacedGrid resampledOf(const PlacedGrid& grid, const Resampling& resampling, TileStore& store) {
    WorkMeter meter(nullptr);
    return resampled(grid, resampling, 0, store, meter).value();
}

} // namespace

TEST(Resampling, staysWithinOneHalfOfDoublePrecisionOnEverySimdTarget) {
    const auto store = makeTestStore();
    for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
        const Kernels::SimdTargetOverride override(target);
        for (std::uint64_t i = 0; i < 14; ++i) {
            const std::uint64_t seed = testSeed() + i;
            SCOPED_TRACE(target.name + ", seed " + std::to_string(seed));
            const auto format = i % 3 == 2 ? TileFormat::r8 : TileFormat::rgba16Float;
            ResamplingCase(seed, format, *store).check();
            if (HasFatalFailure()) return;
        }
    }
}

TEST(Resampling, keepsAConstantToTheLastBitUpToTheEdgeOfTheCanvas) {
    const auto store = makeTestStore();
    const PremultipliedColor color{0.3332f, 0.7f, 0.0001f, 0.7f};
    const TileGrid grid =
        painted({0, 0, 600, 500}, *store, [&](std::int64_t, std::int64_t) { return color; });
    for (const ResampleFilter filter : filters) {
        for (const PixelSize to : {PixelSize{431, 77}, PixelSize{899, 1000}, PixelSize{3, 2}}) {
            const PlacedGrid result = resampledOf({grid, {}}, {{600, 500}, to, filter}, *store);
            for (std::int64_t y = 0; y < to.height; y += 1 + y % 7) {
                for (std::int64_t x = 0; x < to.width; x += 1 + (x + y) % 13)
                    ASSERT_EQ(result.tiles.color(x, y).halves(), color.halves())
                        << static_cast<int>(filter) << " " << x << " " << y;
            }
            EXPECT_TRUE(result.tiles.color(to.width, 0).isTransparent());
        }
    }
}

TEST(Resampling, doesNotMoveContentsAgainstEachOther) {
    const auto store = makeTestStore();
    const auto color = [](std::int64_t x, std::int64_t y) {
        const float value = static_cast<float>((x * 7919 + y * 104729) % 97) / 97;
        return PremultipliedColor{value * 0.5f, value * 0.25f, 0.5f, 0.5f + value / 2};
    };
    const TileGrid grid = painted({40, 50, 300, 200}, *store, color);
    const Resampling resampling{{900, 600}, {600, 400}, ResampleFilter::lanczos};
    const PlacedGrid atHome = resampledOf({grid, {}}, resampling, *store);
    for (const PixelOffset offset :
         {PixelOffset{37, 91}, PixelOffset{-14, 100}, PixelOffset{1, 2}}) {
        const PlacedGrid byOffset = resampledOf({grid, offset}, resampling, *store);
        const PlacedGrid byPixels =
            resampledOf({grid.shifted(offset.dx, offset.dy, *store), {}}, resampling, *store);
        for (std::int64_t y = 0; y < 400; y += 3) {
            for (std::int64_t x = 0; x < 600; ++x)
                ASSERT_LE(halfDistance(
                              byOffset.tiles.color(x - byOffset.offset.dx, y - byOffset.offset.dy)
                                  .halves(),
                              byPixels.tiles.color(x, y).halves()),
                          1);
        }
    }
    // Three pixels before are two after: nothing but the place changes.
    const PlacedGrid moved = resampledOf({grid, {33, -9}}, resampling, *store);
    EXPECT_EQ(moved.offset, (PixelOffset{22, -6}));
    for (std::int64_t y = 40; y < 160; ++y) {
        for (std::int64_t x = 30; x < 200; ++x)
            ASSERT_EQ(moved.tiles.color(x, y).halves(), atHome.tiles.color(x, y).halves());
    }
}

TEST(Resampling, leavesNoFringeAroundAShape) {
    const auto store = makeTestStore();
    const PremultipliedColor color{0.5f, 0.25f, 1, 1};
    const TileGrid grid =
        painted({300, 300, 250, 170}, *store, [&](std::int64_t, std::int64_t) { return color; });
    for (const ResampleFilter filter : filters) {
        const PlacedGrid result =
            resampledOf({grid, {}}, {{1000, 1000}, {730, 1300}, filter}, *store);
        for (std::int64_t y = 370; y < 640; ++y) {
            for (std::int64_t x = 210; x < 420; ++x) {
                const PremultipliedColor found = result.tiles.color(x, y);
                ASSERT_GE(found.alpha, 0);
                ASSERT_LE(found.alpha, 1);
                ASSERT_NEAR(found.red, 0.5f * found.alpha, 0.0005f);
                ASSERT_NEAR(found.green, 0.25f * found.alpha, 0.0005f);
                ASSERT_NEAR(found.blue, found.alpha, 0.001f);
            }
        }
    }
}

TEST(Resampling, keepsAreasOfOneColourAsCells) {
    const auto store = makeTestStore();
    constexpr PixelSize huge{300000, 300000};
    TileGrid grid(TileFormat::rgba16Float);
    grid.fill(PixelRect::ofSize(huge), {0.1f, 0.2f, 0.3f, 1}, *store);
    grid.set({500, 600}, makeTestTile(*store, TileFormat::rgba16Float, 0x31));
    const PlacedGrid half = resampledOf({grid, {}}, {huge, {150000, 150000}}, *store);
    EXPECT_EQ(half.tiles.tileCount(), 586 * 586);
    EXPECT_LE(half.tiles.pixelTileCount(), 2 * 586 + 9);
    std::set<TileID> distinct;
    half.tiles.forEachTile([&](TileCoord, const Tile& tile) { distinct.insert(tile.id()); });
    EXPECT_LE(distinct.size(), 50u);
    EXPECT_EQ(half.tiles.color(17, 140000), (PremultipliedColor{0.1f, 0.2f, 0.3f, 1}));

    TileGrid sparse(TileFormat::rgba16Float);
    sparse.set({-500, 1100}, makeTestTile(*store, TileFormat::rgba16Float, 0x31));
    const PlacedGrid twice = resampledOf({sparse, {}}, {huge, {600000, 600000}}, *store);
    EXPECT_LE(twice.tiles.tileCount(), 16);
    EXPECT_EQ(twice.tiles.cell({-999, 2201}).isAbsent(), false);
}

TEST(Resampling, endsWhenItIsCancelled) {
    const auto store = makeTestStore();
    const TileGrid grid = painted({0, 0, 600, 500}, *store, [](std::int64_t x, std::int64_t) {
        return PremultipliedColor{static_cast<float>(x % 2), 0, 0, 1};
    });
    Progress progress;
    progress.cancel();
    WorkMeter meter(&progress);
    const auto result = resampled({grid, {}}, {{600, 500}, {300, 200}}, 0, *store, meter);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, EngineError::Kind::cancelled);
}

} // namespace ombrel
