#include "Core/TileGrid.h"
#include "Core/TilePixels.h"

#include "TestSeed.h"
#include "support/TestStore.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <unordered_map>
#include <vector>

namespace ombrel {
namespace {

/// A plane of pixels kept one by one: halves as a word, or coverage.
class PixelModel {
public:
    using Pixel = std::uint64_t;

    Pixel at(std::int64_t x, std::int64_t y) const {
        const auto found = pixels_.find(keyOf(x, y));
        return found == pixels_.end() ? 0 : found->second;
    }
    void set(std::int64_t x, std::int64_t y, Pixel pixel) {
        if (pixel == 0)
            pixels_.erase(keyOf(x, y));
        else
            pixels_[keyOf(x, y)] = pixel;
    }
    template <typename Change>
    void mapEach(Change&& change) {
        PixelModel result;
        for (const auto& [key, pixel] : pixels_)
            change(result, static_cast<std::int32_t>(key >> 32),
                   static_cast<std::int32_t>(key & 0xFFFFFFFF), pixel);
        *this = std::move(result);
    }
    std::size_t count() const { return pixels_.size(); }

private:
    static std::uint64_t keyOf(std::int64_t x, std::int64_t y) {
        return static_cast<std::uint64_t>(x) << 32 | static_cast<std::uint32_t>(y);
    }

    std::unordered_map<std::uint64_t, Pixel> pixels_;
};

PixelModel::Pixel pixelOf(TileFormat format, const PremultipliedColor& color) {
    return format == TileFormat::r8 ? TilePixels::coverageOf(color.alpha)
                                    : std::bit_cast<std::uint64_t>(color.halves());
}

/// Every pixel of the grid against the model; nothing may be stored that reads as nothing.
void expectSame(const TileGrid& grid, const PixelModel& model) {
    std::size_t seen = 0;
    std::vector<std::byte> bytes(bytesPerTile(grid.format()));
    grid.forEach([&](TileCoord coord, const TileCell& cell) {
        TilePixels::write(grid.format(), cell, bytes.data());
        const std::size_t seenBefore = seen;
        const std::size_t size = bytesPerPixel(grid.format());
        for (std::size_t index = 0; index < pixelsPerTile; ++index) {
            PixelModel::Pixel pixel = 0;
            std::memcpy(&pixel, bytes.data() + index * size, size);
            seen += pixel != 0;
            const auto x = static_cast<std::int64_t>(coord.x * tileSize + index % 256);
            const auto y = static_cast<std::int64_t>(coord.y * tileSize + index / 256);
            ASSERT_EQ(pixel, model.at(x, y)) << x << ", " << y;
        }
        EXPECT_NE(seen, seenBefore) << "a cell without pixels at " << coord.text();
    });
    EXPECT_EQ(seen, model.count());
}

class GridPixelsTest : public testing::TestWithParam<TileFormat> {
protected:
    std::int64_t number(std::int64_t least, std::int64_t greatest) {
        return std::uniform_int_distribution<std::int64_t>(least, greatest)(random_);
    }
    PremultipliedColor color() {
        const PremultipliedColor colors[] = {{1, 0, 0, 1},
                                             {0.25f, 0.3f, 0, 0.5f},
                                             {-0.1f, 2, 0.7f, 0.6f},
                                             {0, 0, 0, 0},
                                             {0, 0, 0, 1}};
        return colors[number(0, 4)];
    }
    // Sides on tile borders as often as not.
    std::int64_t edge() { return number(0, 1) == 0 ? 256 * number(-2, 2) : number(-400, 400); }
    PixelRect rect() {
        const std::int64_t x = edge();
        const std::int64_t y = edge();
        return {x, y, std::max<std::int64_t>(edge() - x, 0), std::max<std::int64_t>(edge() - y, 0)};
    }

    void setSolid() {
        const TileCoord coord = TileCoord::checked(number(-2, 1), number(-2, 1));
        const PremultipliedColor value = color();
        grid_.set(coord, value);
        for (std::int64_t index = 0; index < 65536; ++index) {
            model_.set(coord.x * 256 + index % 256, coord.y * 256 + index / 256,
                       value.isTransparent() ? 0 : pixelOf(GetParam(), value));
        }
    }
    void setTile() {
        const TileCoord coord = TileCoord::checked(number(-2, 1), number(-2, 1));
        TileBuffer buffer = store_->acquireBuffer(GetParam());
        const std::size_t size = bytesPerPixel(GetParam());
        for (std::size_t index = 0; index < pixelsPerTile; ++index) {
            // Finite halves; a third of the pixels is empty.
            PixelModel::Pixel pixel = random_() & 0x3FFF3FFF3FFF3FFF;
            if (size == 1) pixel &= 0xFF;
            if (random_() % 3 == 0) pixel = 0;
            std::memcpy(buffer.bytes() + index * size, &pixel, size);
            model_.set(static_cast<std::int64_t>(coord.x * 256 + index % 256),
                       static_cast<std::int64_t>(coord.y * 256 + index / 256), pixel);
        }
        grid_.set(coord, store_->makeTile(std::move(buffer)));
    }
    void fill() {
        if (GetParam() == TileFormat::r8) return setSolid();
        const PixelRect area = rect();
        const PremultipliedColor value = color();
        grid_.fill(area, value, *store_);
        for (std::int64_t y = area.y; y < area.maxY(); ++y)
            for (std::int64_t x = area.x; x < area.maxX(); ++x)
                model_.set(x, y, pixelOf(GetParam(), value));
    }
    void shift() {
        const std::int64_t dx = number(0, 2) == 0 ? 0 : edge() / 2;
        const std::int64_t dy = number(0, 2) == 0 ? 0 : edge() / 2;
        grid_ = grid_.shifted(dx, dy, *store_);
        model_.mapEach([&](PixelModel& result, std::int64_t x, std::int64_t y, auto pixel) {
            result.set(x + dx, y + dy, pixel);
        });
    }
    void crop() {
        const PixelRect area{number(-500, -200), number(-500, -200), number(500, 900),
                             number(500, 900)};
        grid_ = grid_.cropped(area, *store_);
        model_.mapEach([&](PixelModel& result, std::int64_t x, std::int64_t y, auto pixel) {
            if (area.contains(x, y)) result.set(x, y, pixel);
        });
    }

    std::shared_ptr<TileStore> store_ = makeTestStore();
    std::mt19937_64 random_{testSeed()};
    TileGrid grid_{GetParam()};
    PixelModel model_;
};

TEST_P(GridPixelsTest, agreeWithAPlaneKeptPixelByPixel) {
    SCOPED_TRACE(testSeed());
    for (int step = 0; step < 40; ++step) {
        switch (number(0, 6)) {
        case 0:
            setTile();
            break;
        case 1:
            setSolid();
            break;
        case 2:
            crop();
            break;
        case 3:
        case 4:
            shift();
            break;
        default:
            fill();
        }
        if (step % 4 != 0) continue;
        ASSERT_NO_FATAL_FAILURE(expectSame(grid_, model_)) << "step " << step;
    }
    ASSERT_NO_FATAL_FAILURE(expectSame(grid_, model_));
}

INSTANTIATE_TEST_SUITE_P(, GridPixelsTest, testing::Values(TileFormat::rgba16Float, TileFormat::r8),
                         [](const auto& format) {
                             return format.param == TileFormat::r8 ? "r8" : "rgba16Float";
                         });

TEST(TileGridPixels, aFillKeepsOneColorSolidAndStoresItsBorderOnce) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    grid.fill({0, 0, 300000, 300000}, PremultipliedColor::white(), *store);
    EXPECT_EQ(grid.tileCount(), 1172 * 1172);
    EXPECT_EQ(grid.pixelTileCount(), 1172 + 1171);
    EXPECT_EQ(store->statistics().tileCount, 3) << "a right border, a lower one and the corner";
    grid.fill({0, 0, 256, 256}, {1, 1, 1, 0}, *store);
    EXPECT_EQ(grid.tileCount(), 1172 * 1172 - 1);
}

TEST(TileGridPixels, whatAFillDoesNotChangeKeepsItsCell) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    const Tile tile = makeTestTile(*store, TileFormat::rgba16Float);
    grid.set({0, 0}, PremultipliedColor::white());
    grid.set({5, 5}, tile);
    const TileGrid before = grid;
    grid.fill({10, 10, 50, 50}, PremultipliedColor::white(), *store);
    grid.fill({-100, -100, 50, 50}, PremultipliedColor::transparent(), *store);
    grid.fill({10, 10, 0, 50}, PremultipliedColor::black(), *store);
    EXPECT_EQ(grid, before);
    grid.fill({10, 10, 50, 50}, PremultipliedColor::black(), *store);
    EXPECT_EQ(grid[TileCoord(5, 5)], TileContent(tile));
}

TEST(TileGridPixels, wholeTileShiftsMoveHandlesOnly) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    const Tile tile = makeTestTile(*store, TileFormat::rgba16Float);
    grid.set({0, 0}, tile);
    grid.set({-1, 7}, PremultipliedColor::black());
    const TileGrid moved = grid.shifted(256, -512, *store);
    EXPECT_EQ(moved[TileCoord(1, -2)], TileContent(tile));
    EXPECT_EQ(moved[TileCoord(0, 5)], TileContent(PremultipliedColor::black()));
    EXPECT_EQ(moved.tileCount(), 2);
    EXPECT_EQ(grid.shifted(0, 0, *store), grid);
    EXPECT_EQ(store->statistics().tileCount, 1);
}

TEST(TileGridPixels, aCropKeepsWholeTilesAndDropsWhatIsOutside) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    const Tile tile = makeTestTile(*store, TileFormat::rgba16Float);
    for (const TileCoord coord : TileRange{-1, -1, 1, 1})
        grid.set(coord, tile);
    const TileGrid cropped = grid.cropped({0, 0, 300, 256}, *store);
    EXPECT_EQ(cropped.tileCount(), 2);
    EXPECT_EQ(cropped[TileCoord(0, 0)], TileContent(tile));
    EXPECT_NE(cropped[TileCoord(1, 0)], TileContent(tile));
    EXPECT_NE(cropped.color(299, 255), PremultipliedColor{});
    EXPECT_EQ(cropped.color(300, 255), PremultipliedColor{});
    EXPECT_TRUE(grid.cropped({0, 0, 0, 100}, *store).isEmpty());
    EXPECT_TRUE(grid.subgrid({0, 0, 100, 0}).isEmpty());
}

// A flat 300000-pixel layer moved by a pixel: only its border is drawn.
TEST(TileGridPixels, shiftsOfFlatAreasDrawTheirBorder) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::rgba16Float);
    grid.fill({0, 0, 1172 * 256, 1172 * 256}, PremultipliedColor::white(), *store);
    const TileGrid moved = grid.shifted(-1, 300, *store);
    EXPECT_EQ(moved.tileCount(), 1173 * 1173);
    EXPECT_EQ(moved.pixelTileCount(), 4 * 1172);
    EXPECT_LE(store->statistics().tileCount, 8);
    EXPECT_EQ(moved.color(-1, 300), PremultipliedColor::white());
    EXPECT_EQ(moved.color(-2, 300), PremultipliedColor{});
    EXPECT_EQ(moved.color(1172 * 256 - 2, 1172 * 256 + 299), PremultipliedColor::white());
    EXPECT_EQ(moved.color(1172 * 256 - 1, 1172 * 256 + 299), PremultipliedColor{});
}

TEST(TilePixels, coverageIsAlphaRoundedAndCut) {
    const struct {
        float alpha;
        int coverage;
    } cases[] = {{0, 0},      {-0.0f, 0},  {-3, 0},     {1, 255}, {7, 255},
                 {0.5f, 128}, {0.001f, 0}, {0.002f, 1}, {NAN, 0}, {INFINITY, 255}};
    for (const auto& each : cases)
        EXPECT_EQ(TilePixels::coverageOf(each.alpha), each.coverage) << each.alpha;
}

TEST(TileGridPixelsDeathTest, onlyColorGridsAreFilledAndProbed) {
    const auto store = makeTestStore();
    TileGrid grid(TileFormat::r8);
    EXPECT_DEATH(grid.fill({0, 0, 1, 1}, PremultipliedColor::white(), *store), "rgba16Float");
    EXPECT_DEATH(grid.color(0, 0), "rgba16Float");
}

} // namespace
} // namespace ombrel
