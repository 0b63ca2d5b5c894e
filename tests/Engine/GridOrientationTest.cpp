#include "Engine/GridOrientation.h"

#include "Engine/KernelScene.h"
#include "TestSeed.h"
#include "support/TestStore.h"

#include <cstring>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

/// A random grid of stored, solid and absent cells around the origin.
TileGrid randomGrid(TileFormat format, PixelMaker& maker, TileStore& store) {
    TileGrid grid(format);
    for (std::uint64_t i = 0; i < 7; ++i) {
        const TileCoord coord{static_cast<std::int32_t>(maker.below(4)) - 2,
                              static_cast<std::int32_t>(maker.below(4)) - 2};
        if (maker.oneIn(3)) {
            grid.set(coord, PremultipliedColor{0.5f, 0.25f, 0.5f, maker.oneIn(2) ? 1 : 0.5f});
            continue;
        }
        TileBuffer buffer = store.acquireBuffer(format);
        if (format == TileFormat::r8)
            std::memcpy(buffer.bytes(), maker.mask().data(), buffer.size());
        else
            std::memcpy(buffer.bytes(), maker.tile().data(), buffer.size());
        grid.set(coord, store.makeTile(std::move(buffer)));
    }
    return grid;
}

/// The bits of a pixel; of an r8 grid what a mask reads there, as a byte.
std::uint64_t pixelAt(const TileGrid& grid, std::int64_t x, std::int64_t y, float background) {
    const TileCell cell = grid.cell(TileCoord::checked(x >> 8, y >> 8));
    const auto index = static_cast<std::size_t>((y & 255) * 256 + (x & 255));
    if (grid.format() == TileFormat::rgba16Float) {
        std::uint64_t bits = 0;
        if (cell.isPixels()) std::memcpy(&bits, TilePin(cell.tile()).bytes() + index * 8, 8);
        if (cell.isSolid()) bits = std::bit_cast<std::uint64_t>(cell.color().halves());
        return bits;
    }
    if (cell.isPixels()) return std::to_integer<std::uint64_t>(TilePin(cell.tile()).bytes()[index]);
    const float value =
        cell.isSolid() ? cell.color().red + (1 - cell.color().alpha) * background : background;
    return static_cast<std::uint64_t>(std::lround(value * 255));
}

TileGrid turned(const TileGrid& grid, Orientation orientation, PixelOffset shift, float background,
                TileStore& store) {
    WorkMeter meter(nullptr);
    return oriented(grid, orientation, shift, background, store, meter).value();
}

} // namespace

TEST(GridOrientation, movesEveryPixelAndChangesNone) {
    const auto store = makeTestStore();
    PixelMaker maker(testSeed(), true);
    SCOPED_TRACE(testSeed());
    for (int round = 0; round < 6; ++round) {
        const TileFormat format = round % 2 == 0 ? TileFormat::rgba16Float : TileFormat::r8;
        const float background = round % 4 == 3 ? 1 : 0;
        const TileGrid grid = randomGrid(format, maker, *store);
        for (int code = 1; code <= 8; ++code) {
            const Orientation orientation = Orientation::ofCode(code);
            PixelOffset shift;
            if (code % 2 == 1)
                shift = {static_cast<std::int64_t>(maker.below(700)) - 350,
                         static_cast<std::int64_t>(maker.below(700)) - 350};
            const TileGrid result = turned(grid, orientation, shift, background, *store);
            for (int i = 0; i < 4000; ++i) {
                const std::int64_t x = static_cast<std::int64_t>(maker.below(1300)) - 650;
                const std::int64_t y = static_cast<std::int64_t>(maker.below(1300)) - 650;
                const auto [toX, toY] = orientation.placeOf(x, y);
                ASSERT_EQ(pixelAt(result, toX + shift.dx, toY + shift.dy, background),
                          pixelAt(grid, x, y, background))
                    << "orientation " << code << " at " << x << ", " << y;
            }
        }
    }
}

TEST(GridOrientation, keepsAreasOfOneColourAndSharesEqualTiles) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    grid.fill({0, 0, 300000, 300000}, {0.1f, 0.2f, 0.3f, 1}, *store);
    const TileGrid result = turned(grid, {true, true, false}, {300000, 0}, 0, *store);
    TileGrid expected(TileFormat::rgba16Float);
    expected.fill({0, 0, 300000, 300000}, {0.1f, 0.2f, 0.3f, 1}, *store);
    EXPECT_EQ(result.tileCount(), expected.tileCount());
    EXPECT_EQ(result.pixelTileCount(), expected.pixelTileCount());
    EXPECT_LE(store->statistics().tileCount, 20);
    // By whole tiles nothing is drawn anew but what is stored.
    TileGrid cells(TileFormat::rgba16Float);
    cells.assign({0, 0, 900, 900}, PremultipliedColor::white());
    EXPECT_EQ(turned(cells, {false, true, false}, {901 * 256, 0}, 0, *store), cells);
}

} // namespace ombrel
