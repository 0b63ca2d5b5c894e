#include "Core/DocumentState.h"

#include "TestSeed.h"
#include "support/TestDocument.h"

#include <algorithm>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <thread>

namespace ombrel {
namespace {

/// A tree of names, as plain as can be.
struct NaiveNode {
    LayerID id;
    bool isGroup = false;
    std::string name;
    std::vector<NaiveNode> children;
};

class NaiveTree {
public:
    NaiveNode root{{}, true, "Root", {}};

    // The list that holds the node, and where.
    std::pair<NaiveNode*, std::size_t> place(LayerID id) { return placeIn(root, id); }
    NaiveNode* group(std::optional<LayerID> id) {
        if (!id) return &root;
        const auto [parent, index] = place(*id);
        if (parent == nullptr || !parent->children[index].isGroup) return nullptr;
        return &parent->children[index];
    }
    std::vector<LayerID> ids() const {
        std::vector<LayerID> found;
        addIds(root, found);
        return found;
    }
    std::string text() const { return textOf(root.children); }

private:
    static std::pair<NaiveNode*, std::size_t> placeIn(NaiveNode& parent, LayerID id) {
        for (std::size_t index = 0; index < parent.children.size(); ++index) {
            if (parent.children[index].id == id) return {&parent, index};
            const auto below = placeIn(parent.children[index], id);
            if (below.first != nullptr) return below;
        }
        return {nullptr, 0};
    }
    static void addIds(const NaiveNode& node, std::vector<LayerID>& found) {
        for (const NaiveNode& child : node.children) {
            addIds(child, found);
            found.push_back(child.id);
        }
    }
    static std::string textOf(const std::vector<NaiveNode>& nodes) {
        std::string text;
        for (const NaiveNode& node : nodes) {
            text += node.name;
            if (node.isGroup) text += fmt::format("({})", textOf(node.children));
            text += ' ';
        }
        return text;
    }
};

std::string textOf(const std::vector<LayerNode>& nodes) {
    std::string text;
    for (const LayerNode& node : nodes) {
        text += node.properties().name;
        if (node.group() != nullptr) text += fmt::format("({})", textOf(node.group()->children));
        text += ' ';
    }
    return text;
}

NaiveNode naiveOf(const LayerNode& node) {
    return {node.id(), node.group() != nullptr, node.properties().name, {}};
}

class DocumentTreeTest : public testing::Test {
protected:
    std::int64_t number(std::int64_t least, std::int64_t greatest) {
        return std::uniform_int_distribution<std::int64_t>(least, greatest)(random_);
    }
    LayerID anyID() {
        const std::vector<LayerID> ids = naive_.ids();
        if (ids.empty() || number(0, 9) == 0) return LayerID::make();
        return ids[static_cast<std::size_t>(number(0, std::ssize(ids) - 1))];
    }
    LayerNode newNode() {
        const std::string name = fmt::format("{}", ++counter_);
        if (number(0, 2) == 0) return GroupLayer::named(name);
        return PixelLayer::named(name);
    }

    void insertSome() {
        std::vector<LayerNode> nodes;
        for (std::int64_t count = number(0, 2); count >= 0; --count)
            nodes.push_back(newNode());
        const std::optional<LayerID> parent =
            number(0, 2) == 0 ? std::nullopt : std::optional(anyID());
        const std::int64_t index = number(-2, 6);
        NaiveNode* group = naive_.group(parent);
        EXPECT_EQ(state_.insert(nodes, parent, index), group != nullptr);
        if (group == nullptr) return;
        const auto place = std::clamp<std::int64_t>(index, 0, std::ssize(group->children));
        for (std::size_t each = 0; each < nodes.size(); ++each) {
            group->children.insert(group->children.begin() + place +
                                       static_cast<std::ptrdiff_t>(each),
                                   naiveOf(nodes[each]));
        }
    }
    void removeOne() {
        const LayerID id = anyID();
        const auto [parent, index] = naive_.place(id);
        const std::optional<LayerNode> removed = state_.remove(id);
        ASSERT_EQ(removed.has_value(), parent != nullptr);
        if (parent == nullptr) return;
        EXPECT_EQ(removed->id(), id);
        parent->children.erase(parent->children.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void renameOne() {
        const LayerID id = anyID();
        const std::string name = fmt::format("{}", ++counter_);
        const auto [parent, index] = naive_.place(id);
        EXPECT_EQ(state_.update(id, [&](LayerNode& node) { node.writeProperties().name = name; }),
                  parent != nullptr);
        if (parent != nullptr) parent->children[index].name = name;
    }

    void check() {
        ASSERT_EQ(textOf(state_.root->children), naive_.text());
        std::vector<LayerID> ids;
        for (const LayerNode& node : state_.allNodes())
            ids.push_back(node.id());
        EXPECT_EQ(ids, naive_.ids());
        const LayerID id = anyID();
        const auto [parent, index] = naive_.place(id);
        const LayerNode* found = state_.find(id);
        ASSERT_EQ(found != nullptr, parent != nullptr);
        EXPECT_EQ(state_.location(id).has_value(), found != nullptr);
        if (found == nullptr) return;
        EXPECT_EQ(found->id(), id);
        const auto parentID = parent == &naive_.root ? std::nullopt : std::optional(parent->id);
        EXPECT_EQ(state_.location(id), (DocumentState::Location{parentID, index}));
        EXPECT_EQ(state_.children(parentID)[index].id(), id);
        EXPECT_EQ(state_.children(id).size(), parent->children[index].children.size());
    }

    std::mt19937_64 random_{testSeed()};
    DocumentState state_;
    NaiveTree naive_;
    int counter_ = 0;
};

TEST_F(DocumentTreeTest, agreesWithANaiveTreeAndKeepsItsCopies) {
    SCOPED_TRACE(testSeed());
    std::vector<std::pair<DocumentState, std::string>> kept;
    for (int count = 0; count < 1500 && !HasFailure(); ++count) {
        const std::int64_t kind = number(0, 9);
        if (kind < 4)
            insertSome();
        else if (kind < 6)
            removeOne();
        else
            renameOne();
        ASSERT_NO_FATAL_FAILURE(check());
        if (count % 100 == 0) kept.emplace_back(state_, naive_.text());
    }
    for (const auto& [state, text] : kept)
        EXPECT_EQ(textOf(state.root->children), text);
}

TEST(DocumentState, aChangeCopiesOnlyThePathToIt) {
    TestDocument document;
    document.group("G").layer("A").layer("B").group("H").layer("C").end().end().layer("D");
    const DocumentState before = document.state();
    DocumentState after = before;
    after.update(document.id("A"), [](LayerNode& node) { node.writeProperties().opacity = 0.5f; });
    const std::set<std::string> copied{"A", "G"};
    for (const LayerNode& node : before.allNodes()) {
        const std::string& name = node.properties().name;
        const LayerNode* other = after.find(node.id());
        const bool isSame = node.group() != nullptr ? node.group() == other->group()
                                                    : node.pixelLayer() == other->pixelLayer();
        EXPECT_EQ(isSame, !copied.contains(name)) << name;
    }
    EXPECT_EQ(document.layerNamed("A").properties.opacity, 1);
    EXPECT_NE(before, after);

    const PixelLayer* inPlace = after.find(document.id("A"))->pixelLayer();
    after.update(document.id("A"), [](LayerNode& node) { node.writeProperties().opacity = 1; });
    EXPECT_EQ(after.find(document.id("A"))->pixelLayer(), inPlace) << "nobody shares it any more";
    EXPECT_EQ(before, after);
}

TEST(DocumentState, findsAndListsWhatTheTreeHolds) {
    TestDocument document;
    document.layer("A").hidden().group("G").layer("B").mask().end().mask().layer("C").active();
    const DocumentState& state = document.state();
    EXPECT_EQ(state.find(state.root->id), nullptr) << "the root is no child";
    EXPECT_EQ(state.activePixelLayer(), &document.layerNamed("C"));
    std::string names;
    for (const CowPtr<PixelLayer>& layer : state.allPixelLayers())
        names += layer->properties.name;
    EXPECT_EQ(names, "ABC");
    EXPECT_EQ(state.allMasks().size(), 2u);
    EXPECT_EQ(state.allGrids().size(), 5u);
    EXPECT_EQ(state.allGrids().back().format(), TileFormat::r8);
    EXPECT_TRUE(state.children(document.id("A")).empty()) << "no group";

    DocumentState other = state;
    other.activeLayerID = document.id("G");
    EXPECT_EQ(other.activeLayer()->id(), document.id("G"));
    EXPECT_EQ(other.activePixelLayer(), nullptr);
    other.activeLayerID = LayerID::make();
    EXPECT_EQ(other.activeLayer(), nullptr);
}

Canvas canvasOf(PixelSize size) {
    Canvas canvas;
    canvas.size = size;
    return canvas;
}

TEST(DocumentState, aNewDocumentHasABackgroundUnlessItIsTransparent) {
    const auto store = makeTestStore();
    const PremultipliedColor red{1, 0, 0, 1};
    const struct {
        DocumentState::Background background;
        bool isLocked;
        std::optional<PremultipliedColor> color;
    } cases[] = {
        {red, false, red},
        {DocumentState::White{}, true, PremultipliedColor::white()},
        {DocumentState::Black{}, false, PremultipliedColor::black()},
        {DocumentState::Transparent{}, true, std::nullopt},
    };
    for (const auto& each : cases) {
        const DocumentState state =
            DocumentState::make(canvasOf({10000, 300}), each.background, each.isLocked, *store);
        const std::vector<LayerNode>& layers = state.root->children;
        EXPECT_EQ(state.root->properties.name, "Root");
        ASSERT_EQ(layers.size(), each.color ? 2u : 1u);
        const PixelLayer& top = *layers.back().pixelLayer();
        EXPECT_EQ(top.properties, PixelLayer::named("Layer 1").properties);
        EXPECT_TRUE(top.pixels.isEmpty());
        EXPECT_EQ(state.activeLayerID, top.id);
        if (!each.color) continue;
        const PixelLayer& background = *layers.front().pixelLayer();
        EXPECT_EQ(background.properties.name, "Background");
        EXPECT_EQ(background.properties.locks.rawValue, each.isLocked ? 5 : 0);
        EXPECT_EQ(background.pixels.color(9999, 299), *each.color);
        EXPECT_EQ(background.pixels.color(10000, 299), PremultipliedColor{});
        EXPECT_EQ(background.pixels.color(9999, 300), PremultipliedColor{});
        EXPECT_EQ(background.pixels.tileCount(), 80);
        EXPECT_EQ(background.pixels.pixelTileCount(), 41) << "the lower row and the right column";
    }
    const DocumentState empty =
        DocumentState::make(canvasOf({-5, 10}), DocumentState::White{}, false, *store);
    EXPECT_EQ(empty.canvas.size, (PixelSize{0, 10}));
    EXPECT_TRUE(empty.root->children.front().pixelLayer()->pixels.isEmpty());
}

std::vector<Tile> bruteTilesNotIn(const DocumentState& state, const DocumentState& other) {
    const std::unordered_set<TileID> held = other.tileIDs();
    std::set<TileID> seen;
    std::vector<Tile> tiles;
    for (const TileGrid& grid : state.allGrids()) {
        grid.forEach([&](TileCoord, const TileCell& cell) {
            if (cell.isPixels() && !held.contains(cell.tile().id()) &&
                seen.insert(cell.tile().id()).second)
                tiles.push_back(cell.tile());
        });
    }
    return tiles;
}

std::set<TileID> idsOf(const std::vector<Tile>& tiles) {
    std::set<TileID> ids;
    for (const Tile& tile : tiles)
        ids.insert(tile.id());
    return ids;
}

// Edits as commands make them: cells painted, layers duplicated, moved by tiles, removed, masked.
void editRandomly(DocumentState& state, std::mt19937_64& random, TileStore& store) {
    const auto number = [&](std::int64_t least, std::int64_t greatest) {
        return std::uniform_int_distribution<std::int64_t>(least, greatest)(random);
    };
    const auto coord = [&] { return TileCoord::checked(number(-3, 3), number(-3, 3)); };
    const std::vector<CowPtr<PixelLayer>> layers = state.allPixelLayers();
    if (layers.empty()) {
        state.insert({PixelLayer::named("")}, std::nullopt, 0);
        return;
    }
    const PixelLayer& layer = *layers[static_cast<std::size_t>(number(0, std::ssize(layers) - 1))];
    PixelLayer changed = layer;
    switch (number(0, 9)) {
    case 0: // a duplicate
        changed.id = LayerID::make();
        state.insert({changed}, std::nullopt, number(0, 4));
        return;
    case 1:
        state.remove(layer.id);
        return;
    case 2:
        changed.pixels = changed.pixels.shifted(256 * number(-2, 2), 256 * number(-2, 2), store);
        break;
    case 3: { // the same tile once more, perhaps of another layer
        const auto content = layers.front()->pixels[coord()];
        if (!content) break;
        for (std::int64_t copies = number(1, 5); copies > 0; --copies)
            changed.pixels.set(coord(), content);
        break;
    }
    case 5: // a part, which shares nodes
        changed.pixels = changed.pixels.subgrid(
            {256 * number(-3, 0), 256 * number(-3, 0), 256 * number(3, 6), 256 * number(3, 6)});
        break;
    case 6: // whole nodes at another place
        changed.pixels = changed.pixels.shifted(2048 * number(-1, 1), 2048 * number(-1, 1), store);
        break;
    case 4:
        if (!changed.mask) changed.mask.emplace();
        changed.mask->pixels.set(coord(), makeTestTile(store, TileFormat::r8));
        break;
    default:
        changed.pixels.set(coord(), makeTestTile(store, TileFormat::rgba16Float));
    }
    state.update(layer.id, [&](LayerNode& node) { *node.writePixelLayer() = changed; });
}

TEST(DocumentState, tellsTheTilesAnotherStateDoesNotHold) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    const auto store = makeTestStore();
    std::vector<DocumentState> states(1);
    for (int step = 0; step < 300; ++step) {
        DocumentState next = states.back();
        editRandomly(next, random, *store);
        states.push_back(std::move(next));
        if (states.size() > 12)
            states.erase(states.begin() + static_cast<std::ptrdiff_t>(random() % 12));
        for (const std::size_t index :
             {std::size_t{0}, random() % states.size(), states.size() - 1}) {
            const DocumentState& one = states[index];
            const DocumentState& other = states[random() % states.size()];
            const std::vector<Tile> found = one.tilesNotIn(other);
            const std::vector<Tile> expected = bruteTilesNotIn(one, other);
            ASSERT_EQ(idsOf(found), idsOf(expected)) << "step " << step;
            ASSERT_EQ(found.size(), expected.size()) << "each once";
            std::int64_t bytes = 0;
            for (const Tile& tile : expected)
                bytes += tile.format() == TileFormat::r8 ? 65536 : 524288;
            ASSERT_EQ(other.retainedBytes(one), bytes);
        }
    }
}

// What the thread sanitizer looks at.
TEST(DocumentState, versionsGoFreelyBetweenThreads) {
    TestDocument document;
    document.layer("A").group("G").layer("B").group("H").layer("C");
    DocumentState shared = document.state();
    const std::vector<LayerNode> nodes = shared.allNodes();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([mine = shared, &nodes, thread]() mutable {
            std::mt19937_64 random(testSeed() + static_cast<std::uint64_t>(thread));
            for (int step = 0; step < 300; ++step) {
                const LayerID id = nodes[random() % nodes.size()].id();
                DocumentState next = mine;
                next.update(id, [&](LayerNode& node) {
                    node.writeProperties().name += static_cast<char>('a' + thread);
                });
                EXPECT_NE(next.find(id)->properties().name, mine.find(id)->properties().name);
                mine = std::move(next);
            }
        });
    }
    shared.update(document.id("B"), [](LayerNode& node) { node.writeProperties().name = "D"; });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(document.layerNamed("B").properties.name, "B");
}

TEST(DocumentState, bitDepthsHaveAText) {
    EXPECT_EQ(textOf(BitDepth::eight), "8 bits/channel");
    EXPECT_EQ(textOf(BitDepth::sixteen), "16 bits/channel");
    EXPECT_EQ(textOf(BitDepth::thirtyTwo), "32 bits/channel");
}

} // namespace
} // namespace ombrel
