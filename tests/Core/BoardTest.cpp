#include "Core/Board.h"

#include "TestSeed.h"
#include "support/RandomBoard.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

BoardNode nodeAt(RealPoint origin, PixelSize size) {
    BoardNode node{.id = BoardNodeID::make(), .name = "Node", .origin = origin, .state = {}};
    node.state.canvas.size = size;
    return node;
}

TEST(Board, theFirstNodeIsActiveWhereNoneIsNamed) {
    const BoardNode a = nodeAt({0, 0}, {10, 10});
    const BoardNode b = nodeAt({300, 0}, {10, 10});
    EXPECT_EQ((Board{{a, b}, b.id}).activeNode(), b);
    EXPECT_EQ((Board{{a, b}, BoardNodeID::make()}).activeNodeID, a.id);
    const Board single(DocumentState{}, "Node 1");
    EXPECT_EQ(single.activeNode().name, "Node 1");
    EXPECT_EQ(single.activeNode().origin, (RealPoint{0, 0}));
    EXPECT_EQ(single.node(BoardNodeID::make()), nullptr);
}

TEST(Board, newNodesNeverLieOnOthers) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    RandomValues make(testSeed());
    for (int round = 0; round < 200; ++round) {
        std::vector<BoardNode> nodes;
        for (std::size_t count = 1 + make.below(8); count > 0; --count)
            nodes.push_back(nodeAt(make.point(), {make.whole(1, 900), make.whole(1, 900)}));
        const Board board(nodes, nodes.front().id);
        const PixelSize size{make.whole(1, 900), make.whole(1, 900)};
        const BoardNode& source = nodes[make.below(nodes.size())];
        const BoardNode placed[] = {nodeAt(board.originForNewNode(), size),
                                    nodeAt(board.originNextTo(source.id, size), size)};
        for (const BoardNode& fresh : placed) {
            for (const BoardNode& each : nodes) {
                const RealRect a = fresh.frame();
                const RealRect b = each.frame();
                EXPECT_TRUE(a.origin.x >= b.origin.x + b.size.width ||
                            b.origin.x >= a.origin.x + a.size.width ||
                            a.origin.y >= b.origin.y + b.size.height ||
                            b.origin.y >= a.origin.y + a.size.height);
            }
        }
        EXPECT_EQ(placed[1].origin.y, source.origin.y);
        EXPECT_GE(placed[1].origin.x, source.origin.x + source.frame().size.width + 200);
    }
    Board board(DocumentState{}, "Node 1");
    board.nodes.front().state.canvas.size = {100, 50};
    EXPECT_EQ(board.originNextTo(board.activeNodeID, {5, 5}), (RealPoint{300, 0}));
}

TEST(Board, copiesAreEqualUntilOneChanges) {
    const auto store = makeTestStore();
    RandomBoard one(testSeed(), *store);
    const Board board = one.make();
    Board copy = board;
    EXPECT_EQ(copy, board);
    copy.writeNode(board.activeNodeID)->name += "x";
    EXPECT_NE(copy, board);
}

TEST(PixelLayer, contentsAreSharedByCopiesAndPartOfEquality) {
    const auto store = makeTestStore();
    RandomBoard make(testSeed(), *store);
    PixelLayer layer = make.layer();
    layer.shape = ShapeContent{};
    layer.effects = std::vector{make.values().effect(EffectKind::blur)};
    PixelLayer copy = layer;
    EXPECT_EQ(&*copy.shape, &*layer.shape);
    EXPECT_EQ(&*copy.effects, &*layer.effects);
    copy.shape.write().antiAlias = false;
    EXPECT_TRUE(layer.shape->antiAlias);
    EXPECT_NE(copy, layer);
    copy.shape = layer.shape;
    EXPECT_EQ(copy, layer);
    copy.effects.write().clear();
    EXPECT_NE(copy, layer);
}

TEST(PixelLayer, replacingItsPixelsMakesItPlain) {
    const auto store = makeTestStore();
    RandomBoard make(testSeed(), *store);
    for (int kind = 0; kind < 3; ++kind) {
        PixelLayer layer = PixelLayer::named("Live");
        if (kind == 0) layer.shape = make.values().shape();
        if (kind == 1) layer.text = make.values().textContent();
        if (kind == 2) layer.instance = make.values().instance();
        EXPECT_TRUE(layer.isLive());
        TileGrid pixels(TileFormat::rgba16Float);
        pixels.set({1, 2}, PremultipliedColor::white());
        layer.replacePixels(pixels);
        EXPECT_FALSE(layer.isLive());
        EXPECT_EQ(layer.pixels, pixels);
    }
}

TEST(DocumentState, anInstancesCompositeIsNoGridOfTheDocument) {
    const auto store = makeTestStore();
    PixelLayer layer = PixelLayer::named("Instance");
    InstanceContent instance{.source = BoardNodeID::make(), .transform = {}, .sourceSize = {}};
    instance.composite.emplace(TileFormat::rgba16Float)
        .set({0, 0}, makeTestTile(*store, TileFormat::rgba16Float));
    layer.instance = std::move(instance);
    DocumentState state;
    state.root.write().children.emplace_back(std::move(layer));
    EXPECT_EQ(state.allGrids().size(), 1u);
    EXPECT_TRUE(state.tileIDs().empty());
    EXPECT_EQ(DocumentState{}.retainedBytes(state), 0);
}

} // namespace
} // namespace ombrel
