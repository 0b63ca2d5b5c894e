#include "Core/TileGrid.h"

#include "TestSeed.h"
#include "support/TestStore.h"

#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

using Model = std::map<TileCoord, TileContent>;

constexpr std::int32_t farthest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t nearest = std::numeric_limits<std::int32_t>::min();

using Cells = std::vector<std::pair<TileCoord, TileContent>>;

Cells cellsOf(const TileGrid& grid, const TileRange& range) {
    Cells cells;
    grid.forEachIn(range, [&](TileCoord coord, const TileCell& cell) {
        cells.emplace_back(coord, *cell.content());
    });
    return cells;
}

Cells cellsOf(const Model& model, const TileRange& range) {
    Cells cells;
    for (const auto& [coord, content] : model)
        if (range.contains(coord)) cells.emplace_back(coord, content);
    return cells;
}

testing::AssertionResult areSame(const Cells& found, const Cells& expected) {
    const auto [one, other] = std::ranges::mismatch(found, expected);
    if (one == found.end() && other == expected.end()) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << found.size() << " cells, expected " << expected.size() << "; at "
           << (one == found.end() ? "the end" : one->first.text()) << ", expected "
           << (other == expected.end() ? "the end" : other->first.text());
}

TileRange boundsOf(const Model& model) {
    if (model.empty()) return {};
    const TileCoord first = model.begin()->first;
    TileRange bounds{first.x, first.y, first.x, first.y};
    for (const auto& [coord, content] : model) {
        bounds = {std::min<std::int64_t>(bounds.minX, coord.x),
                  std::min<std::int64_t>(bounds.minY, coord.y),
                  std::max<std::int64_t>(bounds.maxX, coord.x),
                  std::max<std::int64_t>(bounds.maxY, coord.y)};
    }
    return bounds;
}

/// A grid and a plain map that go through the same random operations.
class GridModelTest : public testing::Test {
protected:
    GridModelTest() {
        for (int index = 0; index < 12; ++index)
            tiles_.push_back(makeTestTile(*store_, TileFormat::rgba16Float));
    }

    std::int64_t number(std::int64_t least, std::int64_t greatest) {
        return std::uniform_int_distribution<std::int64_t>(least, greatest)(random_);
    }

    // Mostly crowded around the corners of nodes, now and then at the ends of the plane.
    std::int32_t coordinate() {
        switch (number(0, 9)) {
        case 0:
            return static_cast<std::int32_t>(number(nearest, farthest));
        case 1:
            return static_cast<std::int32_t>(number(0, 1) == 0 ? number(nearest, nearest + 9)
                                                               : number(farthest - 9, farthest));
        case 2:
            return static_cast<std::int32_t>(number(-520, 520));
        default:
            return static_cast<std::int32_t>(number(-12, 12));
        }
    }
    TileCoord coord() { return {coordinate(), coordinate()}; }

    TileCoord knownOrRandomCoord() {
        if (model_.empty() || number(0, 2) == 0) return coord();
        auto entry = model_.lower_bound(coord());
        return entry == model_.end() ? model_.begin()->first : entry->first;
    }

    PremultipliedColor color() {
        const PremultipliedColor colors[] = {{1, 0, 0, 1},
                                             {0.25f, 0.25f, 0, 0.5f},
                                             {0, 0, 0, 1},
                                             {-0.0f, 0, 0, 1},
                                             {9, -1, 0, 0.001f}};
        return colors[number(0, 4)];
    }

    std::optional<TileContent> content() {
        switch (number(0, 6)) {
        case 0:
            return std::nullopt;
        case 1:
            return PremultipliedColor{1, 1, 1, number(0, 1) == 0 ? 0.0f : -0.0f};
        case 2:
        case 3:
            return color();
        default:
            return tiles_[static_cast<std::size_t>(number(0, 11))];
        }
    }

    TileRange range() {
        const std::int64_t x = coordinate();
        const std::int64_t y = coordinate();
        return {x, y, x + number(-1, 40), y + number(-1, 40)};
    }

    static bool isStored(const std::optional<TileContent>& content) {
        const auto* solid = content ? std::get_if<PremultipliedColor>(&*content) : nullptr;
        return content && !(solid != nullptr && solid->isTransparent());
    }

    void put(TileCoord place, const std::optional<TileContent>& value) {
        if (isStored(value))
            model_.insert_or_assign(place, *value);
        else
            model_.erase(place);
    }

    void setOne() {
        const TileCoord place = knownOrRandomCoord();
        const std::optional<TileContent> value = content();
        grid_.set(place, value);
        put(place, value);
    }

    void mergeSome() {
        Cells entries;
        for (std::int64_t index = number(0, 20); index > 0; --index) {
            const std::optional<TileContent> value = content();
            entries.emplace_back(knownOrRandomCoord(), value.value_or(PremultipliedColor{}));
        }
        grid_.merge(entries);
        for (const auto& [place, value] : entries)
            put(place, value);
    }

    void fillTiles() {
        TileRange area = intersectionOf(range(), TileRange::everything());
        const std::optional<TileContent> value = number(0, 2) == 0 ? PremultipliedColor{} : color();
        grid_.fill({area.minX * tileSize, area.minY * tileSize,
                    (area.maxX - area.minX + 1) * tileSize, (area.maxY - area.minY + 1) * tileSize},
                   std::get<PremultipliedColor>(*value), *store_);
        for (const TileCoord place : area)
            put(place, value);
    }

    void cutOut() {
        TileRange area = range();
        if (number(0, 1) == 0) area = {-600, -600, number(-5, 600), number(-5, 600)};
        const PixelRect rect{area.minX * tileSize, area.minY * tileSize,
                             (area.maxX - area.minX + 1) * tileSize,
                             (area.maxY - area.minY + 1) * tileSize};
        grid_ = number(0, 1) == 0 ? grid_.subgrid(rect) : grid_.cropped(rect, *store_);
        std::erase_if(model_, [&](const auto& entry) { return !area.contains(entry.first); });
    }

    void shift() {
        const TileRange bounds = boundsOf(model_);
        const std::int64_t steps[] = {1, 3, 8, 64, 100, 512, 4096};
        const auto pick = [&](std::int64_t least, std::int64_t greatest) {
            const std::int64_t step = steps[number(0, 6)] * (number(0, 1) == 0 ? 1 : -1);
            return least + step < nearest || greatest + step > farthest ? 0 : step;
        };
        const std::int64_t dx = number(0, 3) == 0 ? 0 : pick(bounds.minX, bounds.maxX);
        const std::int64_t dy = number(0, 3) == 0 ? 0 : pick(bounds.minY, bounds.maxY);
        grid_ = grid_.shifted(dx * tileSize, dy * tileSize, *store_);
        Model moved;
        for (const auto& [place, value] : model_)
            moved.emplace(TileCoord::checked(place.x + dx, place.y + dy), value);
        model_ = std::move(moved);
    }

    void step() {
        const std::int64_t kind = number(0, 99);
        if (kind < 80)
            setOne();
        else if (kind < 88)
            mergeSome();
        else if (kind < 94)
            fillTiles();
        else if (kind < 97)
            shift();
        else if (kind < 98)
            cutOut();
        else
            keep();
    }

    void keep() {
        kept_.emplace_back(grid_, model_);
        if (kept_.size() > 6) kept_.erase(kept_.begin() + number(0, 5));
    }

    void check(const TileGrid& grid, const Model& model) {
        ASSERT_TRUE(areSame(cellsOf(grid, TileRange::everything()),
                            cellsOf(model, TileRange::everything())));
        EXPECT_EQ(grid.tileCount(), std::ssize(model));
        const auto isTile = [](const auto& entry) {
            return std::holds_alternative<Tile>(entry.second);
        };
        EXPECT_EQ(grid.pixelTileCount(), std::ranges::count_if(model, isTile));
        EXPECT_EQ(grid.isEmpty(), model.empty());
        EXPECT_EQ(grid.tileBounds(), boundsOf(model));
        for (int count = 0; count < 4; ++count) {
            const TileRange area = range();
            ASSERT_TRUE(areSame(cellsOf(grid, area), cellsOf(model, area)));
            const TileCoord place = knownOrRandomCoord();
            const auto found = model.find(place);
            const std::optional<TileContent> expected =
                found == model.end() ? std::nullopt : std::optional(found->second);
            EXPECT_EQ(grid[place], expected) << place.text();
        }
        checkTiles(grid, model);
    }

    static void checkTiles(const TileGrid& grid, const Model& model) {
        std::map<TileCoord, TileID> seen;
        grid.forEachTile([&](TileCoord place, const Tile& tile) {
            EXPECT_TRUE(seen.emplace(place, tile.id()).second);
        });
        std::map<TileCoord, TileID> expected;
        for (const auto& [place, value] : model)
            if (const Tile* tile = std::get_if<Tile>(&value)) expected.emplace(place, tile->id());
        EXPECT_EQ(seen, expected);
    }

    static void checkPair(const std::pair<TileGrid, Model>& a,
                          const std::pair<TileGrid, Model>& b) {
        std::set<TileCoord> expected;
        for (const auto& [place, value] : a.second) {
            const auto other = b.second.find(place);
            if (other == b.second.end() || other->second != value) expected.insert(place);
        }
        for (const auto& [place, value] : b.second)
            if (!a.second.contains(place)) expected.insert(place);
        std::set<TileCoord> changed;
        TileGrid::diff(a.first, b.first,
                       [&](TileCoord place, const TileCell& before, const TileCell& after) {
                           EXPECT_TRUE(changed.insert(place).second);
                           EXPECT_EQ(before.content(), a.first[place]);
                           EXPECT_EQ(after.content(), b.first[place]);
                       });
        EXPECT_EQ(changed, expected);
        EXPECT_EQ(a.first == b.first, expected.empty());
        EXPECT_EQ(a.first.fingerprint() == b.first.fingerprint(), expected.empty());
    }

    std::shared_ptr<TileStore> store_ = makeTestStore();
    std::vector<Tile> tiles_;
    std::mt19937_64 random_{testSeed()};
    TileGrid grid_{TileFormat::rgba16Float};
    Model model_;
    std::vector<std::pair<TileGrid, Model>> kept_;
};

TEST_F(GridModelTest, agreesWithAPlainMapAndKeepsItsCopies) {
    SCOPED_TRACE(testSeed());
    for (int count = 0; count < 6000 && !HasFailure(); ++count) {
        step();
        if (count % 20 != 0) continue;
        ASSERT_NO_FATAL_FAILURE(check(grid_, model_)) << "after step " << count;
        for (const auto& [grid, model] : kept_)
            ASSERT_NO_FATAL_FAILURE(check(grid, model)) << "copy, after step " << count;
        if (kept_.empty()) continue;
        checkPair({grid_, model_}, kept_.back());
        checkPair(kept_.front(), kept_.back());
    }
    kept_.clear();
    grid_ = TileGrid(TileFormat::rgba16Float);
    model_.clear();
    tiles_.clear();
    EXPECT_EQ(store_->statistics().tileCount, 0) << "no cell leaks its tile";
}

TEST_F(GridModelTest, theSameCellsMakeEqualGridsInWhateverOrderTheyCome) {
    SCOPED_TRACE(testSeed());
    for (int count = 0; count < 400; ++count)
        setOne();
    Cells entries(model_.begin(), model_.end());
    std::ranges::shuffle(entries, random_);
    TileGrid other(TileFormat::rgba16Float);
    other.set({1000, -1000}, color());
    other.merge(entries);
    EXPECT_NE(other, grid_);
    other.set({1000, -1000}, std::nullopt);
    EXPECT_EQ(other, grid_);
    EXPECT_EQ(other.fingerprint(), grid_.fingerprint());
}

TEST(TileGrid, aTransparentSolidIsNeverStored) {
    TileGrid grid(TileFormat::rgba16Float);
    for (const float alpha : {0.0f, -0.0f}) {
        grid.set({3, 4}, PremultipliedColor{1, 2, 3, alpha});
        EXPECT_TRUE(grid.isEmpty());
        grid.set({3, 4}, PremultipliedColor::white());
        EXPECT_EQ(grid.tileCount(), 1);
        grid.set({3, 4}, PremultipliedColor{1, 2, 3, alpha});
        EXPECT_TRUE(grid.isEmpty());
    }
    grid.modify({3, 4}, [](std::optional<TileContent>& content) {
        EXPECT_FALSE(content.has_value());
        content = PremultipliedColor::black();
    });
    grid.modify({3, 4}, [](std::optional<TileContent>& content) {
        EXPECT_EQ(content, TileContent(PremultipliedColor::black()));
        std::get<PremultipliedColor>(*content).alpha = 0;
    });
    EXPECT_TRUE(grid.isEmpty());
}

TEST(TileGrid, tilesAreComparedByIdentityAndFormatsTell) {
    const auto store = makeTestStore();
    TileGrid one(TileFormat::r8);
    TileGrid two(TileFormat::r8);
    one.set({0, 0}, makeTestTile(*store, TileFormat::r8, 7));
    two.set({0, 0}, makeTestTile(*store, TileFormat::r8, 7));
    EXPECT_NE(one, two);
    EXPECT_NE(one.fingerprint(), two.fingerprint());
    two.set({0, 0}, one[{0, 0}]);
    EXPECT_EQ(one, two);
    EXPECT_NE(TileGrid(TileFormat::r8), TileGrid(TileFormat::rgba16Float));
}

TEST(TileGridDeathTest, aTileOfAnotherFormatStopsTheProcess) {
    const auto store = makeTestStore();
    const Tile tile = makeTestTile(*store, TileFormat::r8);
    TileGrid grid(TileFormat::rgba16Float);
    EXPECT_DEATH(grid.set({0, 0}, tile), "format");
}

TEST(TileGrid, walksEndWhenTheVisitHasEnough) {
    TileGrid grid(TileFormat::rgba16Float);
    for (const TileCoord coord : TileRange{-5, -5, 5, 5})
        grid.set(coord, PremultipliedColor::white());
    int visits = 0;
    grid.forEach([&](TileCoord, const TileCell&) { return ++visits < 17; });
    EXPECT_EQ(visits, 17);
    visits = 0;
    TileGrid::diff(grid, TileGrid(TileFormat::rgba16Float),
                   [&](TileCoord, const TileCell&, const TileCell&) { return ++visits < 3; });
    EXPECT_EQ(visits, 3);
}

// With a node for every cell, or a visit for every cell, these would take hours.
TEST(TileGrid, hugeFillsOfOneColorCostTheirBorder) {
    const auto store = makeTestStore();
    constexpr std::int64_t side = std::int64_t{1} << 30; // tiles
    const PixelRect plane{-side * tileSize, -side * tileSize, 2 * side * tileSize,
                          2 * side * tileSize};
    TileGrid grid(TileFormat::rgba16Float);
    grid.fill(plane, PremultipliedColor::white(), *store);
    EXPECT_EQ(grid.tileCount(), 4 * side * side);
    EXPECT_EQ(grid.tileBounds(), plane.tileRange());
    EXPECT_EQ(grid[TileCoord::checked(-side, side - 1)], TileContent(PremultipliedColor::white()));

    TileGrid other(TileFormat::rgba16Float);
    other.fill(plane, PremultipliedColor::white(), *store);
    EXPECT_EQ(grid, other);
    EXPECT_EQ(grid.fingerprint(), other.fingerprint());
    other.set({123456789, -987654321}, PremultipliedColor::black());
    std::vector<TileCoord> changed;
    TileGrid::diff(grid, other, [&](TileCoord coord, const TileCell&, const TileCell&) {
        changed.push_back(coord);
    });
    EXPECT_EQ(changed, std::vector<TileCoord>(1, {123456789, -987654321}));

    const TileGrid part = other.subgrid({0, 0, side * tileSize, side * tileSize});
    EXPECT_EQ(part.tileCount(), side * side);
    const TileGrid moved = part.shifted(-side * tileSize, side / 8 * tileSize, *store);
    EXPECT_EQ(moved.tileBounds(), (TileRange{-side, side / 8, -1, side + side / 8 - 1}));
    EXPECT_EQ(moved.tileCount(), side * side);
}

TEST(TileGrid, millionsOfCellsStayInOrder) {
    constexpr std::int64_t side = 1100;
    TileGrid grid(TileFormat::rgba16Float);
    std::mt19937_64 random(testSeed());
    std::vector<TileCoord> coords;
    for (const TileCoord coord : TileRange{-300, -700, side - 301, side - 701})
        coords.push_back(coord);
    std::vector<TileCoord> shuffled = coords;
    std::ranges::shuffle(shuffled, random);
    for (const TileCoord coord : shuffled)
        grid.set(coord, PremultipliedColor{static_cast<float>(coord.x), 0, 0, 1});
    ASSERT_EQ(grid.tileCount(), side * side);
    std::size_t index = 0;
    bool isRight = true;
    grid.forEach([&](TileCoord coord, const TileCell& cell) {
        isRight =
            isRight && coord == coords[index++] && cell.color().red == static_cast<float>(coord.x);
    });
    EXPECT_TRUE(isRight);
    EXPECT_EQ(index, coords.size());
    const TileGrid copy = grid;
    for (const TileCoord coord : shuffled)
        grid.set(coord, std::nullopt);
    EXPECT_TRUE(grid.isEmpty());
    EXPECT_EQ(copy.tileCount(), side * side);
}

// What the thread sanitizer looks at: versions copied, read, changed and dropped on many threads.
TEST(TileGrid, versionsGoFreelyBetweenThreads) {
    const auto store = makeTestStore();
    std::vector<Tile> tiles;
    for (int index = 0; index < 8; ++index)
        tiles.push_back(makeTestTile(*store, TileFormat::r8));
    TileGrid shared(TileFormat::r8);
    for (const TileCoord coord : TileRange{-20, -20, 20, 20})
        shared.set(coord, tiles[static_cast<std::size_t>((coord.x + 20) % 8)]);
    const std::uint64_t fingerprint = TileGrid(shared).fingerprint();

    constexpr int threadCount = 4;
    std::vector<TileGrid> results(threadCount, TileGrid(TileFormat::r8));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            std::mt19937_64 random(testSeed());
            TileGrid mine = shared;
            for (int step = 0; step < 400; ++step) {
                const TileCoord coord{static_cast<std::int32_t>(random() % 41) - 20,
                                      static_cast<std::int32_t>(random() % 41) - 20};
                const std::uint64_t kind = random() % 4;
                if (kind == 0)
                    mine.set(coord, std::nullopt);
                else if (kind == 1)
                    mine.set(coord, PremultipliedColor::white());
                else
                    mine.set(coord, tiles[random() % 8]);
                if (step % 50 == 0) mine = TileGrid(mine).shifted(256, -256, *store);
                EXPECT_EQ(shared.fingerprint(), fingerprint);
            }
            results[static_cast<std::size_t>(thread)] = mine;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const TileGrid& result : results)
        EXPECT_EQ(result.tileCount(), results.front().tileCount());
}

} // namespace
} // namespace ombrel
