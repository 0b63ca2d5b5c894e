#include "Engine/CompositeCache.h"

#include "Core/TileStore.h"
#include "Engine/CountingDevice.h"
#include "Engine/Kernels/Downsample.h"
#include "Engine/Kernels/SimdTargets.h"
#include "Engine/PyramidReference.h"
#include "Engine/RandomDocument.h"
#include "TestSeed.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr std::int64_t megabyte = std::int64_t{1} << 20;

std::vector<TileCoord> listed(const TileRange& range) {
    return {range.begin(), range.end()};
}

class CompositeCacheTest : public testing::Test {
protected:
    CompositeCacheTest() : cache(device, *store) {}

    void show(const DocumentState& state) { cache.update(state, !state.canvas.blendUsingGamma1); }
    bool refresh(int level, const std::vector<TileCoord>& coords,
                 const CompositeCache::Budget& budget = {}) {
        const auto result = cache.refresh(level, coords, budget);
        EXPECT_TRUE(result.has_value());
        return result.value_or(false);
    }
    bool refreshAll(int level) { return refresh(level, listed(cache.geometry().tiles(level))); }
    template <typename Kind>
    bool holds(int level, TileCoord coord) const {
        const CompositeCache::Entry* entry = cache.entry(level, coord);
        return entry != nullptr && std::holds_alternative<Kind>(entry->content);
    }
    void expectPixels(int level, std::span<const TileCoord> coords, PyramidReference& reference) {
        for (const TileCoord coord : coords) {
            ASSERT_TRUE(cache.isValid(level, coord)) << level << coord.text();
            ASSERT_EQ(pixelsOf(cache.entry(level, coord)->content), reference.tile(level, coord))
                << level << coord.text();
        }
    }
    std::size_t ownedEntries() const {
        std::size_t count = 0;
        for (int level = 0; level <= cache.maxLevel(); ++level) {
            for (const TileCoord coord : cache.geometry().tiles(level))
                count += holds<CompositeCache::Owned>(level, coord) ? 1 : 0;
        }
        return count;
    }
    static void change(DocumentState& state, const std::function<void(PixelLayer&)>& change) {
        state.update(state.allNodes().back().id(),
                     [&](LayerNode& node) { change(*node.writePixelLayer()); });
    }

    std::shared_ptr<TileStore> store = TileStore::create(
        {512 * megabyte, 64 * megabyte, 64 * megabyte}, std::filesystem::temp_directory_path());
    std::uint64_t seed = testSeed();
    RandomDocument random{seed, *store, {256, 256}};
    CountingDevice device;
    CompositeCache cache;
};

/// Any edit, also of what RandomDocument leaves alone: order, size, blending space.
void editAnything(RandomDocument& random, DocumentState& state) {
    PixelMaker& maker = random.maker();
    const auto side = [&] { return static_cast<std::int64_t>(1 + maker.below(1100)); };
    switch (maker.below(14)) {
    case 0:
        state.canvas.size = {side(), side()};
        break;
    case 1:
        state.canvas.blendUsingGamma1 = !state.canvas.blendUsingGamma1;
        break;
    case 2: {
        const std::vector<LayerNode> nodes = state.allNodes();
        auto moved = state.remove(nodes[maker.below(nodes.size())].id());
        state.insert({*std::move(moved)}, std::nullopt, static_cast<std::int64_t>(maker.below(5)));
        break;
    }
    default:
        random.edit(state);
    }
}

} // namespace

TEST(PyramidGeometry, hasTheLevelsThatTheLargerSideNeeds) {
    EXPECT_EQ(PyramidGeometry({256, 256}).maxLevel(), 0);
    EXPECT_EQ(PyramidGeometry({257, 1}).maxLevel(), 1);
    EXPECT_EQ(PyramidGeometry({0, 5}).maxLevel(), 0);
    EXPECT_TRUE(PyramidGeometry({0, 5}).tiles(0).isEmpty());
    EXPECT_EQ(PyramidGeometry({300000, 300000}).maxLevel(), 11);
    EXPECT_EQ(PyramidGeometry({1100, 513}).tiles(1), (TileRange{0, 0, 2, 1}));
    EXPECT_TRUE(PyramidGeometry({1100, 513}).tiles(4).isEmpty());
}

TEST(PyramidGeometry, takesTheLevelThatAScaleNeeds) {
    const PyramidGeometry geometry({5000, 4000});
    for (const auto& [scale, level] : std::vector<std::pair<double, int>>{
             {8, 0}, {1, 0}, {0.99, 0}, {0.5, 1}, {0.49, 1}, {0.25, 2}, {0.2500001, 1}, {1e-9, 5}})
        EXPECT_EQ(geometry.levelOfScale(scale), level) << scale;
    const double quarter = 1 / 4.000000001; // as a chain of zoom steps may leave it
    EXPECT_EQ(geometry.levelOfScale(quarter), 2);
    EXPECT_EQ(geometry.visibleTiles(1, -100, 511, 513, 1e9), (TileRange{0, 0, 1, 7}));
    EXPECT_TRUE(geometry.visibleTiles(0, 5000, 0, 6000, 10).isEmpty());
}

TEST(DownsampleKernel, isTheMeanOfTwoByTwoPixelsOnEveryTarget) {
    PixelMaker maker(testSeed(), true);
    std::array<PixelTile, 4> children;
    for (PixelTile& child : children)
        child = maker.tile();
    children[1][0] = 0x7C00; // infinity
    children[1][4] = 0xFC00; // and its opposite: no number
    children[2][8] = 0x7BFF; // the largest half
    children[2][12] = 0x0001;
    const PremultipliedColor color{0.3f, 0.1f, -2, 0.7f};
    for (std::size_t i = 0; i < children[3].size(); ++i)
        children[3][i] = color.halves()[i % 4].bits;
    const PixelTile expected = halved(children);
    for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
        SCOPED_TRACE(target.name);
        const Kernels::SimdTargetOverride scope(target);
        PixelTile output(4 * pixelsPerTile, 0x1234);
        for (std::uint32_t quadrant = 0; quadrant < 4; ++quadrant) {
            GPUTileRef ref{.solid = {color.red, color.green, color.blue, color.alpha}};
            if (quadrant < 3)
                ref = {.pixels = reinterpret_cast<std::uintptr_t>(children[quadrant].data())};
            Kernels::downsampleQuadrant(
                {.child = &ref, .quadrant = quadrant, .output = output.data()});
        }
        for (std::size_t i = 0; i < output.size(); ++i)
            ASSERT_EQ(orderOf(Half{output[i]}), orderOf(Half{expected[i]})) << i;
    }
}

using PyramidModel = CompositeCacheTest;

TEST_F(PyramidModel, equalsAFreshPyramidAfterAnyEdits) {
    for (std::uint64_t round = 0; round < 4; ++round) {
        RandomDocument document(seed + round, *store, {1100, 700});
        PixelMaker& maker = document.maker();
        DocumentState state = document.make();
        cache.drop();
        for (int step = 0; step < 24; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed + round << " step " << step);
            show(state);
            const auto level =
                static_cast<int>(maker.below(static_cast<std::uint64_t>(cache.maxLevel()) + 1));
            std::vector<TileCoord> view = listed(cache.geometry().tiles(level));
            std::erase_if(view, [&](TileCoord) { return maker.oneIn(3); });
            CompositeCache::Budget budget;
            if (maker.oneIn(2)) budget.ownedBytes = 8 * megabyte;
            if (maker.oneIn(2)) budget.tiles = 1 + maker.below(6);
            while (!refresh(level, view, budget))
                ASSERT_GT(cache.lastCompositedTiles() + cache.lastDownsampledTiles(), 0u);
            ASSERT_TRUE(cache.isReady(level, view));
            ASSERT_EQ(cache.ownedCount(), ownedEntries());
            PyramidReference reference(state, device, *store);
            expectPixels(level, view, reference);
            for (std::uint64_t edits = 1 + maker.below(3); edits > 0; --edits)
                editAnything(document, state);
            if (state.allNodes().empty()) break;
        }
    }
}

/// A stroke, a drag, a mask that is painted: one node changes again and again.
void editAgain(RandomDocument& random, DocumentState& state, LayerID id) {
    PixelMaker& maker = random.maker();
    state.update(id, [&](LayerNode& node) {
        PixelLayer* layer = node.writePixelLayer();
        const TileCoord coord{static_cast<std::int32_t>(maker.below(3)),
                              static_cast<std::int32_t>(maker.below(2))};
        if (layer == nullptr || maker.oneIn(4)) {
            node.writeProperties().opacity = maker.unit();
        } else if (std::optional<LayerMask>& mask = node.writeMask(); mask && maker.oneIn(2)) {
            mask->pixels.set(coord, random.maskTile());
        } else if (maker.oneIn(5)) {
            layer->pixels.set(coord, std::nullopt);
        } else {
            layer->pixels.set(coord, random.tile());
        }
    });
}

TEST_F(PyramidModel, goesOnFromBelowWhatKeepsChangingAsIfFromTheGround) {
    for (std::uint64_t round = 0; round < 4; ++round) {
        RandomDocument document(seed + round, *store, {700, 500});
        PixelMaker& maker = document.maker();
        DocumentState state = document.make();
        std::vector<LayerNode> ground = random.stacked({700, 500}, 4).allNodes();
        state.insert(std::move(ground), std::nullopt, 0);
        if (maker.oneIn(2)) { // the same within a group
            GroupLayer group;
            group.properties.blendMode =
                maker.oneIn(2) ? BlendMode::passThrough : BlendMode::normal;
            group.children = state.root->children;
            state.root.write().children.clear();
            state.root.write().children.emplace_back(std::move(group));
        }
        cache.drop();
        LayerID hot = state.allNodes().back().id();
        for (int step = 0; step < 32; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed + round << " step " << step);
            show(state);
            CompositeCache::Budget budget;
            if (maker.oneIn(4)) budget.ownedBytes = 40 * megabyte;
            if (maker.oneIn(4)) budget.tiles = 1 + maker.below(4);
            const auto level = static_cast<int>(maker.below(2));
            const std::vector<TileCoord> view = listed(cache.geometry().tiles(level));
            while (!refresh(level, view, budget))
                ASSERT_GT(cache.lastCompositedTiles() + cache.lastDownsampledTiles(), 0u);
            PyramidReference reference(state, device, *store);
            expectPixels(level, view, reference);
            const std::vector<LayerNode> nodes = state.allNodes();
            if (maker.oneIn(6)) hot = nodes[maker.below(nodes.size())].id();
            if (maker.oneIn(9)) document.edit(state);
            editAgain(document, state, hot);
        }
    }
    EXPECT_GT(device.resumed, 20u);
    EXPECT_GT(device.resumedInGroup, 0u);
}

TEST_F(CompositeCacheTest, keepsWhatLiesBelowAChangingLayerWithinItsMemory) {
    DocumentState state = random.stacked({1024, 1024}, 5);
    show(state);
    EXPECT_TRUE(refreshAll(0));
    EXPECT_EQ(cache.ownedBytes(), 8 * megabyte);
    const auto paint = [&] {
        change(state, [&](PixelLayer& layer) {
            for (const TileCoord coord : TileRange{0, 0, 3, 1})
                layer.pixels.set(coord, random.tile());
        });
        show(state);
        device.resumed = 0;
    };
    paint();
    EXPECT_TRUE(refresh(0, listed({0, 0, 3, 3}), {.ownedBytes = 20 * megabyte}));
    EXPECT_EQ(cache.ownedBytes(), (8 + 5) * megabyte)
        << "of eight tiles as many as a quarter holds";
    paint();
    EXPECT_TRUE(refreshAll(0));
    EXPECT_EQ(device.resumed, 5u);
    EXPECT_EQ(cache.ownedBytes(), (8 + 8) * megabyte);
    paint();
    EXPECT_TRUE(refreshAll(0));
    EXPECT_EQ(device.resumed, 8u);
    state.update(state.allNodes().front().id(),
                 [](LayerNode& node) { node.writeProperties().opacity = 0.5f; });
    show(state);
    EXPECT_EQ(cache.ownedBytes(), 8 * megabyte) << "nothing above the lowest layer holds";
    cache.drop();
    EXPECT_EQ(cache.ownedBytes(), 0);
}

TEST_F(CompositeCacheTest, worksOnlyOnDirtyTilesInView) {
    DocumentState state = random.stacked({2048, 1024}, 2);
    show(state);
    EXPECT_TRUE(refresh(0, {{0, 0}, {1, 0}, {-1, 0}, {8, 0}}));
    EXPECT_EQ(cache.lastCompositedTiles(), 2u);
    EXPECT_TRUE(refresh(1, {{0, 0}, {1, 1}}));
    EXPECT_EQ(cache.lastCompositedTiles(), 6u) << "two were there already";
    EXPECT_EQ(cache.lastDownsampledTiles(), 2u);
    EXPECT_TRUE(refresh(1, {{0, 0}, {1, 1}}));
    EXPECT_EQ(cache.lastCompositedTiles() + cache.lastDownsampledTiles(), 0u);

    change(state, [&](PixelLayer& layer) {
        layer.pixels.set({1, 0}, random.tile());
        layer.pixels.set({7, 3}, random.tile());
    });
    show(state);
    EXPECT_FALSE(cache.isReady(1, std::vector<TileCoord>{{0, 0}}));
    EXPECT_TRUE(cache.isReady(1, std::vector<TileCoord>{{1, 1}, {99, 99}}));
    EXPECT_TRUE(refresh(1, {{0, 0}, {1, 1}}));
    EXPECT_EQ(cache.lastCompositedTiles(), 1u);
    EXPECT_EQ(cache.lastDownsampledTiles(), 1u);
    EXPECT_FALSE(cache.isValid(0, {7, 3})) << "nobody looks at it";
    EXPECT_EQ(cache.ownedCount(), 8u + 2u);
    EXPECT_FALSE(cache.isReady(99, std::vector<TileCoord>{{0, 0}}));
    EXPECT_TRUE(cache.isReady(99, {}));
    EXPECT_EQ(device.downsampled, 3u);
}

TEST_F(CompositeCacheTest, marksEverythingWhenTheBlendingSpaceChanges) {
    DocumentState state = random.stacked({512, 512}, 2);
    show(state);
    EXPECT_TRUE(refreshAll(1));
    state.canvas.blendUsingGamma1 = true;
    show(state);
    EXPECT_FALSE(cache.isValid(1, {0, 0}));
    EXPECT_TRUE(refreshAll(1));
    EXPECT_EQ(cache.lastCompositedTiles(), 4u);
}

TEST_F(CompositeCacheTest, aPlainLayerIsShownAsItStands) {
    DocumentState state = random.stacked({512, 256}, 1);
    show(state);
    EXPECT_TRUE(refreshAll(0));
    EXPECT_TRUE(holds<Tile>(0, {1, 0}));
    EXPECT_EQ(cache.ownedCount(), 0u);
    change(state, [](PixelLayer& layer) { layer.properties.opacity = 0.999f; });
    show(state);
    EXPECT_TRUE(refreshAll(0));
    EXPECT_EQ(cache.lastCompositedTiles(), 2u);
    change(state, [](PixelLayer& layer) {
        layer.properties.opacity = 1;
        layer.offset = {256, 0};
    });
    show(state);
    EXPECT_TRUE(refreshAll(0));
    EXPECT_TRUE(holds<EmptyTile>(0, {0, 0}));
    EXPECT_TRUE(holds<CompositeCache::Owned>(0, {1, 0})) << "only an offset of zero is an alias";
    cache.drop();
    EXPECT_EQ(cache.entryCount() + cache.ownedCount(), 0u);
}

TEST_F(CompositeCacheTest, oneColourStaysOneColourUpToTheEdge) {
    DocumentState state = random.stacked({1024, 700}, 1);
    const PremultipliedColor red{1, 0, 0, 1};
    change(state, [&](PixelLayer& layer) { layer.pixels.assign({0, 0, 3, 2}, red); });
    show(state);
    EXPECT_TRUE(refreshAll(2));
    EXPECT_TRUE(holds<PremultipliedColor>(1, {0, 0}));
    EXPECT_TRUE(holds<CompositeCache::Owned>(1, {0, 1})) << "half of it is empty";
    EXPECT_EQ(cache.lastCompositedTiles(), 0u);
    EXPECT_EQ(cache.lastDownsampledTiles(), 3u);
    change(state,
           [&](PixelLayer& layer) { layer.pixels.set({1, 1}, PremultipliedColor{0, 1, 0, 1}); });
    show(state);
    EXPECT_TRUE(refreshAll(2));
    PyramidReference reference(state, device, *store);
    expectPixels(2, listed(cache.geometry().tiles(2)), reference);
}

TEST_F(CompositeCacheTest, aHugeCanvasCostsByWhatIsThere) {
    DocumentState state = random.stacked({512, 512}, 2);
    state.canvas.size = {300000, 300000};
    show(state);
    EXPECT_TRUE(refreshAll(cache.maxLevel()));
    EXPECT_EQ(cache.lastCompositedTiles(), 4u);
    EXPECT_EQ(cache.lastDownsampledTiles(), 11u);
    EXPECT_LT(cache.entryCount(), 60u);
    change(state, [&](PixelLayer& layer) { layer.pixels.assign({0, 0, 1171, 1171}, {}); });
    change(state, [&](PixelLayer& layer) {
        layer.pixels.assign({500, 0, 1171, 1171}, PremultipliedColor{0, 0, 1, 1});
    });
    show(state);
    EXPECT_FALSE(cache.isValid(cache.maxLevel(), {0, 0}));
    EXPECT_TRUE(refresh(4, {{60, 60}, {1, 1}}));
    EXPECT_TRUE(holds<PremultipliedColor>(4, {60, 60}));
    EXPECT_TRUE(holds<EmptyTile>(4, {1, 1}));
    EXPECT_EQ(cache.lastCompositedTiles(), 0u);
}

TEST_F(CompositeCacheTest, keepsWhatAViewStillHoldsUnchanged) {
    DocumentState state = random.stacked({256, 256}, 2);
    show(state);
    EXPECT_TRUE(refreshAll(0));
    const auto held = std::get<CompositeCache::Owned>(cache.entry(0, {0, 0})->content);
    const PixelTile before = pixelsOf(held);
    change(state, [&](PixelLayer& layer) { layer.pixels.set({0, 0}, random.tile()); });
    show(state);
    EXPECT_TRUE(refreshAll(0));
    const auto next = std::get<CompositeCache::Owned>(cache.entry(0, {0, 0})->content);
    EXPECT_NE(held->revision(), next->revision());
    EXPECT_EQ(pixelsOf(held), before);
}

TEST_F(CompositeCacheTest, staysWithinTheMemoryItIsGiven) {
    show(random.stacked({4096, 2048}, 2));
    const CompositeCache::Budget budget{.ownedBytes = 20 * megabyte};
    const std::vector<TileCoord> view{{0, 0}, {1, 0}};
    EXPECT_TRUE(refresh(3, view, budget));
    EXPECT_EQ(cache.lastCompositedTiles(), 128u);
    EXPECT_LE(cache.ownedBytes(), budget.ownedBytes);
    EXPECT_TRUE(cache.isReady(3, view));
    EXPECT_EQ(cache.ownedCount(), ownedEntries());
}

} // namespace ombrel
