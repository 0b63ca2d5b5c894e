#include "Core/TileGrid.h"

#include "TestSeed.h"
#include "support/TestStore.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace ombrel {
namespace {

/// A grid of areas and single cells around the origin, and the same as a plain map.
class ChangeCase {
public:
    explicit ChangeCase(std::uint64_t seed) : random_(seed) {
        for (int i = 0; i < 6; ++i) {
            const std::int64_t x = number(-70, 60);
            const std::int64_t y = number(-70, 60);
            const TileRange range{x, y, x + number(0, 40), y + number(0, 40)};
            const PremultipliedColor color{static_cast<float>(number(1, 3)) / 4, 0, 0, 1};
            const bool removes = number(0, 4) == 0;
            grid.assign(range, removes ? std::nullopt : std::optional(color));
            for (const TileCoord coord : range) {
                model.erase(coord);
                if (!removes) model.emplace(coord, color);
            }
            const TileCoord place = TileCoord::checked(number(-80, 80), number(-80, 80));
            const Tile tile = makeTestTile(*store, TileFormat::rgba16Float);
            grid.set(place, tile);
            model.insert_or_assign(place, tile);
        }
    }

    std::int64_t number(std::int64_t least, std::int64_t greatest) {
        return std::uniform_int_distribution<std::int64_t>(least, greatest)(random_);
    }

    std::shared_ptr<TileStore> store = makeTestStore();
    TileGrid grid{TileFormat::rgba16Float};
    std::map<TileCoord, TileContent> model;

private:
    std::mt19937_64 random_;
};

} // namespace

TEST(TileGridChange, changesEveryCellWhereItIs) {
    for (std::uint64_t seed = testSeed(); seed < testSeed() + 12; ++seed) {
        SCOPED_TRACE(seed);
        ChangeCase scene(seed);
        const Tile other = makeTestTile(*scene.store, TileFormat::rgba16Float);
        const auto brighter = [](const PremultipliedColor& color) {
            return PremultipliedColor{color.red, color.red, 1, color.alpha};
        };
        const TileGrid changed = scene.grid.changed({brighter, [&](const Tile&) { return other; }});
        ASSERT_EQ(changed.tileCount(), std::ssize(scene.model));
        for (const auto& [coord, content] : scene.model) {
            const auto* color = std::get_if<PremultipliedColor>(&content);
            ASSERT_EQ(changed[coord], color ? TileContent(brighter(*color)) : other);
        }
    }
}

TEST(TileGridChange, costsNothingForAreasOfOneColour) {
    TileGrid grid(TileFormat::rgba16Float);
    grid.assign({-100000, -5, 300000, 100000}, PremultipliedColor::white());
    TileGrid expected(TileFormat::rgba16Float);
    expected.assign({-100000, -5, 300000, 100000}, PremultipliedColor::black());
    const auto blacken = [](const PremultipliedColor&) { return PremultipliedColor::black(); };
    EXPECT_EQ(grid.changed({blacken, {}}), expected);
}

TEST(TileGridChange, tellsWhatARangeHolds) {
    using Kind = TileRangeContent::Kind;
    for (std::uint64_t seed = testSeed(); seed < testSeed() + 8; ++seed) {
        SCOPED_TRACE(seed);
        ChangeCase scene(seed);
        for (int i = 0; i < 300; ++i) {
            const std::int64_t x = scene.number(-90, 90);
            const std::int64_t y = scene.number(-90, 90);
            const TileRange range{x, y, x + scene.number(0, 12), y + scene.number(0, 12)};
            bool isFirst = true;
            std::optional<TileContent> first;
            Kind kind = Kind::absent;
            for (const TileCoord coord : range) {
                const auto content = scene.grid[coord];
                if (content && std::holds_alternative<Tile>(*content)) kind = Kind::mixed;
                if (!isFirst && content != first) kind = Kind::mixed;
                first = isFirst ? content : first;
                isFirst = false;
            }
            if (kind != Kind::mixed && first) kind = Kind::solid;
            const TileRangeContent found = scene.grid.contentOf(range);
            ASSERT_EQ(found.kind, kind);
            if (kind != Kind::solid) continue;
            ASSERT_EQ(found.color, std::get<PremultipliedColor>(*first));
        }
    }
}

} // namespace ombrel
