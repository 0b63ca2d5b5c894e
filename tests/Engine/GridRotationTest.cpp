#include "Engine/GridRotation.h"

#include "Engine/KernelScene.h"
#include "TestSeed.h"
#include "support/TestStore.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

double catmullRom(double x) {
    x = std::fabs(x);
    if (x < 1) return 1.5 * x * x * x - 2.5 * x * x + 1;
    return x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
}

PremultipliedColor colorIn(const TileGrid& grid, PixelOffset offset, std::int64_t x,
                           std::int64_t y) {
    return grid.color(x - offset.dx, y - offset.dy);
}

/// The pixel by its definition, in double precision; the source is within the gamut.
std::array<double, 4> judged(const PlacedGrid& grid, const Rotation& rotation, std::int64_t x,
                             std::int64_t y) {
    const RealPoint place =
        rotation.sourceOf({static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5});
    std::array<double, 4> sum{};
    for (auto row = static_cast<std::int64_t>(std::floor(place.y)) - 3; row < place.y + 3; ++row) {
        for (auto column = static_cast<std::int64_t>(std::floor(place.x)) - 3; column < place.x + 3;
             ++column) {
            const double weight = catmullRom(static_cast<double>(column) + 0.5 - place.x) *
                                  catmullRom(static_cast<double>(row) + 0.5 - place.y);
            if (weight == 0) continue;
            const PremultipliedColor pixel = colorIn(grid.tiles, grid.offset, column, row);
            sum[0] += weight * pixel.red;
            sum[1] += weight * pixel.green;
            sum[2] += weight * pixel.blue;
            sum[3] += weight * pixel.alpha;
        }
    }
    const double overshoot = std::max(1.0, sum[3]);
    const double alpha = std::max(0.0, sum[3] / overshoot);
    for (double& value : sum)
        value = std::clamp(value / overshoot, 0.0, alpha);
    return sum;
}

} // namespace

TEST(GridRotation, isTheBicubicOfEachPixelsPlace) {
    const auto store = makeTestStore();
    PixelMaker maker(testSeed(), false);
    SCOPED_TRACE(testSeed());
    PlacedGrid grid{TileGrid(TileFormat::rgba16Float), {37, -121}};
    for (const TileCoord coord : {TileCoord{0, 0}, TileCoord{1, 0}, TileCoord{-1, 1}}) {
        TileBuffer buffer = store->acquireBuffer(TileFormat::rgba16Float);
        std::memcpy(buffer.bytes(), maker.tile().data(), buffer.size());
        grid.tiles.set(coord, store->makeTile(std::move(buffer)));
    }
    grid.tiles.set({0, 1}, PremultipliedColor{0.25f, 0.5f, 0, 1});
    for (const double degrees : {17.0, -123.4, 301.5}) {
        const Rotation rotation{degrees, {200.5, 100}, {150, 250.25}};
        WorkMeter meter(nullptr);
        const PlacedGrid result = rotated(grid, rotation, 0, *store, meter).value();
        for (int i = 0; i < 700; ++i) {
            const std::int64_t x = static_cast<std::int64_t>(maker.below(1000)) - 350;
            const std::int64_t y = static_cast<std::int64_t>(maker.below(1000)) - 250;
            const PremultipliedColor found = colorIn(result.tiles, result.offset, x, y);
            const std::array<double, 4> expected = judged(grid, rotation, x, y);
            ASSERT_NEAR(found.red, expected[0], 0.0008) << degrees << " " << x << " " << y;
            ASSERT_NEAR(found.green, expected[1], 0.0008);
            ASSERT_NEAR(found.blue, expected[2], 0.0008);
            ASSERT_NEAR(found.alpha, expected[3], 0.0008);
        }
    }
}

TEST(GridRotation, keepsAreasOfOneColour) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    grid.assign({0, 0, 99, 99}, PremultipliedColor{0.1f, 0.2f, 0.3f, 1});
    WorkMeter meter(nullptr);
    const Rotation rotation{45, {12800, 12800}, {12800, 12800}};
    const TileGrid result = rotated({grid, {}}, rotation, 0, *store, meter).value().tiles;
    EXPECT_EQ(result.color(12800, 12800), (PremultipliedColor{0.1f, 0.2f, 0.3f, 1}));
    EXPECT_LE(result.pixelTileCount(), 850);
    EXPECT_GE(result.tileCount(), 9700);
}

} // namespace ombrel
