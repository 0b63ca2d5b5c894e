#include "Commands/Command.h"

#include "Commands/RandomValues.h"
#include "Commands/TreeModel.h"
#include "Engine/CpuDevice.h"
#include "TestSeed.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

/// Random documents, and commands that name their layers (and now and then one that is gone).
class RandomEdits {
public:
    RandomEdits(std::uint64_t seed, TileStore& store) : values_(seed, store) {}

    DocumentState document() {
        DocumentState state;
        std::vector<LayerNode>& children = state.root.write().children;
        children.emplace_back(values_.value<PixelLayer>());
        for (std::uint64_t i = values_.below(4); i > 0; --i) {
            if (values_.oneIn(2))
                children.emplace_back(values_.value<GroupLayer>());
            else
                children.emplace_back(values_.value<PixelLayer>());
        }
        const std::vector<LayerNode> nodes = state.allNodes();
        if (!values_.oneIn(4)) state.activeLayerID = nodes[values_.below(nodes.size())].id();
        return state;
    }

    /// Any command, naming layers of this state.
    template <typename T>
    T command(const DocumentState& state) {
        T command = values_.command<T>();
        if constexpr (requires { command.layerIDs; }) command.layerIDs = list(state);
        if constexpr (requires { command.parent; }) command.parent = perhaps(state);
        if constexpr (requires { command.above; }) command.above = perhaps(state);
        if constexpr (requires { command.baseID; }) command.baseID = some(state);
        if constexpr (requires { command.visibility; }) rename(command.visibility, state);
        if constexpr (requires { command.gap; })
            command.gap = static_cast<std::int64_t>(values_.below(8)) - 2;
        if constexpr (std::is_same_v<T, DuplicateLayersCommand>) {
            if (values_.oneIn(2)) command.gap.reset();
            command =
                DuplicateLayersCommand::of(state, command.layerIDs, command.parent, command.gap);
        }
        if constexpr (std::is_same_v<T, SetLayersPropertiesCommand>)
            rename(command.properties, state);
        if constexpr (std::is_same_v<T, SetLayerPropertiesCommand> ||
                      std::is_same_v<T, UngroupCommand>)
            command.layerID = some(state);
        if constexpr (std::is_same_v<T, PlaceImageCommand>) {
            command.size = {static_cast<std::int64_t>(values_.below(300)), 7};
            command.center = {values_.unit() * 100, values_.unit() * 100 + 50};
        }
        return command;
    }

private:
    LayerID some(const DocumentState& state) {
        const std::vector<LayerNode> nodes = state.allNodes();
        if (values_.oneIn(20)) return values_.id();
        return nodes[values_.below(nodes.size())].id();
    }
    std::optional<LayerID> perhaps(const DocumentState& state) {
        if (values_.oneIn(3)) return std::nullopt;
        // Groups mostly: they are what most fields mean.
        LayerID id = some(state);
        for (int tries = 0; tries < 6; ++tries) {
            const LayerNode* node = state.find(id);
            if (node != nullptr && node->group() != nullptr) break;
            id = some(state);
        }
        return id;
    }
    std::vector<LayerID> list(const DocumentState& state) {
        std::vector<LayerID> ids;
        for (std::uint64_t i = values_.below(5); i > 0; --i)
            ids.push_back(some(state));
        return ids;
    }
    template <typename T>
    void rename(std::map<LayerID, T>& map, const DocumentState& state) {
        std::map<LayerID, T> renamed;
        for (const auto& [id, value] : map)
            renamed.emplace(some(state), value);
        map = std::move(renamed);
    }

    test::RandomValues values_;
};

void expectSound(const DocumentState& state) {
    const std::vector<LayerNode> nodes = state.allNodes();
    std::set<LayerID> ids;
    for (const LayerNode& node : nodes)
        ids.insert(node.id());
    EXPECT_EQ(ids.size(), nodes.size()) << "identifiers are unique";
    EXPECT_FALSE(state.root->children.empty());
    EXPECT_EQ(state.activeLayer() != nullptr, state.activeLayerID.has_value());
}

class LayerCommands : public testing::Test {
protected:
    CommandResult apply(const Command& command) { return command.apply(state_, context_); }
    CommandError::Kind faultOf(const Command& command) {
        DocumentState copy = state_;
        const CommandResult result = command.apply(copy, context_);
        EXPECT_FALSE(result);
        return result ? CommandError::Kind::cancelled : result.error().kind;
    }
    /// The tree as names, groups in brackets: "A G(B C) D".
    static std::string names(const std::vector<LayerNode>& nodes) {
        std::string text;
        for (const LayerNode& node : nodes) {
            if (!text.empty()) text += ' ';
            text += node.properties().name;
            if (const GroupLayer* group = node.group())
                text.append("(").append(names(group->children)).append(")");
        }
        return text;
    }
    std::string names() const { return names(state_.root->children); }
    std::string active() const { return state_.activeLayer()->properties().name; }
    LayerID id(std::string_view name) const {
        for (const LayerNode& node : state_.allNodes())
            if (node.properties().name == name) return node.id();
        return LayerID::make();
    }

    TestDocument document_ = std::move(TestDocument()
                                           .layer("A")
                                           .group("G")
                                           .layer("B")
                                           .group("H")
                                           .layer("C")
                                           .end()
                                           .end()
                                           .layer("D")
                                           .active());
    DocumentState state_ = document_.state();
    CpuDevice device_;
    CommandContext context_{.store = document_.store(), .device = device_};
};

} // namespace

TEST_F(LayerCommands, doWhatThePlainTreeDoes) {
    const std::uint64_t seed = testSeed();
    for (std::uint64_t round = 0; round < 400; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", round " << round);
        RandomEdits edits(seed * 1000 + round, document_.store());
        const DocumentState first = edits.document();
        const auto check = [&]<typename T>() {
            SCOPED_TRACE(T::schema().name);
            // Each kind of command on the first document and on what came of it.
            DocumentState state = first;
            for (int step = 0; step < 4 && !HasFailure(); ++step) {
                const T command = edits.command<T>(state);
                const std::int64_t tiles = document_.store().statistics().tileCount;
                test::TreeModel model(state);
                const auto expectedFault = model.apply(command);
                const DocumentState before = state;
                DocumentState after = state;
                const CommandResult result = command.apply(after, context_);
                EXPECT_EQ(state, before) << "copies are not changed";
                EXPECT_EQ(document_.store().statistics().tileCount, tiles) << "tiles are shared";
                ASSERT_EQ(result.has_value(), !expectedFault);
                if (!result) {
                    EXPECT_EQ(result.error().kind, *expectedFault);
                    continue;
                }
                EXPECT_EQ(after.root->children, model.layers());
                EXPECT_EQ(after.activeLayerID, model.active());
                expectSound(after);
                DocumentState again = state;
                ASSERT_TRUE(command.apply(again, context_));
                EXPECT_EQ(again, after) << "applied twice it gives the same";
                state = after;
            }
        };
        test::forEachCommandType(
            check, CommandTypes<AddLayerCommand, AddRectangleLayerCommand, NewGroupCommand,
                                GroupLayersCommand, UngroupCommand, DeleteLayersCommand,
                                MoveLayersCommand, ClipLayersCommand, DuplicateLayersCommand,
                                PasteLayerCommand, PlaceImageCommand, ArrangeLayersCommand,
                                SetLayerPropertiesCommand, SetLayersPropertiesCommand,
                                SetLayersVisibilityCommand, SetClippingCommand>());
        if (HasFailure()) return;
    }
}

TEST_F(LayerCommands, aLayerAddedAboveAGroupGoesOnTopInsideIt) {
    ASSERT_TRUE(apply(AddLayerCommand{PixelLayer::named("New"), id("G")}));
    EXPECT_EQ(names(), "A G(B H(C) New) D");
    EXPECT_EQ(active(), "New");
    ASSERT_TRUE(apply(AddLayerCommand{PixelLayer::named("Next"), {}}));
    EXPECT_EQ(names(), "A G(B H(C) New Next) D");
    ASSERT_TRUE(apply(PasteLayerCommand{PixelLayer::named("Pasted")}));
    EXPECT_EQ(names(), "A G(B H(C) New Next Pasted) D");
    state_.activeLayerID.reset();
    ASSERT_TRUE(apply(NewGroupCommand{GroupLayer::named("Top"), LayerID::make()}));
    EXPECT_EQ(names(), "A G(B H(C) New Next Pasted) D Top()");
}

TEST_F(LayerCommands, aGroupTakesThePlaceOfItsTopmostLayer) {
    ASSERT_TRUE(
        apply(GroupLayersCommand{{id("H"), id("A"), id("C"), id("A")}, GroupLayer::named("New")}));
    EXPECT_EQ(names(), "G(B New(A H(C))) D");
    EXPECT_EQ(active(), "New");
    ASSERT_TRUE(apply(UngroupCommand{id("G")}));
    EXPECT_EQ(names(), "B New(A H(C)) D");
    EXPECT_EQ(active(), "New");
    EXPECT_EQ(faultOf(UngroupCommand{id("A")}), CommandError::Kind::notAGroup);
    EXPECT_EQ(faultOf(UngroupCommand{LayerID::make()}), CommandError::Kind::layerNotFound);
}

TEST_F(LayerCommands, theLastLayersCanNotBeDeleted) {
    const DeleteLayersCommand all{{id("A"), id("G"), id("D"), id("C")}};
    EXPECT_EQ(all.name(), "Delete Layers");
    EXPECT_EQ(faultOf(all), CommandError::Kind::lastLayer);
    const DeleteLayersCommand one{{id("D")}};
    EXPECT_EQ(one.name(), "Delete Layer");
    ASSERT_TRUE(apply(one));
    EXPECT_EQ(active(), "G");
    ASSERT_TRUE(apply(DeleteLayersCommand{{id("A"), id("B"), id("H")}}));
    EXPECT_EQ(names(), "G()");
    EXPECT_EQ(faultOf(UngroupCommand{id("G")}), CommandError::Kind::lastLayer);
    EXPECT_EQ(faultOf(DeleteLayersCommand{}), CommandError::Kind::layerNotFound);
}

TEST_F(LayerCommands, aGroupDoesNotMoveIntoItself) {
    ASSERT_TRUE(apply(MoveLayersCommand{{id("G"), id("A")}, id("H"), 0, false}));
    EXPECT_EQ(names(), "G(B H(A C)) D");
    EXPECT_EQ(active(), "D");
}

TEST_F(LayerCommands, gapsAreCountedBeforeTheMove) {
    ASSERT_TRUE(apply(MoveLayersCommand{{id("A")}, {}, 2, false}));
    EXPECT_EQ(names(), "G(B H(C)) A D");
    EXPECT_EQ(faultOf(MoveLayersCommand{{id("A")}, id("D"), 0, false}),
              CommandError::Kind::notAGroup);
}

TEST_F(LayerCommands, duplicatesShareTilesAndHaveTheSameIdentifiersEverywhere) {
    document_.layer("E").painted(
        {0, 0, 300, 10}, [](std::int64_t, std::int64_t) { return PremultipliedColor::white(); });
    state_ = document_.state();
    const auto command = DuplicateLayersCommand::of(state_, {id("G"), id("E")});
    EXPECT_EQ(command.copies.size(), 5U);
    DocumentState other = state_;
    ASSERT_TRUE(Command(SetClippingCommand{{id("B")}, true}).apply(other, context_));
    ASSERT_TRUE(command.apply(other, context_));
    const LayerID original = id("E");
    ASSERT_TRUE(apply(command));
    EXPECT_EQ(names(), "A G(B H(C)) G(B H(C)) D E E");
    const LayerID copy = command.copies.at(original);
    EXPECT_EQ(state_.activeLayerID, copy);
    EXPECT_EQ(state_.find(copy)->pixelLayer()->pixels, state_.find(original)->pixelLayer()->pixels);
    EXPECT_NE(other.find(copy), nullptr);
}

TEST_F(LayerCommands, aLayerThatCameLaterIsDuplicatedWithItsGroup) {
    const auto command = DuplicateLayersCommand::of(state_, {id("G")});
    ASSERT_TRUE(apply(AddLayerCommand{PixelLayer::named("Late"), id("H")}));
    DocumentState again = state_;
    ASSERT_TRUE(apply(command));
    EXPECT_EQ(names(), "A G(B H(C Late)) G(B H(C Late)) D");
    expectSound(state_);
    ASSERT_TRUE(command.apply(again, context_));
    EXPECT_EQ(again, state_);
}

TEST_F(LayerCommands, layersWithALockedPositionAreNotArranged) {
    state_.update(id("A"),
                  [](LayerNode& node) { node.writeProperties().locks = LayerLocks::position; });
    using Arrangement = ArrangeLayersCommand::Arrangement;
    const ArrangeLayersCommand front{{id("A"), id("G")}, Arrangement::bringToFront};
    ASSERT_TRUE(apply(front));
    EXPECT_EQ(names(), "A D G(B H(C))");
    ASSERT_TRUE(apply(ArrangeLayersCommand{{id("D"), id("G")}, Arrangement::bringForward}));
    EXPECT_EQ(names(), "A D G(B H(C))") << "none passes another one";
    ASSERT_TRUE(apply(ArrangeLayersCommand{{id("G"), id("H")}, Arrangement::sendBackward}));
    EXPECT_EQ(names(), "A G(B H(C)) D");
}

TEST_F(LayerCommands, translatedLayersTakeTheirLinkedMasksAlong) {
    state_.update(id("C"), [](LayerNode& node) { node.writeMask().emplace().offset = {1, 2}; });
    state_.update(id("B"), [](LayerNode& node) { node.writeMask().emplace().isLinked = false; });
    state_.update(id("G"), [](LayerNode& node) { node.writeMask().emplace(); });
    ASSERT_TRUE(apply(TranslateLayersCommand{{id("G"), id("C")}, 5, -3}));
    EXPECT_EQ(state_.find(id("C"))->pixelLayer()->offset, (PixelOffset{5, -3})) << "once";
    EXPECT_EQ(state_.find(id("C"))->mask()->offset, (PixelOffset{6, -1}));
    EXPECT_EQ(state_.find(id("B"))->mask()->offset, PixelOffset{});
    EXPECT_EQ(state_.find(id("G"))->mask()->offset, (PixelOffset{5, -3}));
    EXPECT_EQ(state_.find(id("A"))->pixelLayer()->offset, PixelOffset{});
    for (int i = 0; i < 60; ++i)
        ASSERT_TRUE(apply(TranslateLayersCommand{{id("A")}, std::int64_t{1} << 62, 0}));
    EXPECT_EQ(state_.find(id("A"))->pixelLayer()->offset.dx, std::int64_t{1} << 36)
        << "no farther than tiles go";

    state_.update(id("C"),
                  [](LayerNode& node) { node.writeProperties().locks = LayerLocks::position; });
    EXPECT_EQ(faultOf(TranslateLayersCommand{{id("G")}, 1, 1}), CommandError::Kind::layerLocked);
    const TranslateLayersCommand one{{id("A"), id("D")}, 1, 0, true};
    const TranslateLayersCommand other{{id("D"), id("A")}, 0, 1, true};
    EXPECT_EQ(one.coalescingKey(), other.coalescingKey());
}

TEST_F(LayerCommands, clippedLayersLieDirectlyAboveTheirBase) {
    ASSERT_TRUE(apply(ClipLayersCommand{{id("D"), id("A"), id("B")}, id("B")}));
    EXPECT_EQ(names(), "G(B A D H(C))");
    EXPECT_TRUE(state_.find(id("A"))->properties().clipsToBelow);
    EXPECT_FALSE(state_.find(id("B"))->properties().clipsToBelow);
    EXPECT_EQ(faultOf(ClipLayersCommand{{id("A")}, LayerID::make()}),
              CommandError::Kind::layerNotFound);
    ASSERT_TRUE(apply(MoveLayersCommand{{id("A")}, {}, 9, true}));
    EXPECT_FALSE(state_.find(id("A"))->properties().clipsToBelow);
}

TEST_F(LayerCommands, aPictureIsPlacedAroundItsCenter) {
    const LayerID placed = LayerID::make();
    const auto place = [&](RealPoint center) {
        DocumentState copy = state_;
        PlaceImageCommand command{
            .layerID = placed, .layerName = "P", .size = {5, 4}, .center = center};
        EXPECT_TRUE(command.apply(copy, context_));
        return copy.find(placed)->pixelLayer()->offset;
    };
    EXPECT_EQ(place({10, 10}), (PixelOffset{8, 8}));
    EXPECT_EQ(place({-10.5, -10}), (PixelOffset{-13, -12}));
    // Nothing that a script may say leads out of the plane of tiles.
    EXPECT_EQ(place({std::nan(""), 10}), (PixelOffset{0, 8}));
    EXPECT_EQ(place({1e300, -1e300}), (PixelOffset{1LL << 36, -(1LL << 36)}));
}

TEST_F(LayerCommands, runsOfChangesCoalesceByLayerAndName) {
    SetLayerPropertiesCommand one;
    one.layerID = id("A");
    one.name = "Opacity";
    one.coalesces = true;
    EXPECT_EQ(Command(one).coalescingKey(), "properties-" + id("A").rawValue.text() + "-Opacity");
    EXPECT_EQ(Command(one).name(), "Opacity");
    one.coalesces = false;
    EXPECT_EQ(Command(one).coalescingKey(), std::nullopt);
    SetLayersPropertiesCommand many;
    many.properties[id("A")];
    many.properties[id("B")];
    many.coalesces = true;
    const auto both = many.coalescingKey();
    many.properties.erase(id("B"));
    EXPECT_NE(many.coalescingKey(), both);
    EXPECT_EQ(Command(SetLayersVisibilityCommand{{}, "Hide"}).coalescingKey(), std::nullopt);
}

} // namespace ombrel
