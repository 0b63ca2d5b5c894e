#include "Engine/DocumentRenderer.h"

#include "Base/MainExecutor.h"
#include "Core/TileStore.h"
#include "Engine/CountingDevice.h"
#include "Engine/PyramidReference.h"
#include "Engine/RandomDocument.h"
#include "Engine/RenderActor.h"
#include "TestSeed.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <numbers>

namespace ombrel {

namespace {

constexpr std::int64_t megabyte = std::int64_t{1} << 20;

Viewport viewOf(RealPoint center, double scale, RealSize size) {
    Viewport viewport;
    viewport.transform.center = {center.x, center.y};
    viewport.transform.scale = scale;
    viewport.transform.viewportSize = {size.width, size.height};
    return viewport;
}

double areaOf(const FrameNode& node) {
    double sum = 0;
    for (const FrameTile& tile : node.tiles)
        sum += tile.area.size.width * tile.area.size.height;
    return sum;
}

bool overlap(const RealRect& a, const RealRect& b) {
    return a.origin.x < b.origin.x + b.size.width && b.origin.x < a.origin.x + a.size.width &&
           a.origin.y < b.origin.y + b.size.height && b.origin.y < a.origin.y + a.size.height;
}

/// Each tile of a node shows what a fresh pyramid holds there.
void expectPicture(const FrameNode& node, PyramidReference& reference) {
    for (std::size_t i = 0; i < node.tiles.size(); ++i) {
        const FrameTile& tile = node.tiles[i];
        ASSERT_TRUE(tile.isCurrent);
        ASSERT_EQ(tile.level, node.level);
        const auto side = static_cast<double>(PyramidGeometry::tileSide(tile.level));
        const TileCoord coord{static_cast<std::int32_t>(tile.area.origin.x / side),
                              static_cast<std::int32_t>(tile.area.origin.y / side)};
        ASSERT_EQ(tile.texels.origin, RealPoint{});
        const PixelTile& expected = reference.tile(tile.level, coord);
        if (const auto* color = std::get_if<PremultipliedColor>(&tile.source)) {
            ASSERT_EQ(pixelsOf(*color), expected);
        } else {
            const auto& pixels = std::get<FramePixels>(tile.source);
            ASSERT_EQ(
                std::memcmp(pixels.bytes, expected.data(), bytesPerTile(TileFormat::rgba16Float)),
                0)
                << coord.text();
        }
        for (std::size_t other = 0; other < i; ++other)
            ASSERT_FALSE(overlap(tile.area, node.tiles[other].area));
    }
}

class DocumentRendererTest : public testing::Test {
protected:
    DocumentRenderer makeRenderer(DocumentRenderer::Options options) {
        return {device, *store, std::move(options)};
    }
    static DocumentRenderer::Options unhurried() {
        DocumentRenderer::Options options;
        options.frameTime.reset();
        return options;
    }
    static Frame drawn(DocumentRenderer& renderer, const Viewport& viewport,
                       const DocumentState& state) {
        auto frame = renderer.draw(viewport, state);
        EXPECT_TRUE(frame && *frame);
        (*frame)->flight.reset();
        return *std::move(*frame);
    }

    std::shared_ptr<TileStore> store = TileStore::create(
        {512 * megabyte, 64 * megabyte, 64 * megabyte}, std::filesystem::temp_directory_path());
    std::uint64_t seed = testSeed();
    RandomDocument random{seed, *store, {1100, 700}};
    CountingDevice device;
};

} // namespace

TEST_F(DocumentRendererTest, showsTheExactPictureAtAnyViewAfterAnyEdit) {
    DocumentRenderer renderer = makeRenderer(unhurried());
    DocumentState state = random.make();
    PixelMaker& maker = random.maker();
    for (int step = 0; step < 30; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " step " << step);
        Viewport viewport =
            viewOf({maker.unit() * 1100.0, maker.unit() * 700.0}, std::exp2(4 * maker.unit() - 3),
                   {200 + maker.unit() * 600.0, 300});
        viewport.transform.rotation = maker.oneIn(3) ? maker.unit() * 6.0 : 0;
        viewport.contentsScale = maker.oneIn(3) ? 2 : 1;
        const Frame frame = drawn(renderer, viewport, state);
        ASSERT_TRUE(frame.isComplete);
        PyramidReference reference(state, device, *store);
        expectPicture(frame.nodes.at(0), reference);
        random.edit(state);
    }
}

TEST_F(DocumentRendererTest, hurriedFramesAlwaysCoverTheViewAndEndWithTheExactPicture) {
    DocumentRenderer::Options options = unhurried();
    options.tilesOfFrame = 3;
    DocumentRenderer renderer = makeRenderer(options);
    DocumentState state = random.stacked({1100, 700}, 2);
    PixelMaker& maker = random.maker();
    Frame before = drawn(renderer, viewOf({550, 350}, 0.25, {300, 200}), state);
    EXPECT_FALSE(before.isComplete);
    EXPECT_EQ(before.statistics.compositedTiles, 3);
    bool coversAll = false;
    for (int step = 0; step < 12; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " step " << step);
        const double scale = std::exp2(-static_cast<double>(maker.below(4)));
        const Viewport viewport = viewOf({550, 350}, scale, {1100 * scale, 700 * scale});
        for (int frames = 0;; ++frames) {
            ASSERT_LT(frames, 60);
            const Frame frame = drawn(renderer, viewport, state);
            const FrameNode& node = frame.nodes.at(0);
            ASSERT_LE(frame.statistics.compositedTiles, 3);
            if (coversAll) {
                ASSERT_DOUBLE_EQ(areaOf(node), 1100.0 * 700);
            }
            if (!frame.isComplete) continue;
            coversAll = true;
            PyramidReference reference(state, device, *store);
            expectPicture(node, reference);
            break;
        }
        const LayerNode& top = state.root->children.back();
        state.update(top.id(), [&](LayerNode& node) {
            node.writePixelLayer()->pixels.set({static_cast<std::int32_t>(maker.below(5)),
                                                static_cast<std::int32_t>(maker.below(3))},
                                               random.tile());
            node.writeProperties().opacity = maker.unit();
        });
    }
}

TEST_F(DocumentRendererTest, startsInTheMiddleOfTheView) {
    DocumentRenderer::Options options = unhurried();
    options.tilesOfFrame = 1;
    DocumentRenderer renderer = makeRenderer(options);
    const DocumentState state = random.stacked({1280, 1280}, 2);
    const Frame frame = drawn(renderer, viewOf({900, 400}, 1, {1280, 1280}), state);
    ASSERT_EQ(frame.nodes.at(0).tiles.size(), 1u);
    EXPECT_EQ(frame.nodes[0].tiles[0].area, (RealRect{{768, 256}, {256, 256}}));
    EXPECT_EQ(frame.statistics.visibleTiles, 20);
}

TEST_F(DocumentRendererTest, equalRevisionsAreEqualPixelsAndUnchangedTilesKeepTheirs) {
    DocumentRenderer renderer = makeRenderer(unhurried());
    DocumentState state = random.stacked({512, 512}, 2);
    const Viewport viewport = viewOf({256, 256}, 1, {512, 512});
    const auto revisions = [](const Frame& frame) {
        std::map<std::pair<double, double>, std::uint64_t> all;
        for (const FrameTile& tile : frame.nodes.at(0).tiles)
            all[{tile.area.origin.x, tile.area.origin.y}] =
                std::get<FramePixels>(tile.source).revision;
        return all;
    };
    const Frame first = drawn(renderer, viewport, state);
    state.update(state.root->children[0].id(), [&](LayerNode& node) {
        node.writePixelLayer()->pixels.set({1, 1}, random.tile());
    });
    const Frame second = drawn(renderer, viewport, state);
    auto expected = revisions(first);
    auto found = revisions(second);
    EXPECT_NE((expected[{256, 256}]), (found[{256, 256}]));
    expected.erase({256, 256});
    found.erase({256, 256});
    EXPECT_EQ(expected, found);
    EXPECT_EQ(second.statistics.compositedTiles, 1);
}

TEST_F(DocumentRendererTest, drawsNothingWhileThreeFramesAreInFlight) {
    DocumentRenderer renderer = makeRenderer(unhurried());
    const DocumentState state = random.stacked({256, 256}, 1);
    const Viewport viewport = viewOf({128, 128}, 1, {256, 256});
    std::vector<Frame> held;
    for (int i = 0; i < 3; ++i)
        held.push_back(*std::move(*renderer.draw(viewport, state)));
    EXPECT_EQ(renderer.framesInFlight(), 3);
    EXPECT_FALSE(renderer.draw(viewport, state)->has_value());
    held.pop_back();
    EXPECT_TRUE(renderer.draw(viewport, state)->has_value());
    EXPECT_EQ(renderer.frame(), 4);
}

TEST_F(DocumentRendererTest, laysNodesOnTheBoardAndLetsGoOfHiddenOnes) {
    DocumentRenderer renderer = makeRenderer(unhurried());
    const DocumentState main = random.stacked({256, 256}, 1);
    Viewport viewport = viewOf({0, 0}, 1, {600, 600});
    viewport.pasteboard = 0xFF8000;
    viewport.board.activeNode = BoardNodeID::make();
    viewport.board.nodes.push_back({*viewport.board.activeNode, main, {40, 50}});
    for (int i = 0; i < 12; ++i)
        viewport.board.nodes.push_back(
            {BoardNodeID::make(), random.stacked({256, 256}, 2), {1000.0 * i, -200}});
    const Frame frame = drawn(renderer, viewport, main);
    ASSERT_EQ(frame.nodes.size(), 2u);
    EXPECT_EQ(frame.nodes[0].bounds, (RealRect{{40, 50}, {256, 256}}));
    EXPECT_EQ(frame.nodes[1].bounds, (RealRect{{0, -200}, {256, 256}}));
    EXPECT_EQ(frame.statistics.boardNodes, 1);
    EXPECT_EQ(frame.statistics.cacheBytes, 524288);
    EXPECT_FLOAT_EQ(frame.pasteboard[0], 1);
    EXPECT_NEAR(frame.pasteboard[1], 0.2158605f, 1e-6);
    EXPECT_EQ(frame.pasteboard[2], 0);
    // Board point (40, 50) on the screen: the middle is (300, 300).
    EXPECT_DOUBLE_EQ(frame.boardToPixels.a * 40 + frame.boardToPixels.tx, 340);

    for (int i = 0; i < 12; ++i) {
        viewport.transform.center = {1000.0 * i, -200};
        drawn(renderer, viewport, main);
        EXPECT_LE(renderer.slotCount(), 11u); // the document, one in view, nine hidden
    }
    viewport.transform.center = {11000, -200};
    EXPECT_EQ(drawn(renderer, viewport, main).statistics.compositedTiles, 0) << "still there";
    viewport.transform.center = {0, -200};
    EXPECT_EQ(drawn(renderer, viewport, main).statistics.compositedTiles, 1) << "let go";
}

TEST_F(DocumentRendererTest, nodesBeyondTheBudgetAreShownAsFarAsTheyGo) {
    DocumentRenderer::Options options = unhurried();
    options.cacheBytes = megabyte;
    DocumentRenderer renderer = makeRenderer(options);
    const DocumentState main = random.stacked({512, 512}, 2);
    Viewport viewport = viewOf({0, 0}, 1, {1024, 1024});
    viewport.board.nodes.push_back(
        {BoardNodeID::make(), random.stacked({256, 256}, 2), {-300, -300}});
    const Frame frame = drawn(renderer, viewport, main);
    EXPECT_TRUE(frame.isComplete) << "no frame would be better";
    EXPECT_EQ(frame.statistics.pendingBoardNodes, 1);
    EXPECT_EQ(renderer.overBudget().size(), 1u);
    EXPECT_TRUE(frame.nodes.at(1).tiles.empty());
}

TEST_F(DocumentRendererTest, tilesOutsideMemoryAreNotWaitedForWhenAFrameIsLate) {
    DocumentRenderer::Options options;
    options.frameTime = std::chrono::nanoseconds(0);
    DocumentRenderer renderer = makeRenderer(options);
    const DocumentState state = random.stacked({1024, 1024}, 1);
    const Viewport viewport = viewOf({512, 512}, 1, {1024, 1024});
    store->evict(0, 0, true);
    int frames = 1;
    while (!drawn(renderer, viewport, state).isComplete)
        ASSERT_LT(++frames, 10);
    EXPECT_GT(frames, 1);
}

TEST_F(DocumentRendererTest, theActorDeliversTheLastWishExactlyWhileStatesKeepComing) {
    MainExecutor main;
    DocumentRenderer::Options options;
    options.frameTime = std::chrono::microseconds(200);
    std::optional<Frame> last;
    int delivered = 0;
    DocumentState state = random.make();
    const Viewport viewport = viewOf({550, 350}, 0.5, {550, 350});
    {
        RenderActor actor(device, *store, options, main, [&](Frame frame) {
            ++delivered;
            last = std::move(frame);
            last->flight.reset();
        });
        for (int step = 0; step < 15; ++step) {
            actor.show(viewport, state);
            for (int i = 0; i < 3; ++i)
                main.runPending();
            random.edit(state);
        }
        bool isLast = false;
        actor.show(viewport, state);
        actor.strand()->post([&] { main.post([&] { isLast = true; }); });
        main.runUntil([&] { return isLast; });
        last.reset(); // what comes from now on shows the last state
        actor.show(viewport, state);
        main.runUntil([&] { return last && last->isComplete; });
        actor.show(viewport, state); // what is complete stays so
        const int before = delivered;
        main.runUntil([&] { return delivered > before; });
        PyramidReference reference(state, device, *store);
        expectPicture(last->nodes.at(0), reference);
        actor.show(viewport, state);
    }
    const int before = delivered;
    main.runPending();
    EXPECT_EQ(delivered, before) << "nothing is delivered after the end";
}

} // namespace ombrel
