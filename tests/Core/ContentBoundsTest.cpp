#include "Core/ContentBounds.h"

#include "Core/TileStore.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <random>

namespace ombrel {
namespace {

constexpr std::int64_t memory = 256 << 20;

std::shared_ptr<TileStore> makeStore() {
    return TileStore::create({memory, memory, memory}, std::filesystem::temp_directory_path());
}

/// A tile with one value of alpha (or coverage) at some pixels.
Tile tileWith(TileStore& store, TileFormat format, std::span<const std::pair<int, int>> pixels,
              std::uint16_t value) {
    TileBuffer buffer = store.acquireBuffer(format);
    std::memset(buffer.bytes(), 0, buffer.size());
    for (const auto& [x, y] : pixels) {
        const std::size_t index = static_cast<std::size_t>(y * 256 + x);
        if (format == TileFormat::r8)
            buffer.bytes()[index] = static_cast<std::byte>(value);
        else
            std::memcpy(buffer.bytes() + index * 8 + 6, &value, sizeof value);
    }
    return store.makeTile(std::move(buffer));
}

TEST(ContentBounds, agreeWithAModelOverSparseRandomPixels) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    const auto store = makeStore();
    for (int round = 0; round < 200; ++round) {
        const TileFormat format = round % 2 == 0 ? TileFormat::rgba16Float : TileFormat::r8;
        const std::uint16_t value = format == TileFormat::r8 ? 1 : 0x0001; // the smallest
        TileGrid grid(format);
        std::optional<PixelRect> expected;
        std::vector<std::pair<std::vector<std::pair<int, int>>, Tile>> made;
        const int tiles = static_cast<int>(random() % 9);
        for (int i = 0; i < tiles; ++i) {
            const TileCoord coord{static_cast<int>(random() % 5) - 2,
                                  static_cast<int>(random() % 5) - 2};
            if (grid[coord]) continue;
            PixelRect tile = PixelRect::ofTile(coord);
            if (random() % 5 == 0) {
                grid.set(coord, PremultipliedColor{0, 0, 0, 0.25f});
                expected = expected ? unionOf(*expected, tile) : tile;
                continue;
            }
            if (made.empty() || random() % 2 == 0) {
                std::vector<std::pair<int, int>> pixels(random() % 4); // often none at all
                for (auto& [x, y] : pixels) {
                    x = static_cast<int>(random() % 256);
                    y = static_cast<int>(random() % 256);
                }
                made.emplace_back(pixels, tileWith(*store, format, pixels, value));
            }
            const auto& [pixels, stored] = made[random() % made.size()];
            for (const auto& [x, y] : pixels) {
                const PixelRect pixel{tile.x + x, tile.y + y, 1, 1};
                expected = expected ? unionOf(*expected, pixel) : pixel;
            }
            grid.set(coord, stored);
        }
        ASSERT_EQ(contentBounds(grid), expected) << "round " << round;
    }
}

TEST(ContentBounds, countAlphaAboveZeroOnly) {
    const auto store = makeStore();
    const std::pair<int, int> pixel{17, 200};
    const struct {
        std::uint16_t alpha;
        bool counts;
    } cases[]{{0x0000, false}, {0x8000, false}, {0x0001, true}, {0x7C00, true},
              {0x7C01, false}, {0xBC00, false}, {0xFE00, false}};
    for (const auto& [alpha, counts] : cases) {
        TileGrid grid(TileFormat::rgba16Float);
        grid.set({-1, 3}, tileWith(*store, TileFormat::rgba16Float, {&pixel, 1}, alpha));
        const auto expected =
            counts ? std::optional<PixelRect>(PixelRect{-256 + 17, 3 * 256 + 200, 1, 1})
                   : std::nullopt;
        EXPECT_EQ(contentBounds(grid), expected) << alpha;
    }
}

TEST(ContentBounds, ofAHugeFillCostNoPixels) {
    const auto store = makeStore();
    TileGrid grid(TileFormat::rgba16Float);
    const PixelRect rect{-100, 7, 300000, 299999};
    grid.fill(rect, PremultipliedColor::white(), *store);
    EXPECT_EQ(contentBounds(grid), rect);
}

} // namespace
} // namespace ombrel
