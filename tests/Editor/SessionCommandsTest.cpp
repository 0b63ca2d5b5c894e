// The program's own commands at random on random documents, beside a plain list of the states they
// made: what undo, redo and jump show is what was recorded.
#include "Commands/CommandList.h"
#include "Editor/SessionFixture.h"
#include "TestSeed.h"
#include "support/RandomBoard.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace ombrel {
namespace {

class CommandMaker {
public:
    CommandMaker(std::uint64_t seed, TileStore& store) : boards_(seed, store) {}

    DocumentState document() {
        DocumentState state = boards_.state();
        state.canvas.size = {700, 500};
        if (state.root->children.empty()) state.root.write().children.emplace_back(layer());
        return state;
    }

    /// Some fail: the layer is locked or of another kind, or the last one.
    Command command(const DocumentState& state) {
        using Arrangement = ArrangeLayersCommand::Arrangement;
        const PixelSize size{200 + number(900), 200 + number(900)};
        switch (number(20)) {
        case 0:
            return AddLayerCommand{layer(), maybe(state)};
        case 1:
            return NewGroupCommand{GroupLayer::named("G"), maybe(state)};
        case 2:
            return GroupLayersCommand{some(state), GroupLayer::named("H")};
        case 3:
            return UngroupCommand{one(state)};
        case 4:
            return DeleteLayersCommand{some(state)};
        case 5:
            return MoveLayersCommand{some(state), maybe(state), number(5), number(2) == 0};
        case 6:
            return ClipLayersCommand{some(state), one(state)};
        case 7:
            return DuplicateLayersCommand::of(state, some(state));
        case 8:
            return ArrangeLayersCommand{some(state), static_cast<Arrangement>(number(4))};
        case 9:
            return SetLayerPropertiesCommand{one(state), properties(), "Properties", false};
        case 10:
            return SetClippingCommand{some(state), number(2) == 0};
        case 11:
            return MergeDownCommand{one(state)};
        case 12:
            return MergeLayersCommand{some(state)};
        case 13:
            return CanvasSizeCommand{size, CanvasAnchor::center};
        case 14:
            return CropCommand{{number(200) - 100, number(200) - 100, size.width, size.height},
                               number(2) == 0};
        case 15:
            return ImageSizeCommand{size, std::nullopt, ResampleFilter::lanczos};
        case 16:
            return RotateLayersCommand{some(state), 90.0 * static_cast<double>(number(4))};
        case 17:
            return FlipCanvasCommand{};
        case 18:
            return ConvertProfileCommand{
                ColorProfile::builtIn()[static_cast<std::size_t>(number(3))]};
        default:
            return StampVisibleCommand{LayerID::make(), "Stamp"};
        }
    }

    std::int64_t number(std::int64_t below) { return boards_.values().whole(0, below - 1); }

private:
    PixelLayer layer() { return boards_.layer(); }
    LayerProperties properties() { return boards_.values().properties(); }
    LayerID one(const DocumentState& state) {
        const std::vector<LayerNode> nodes = state.allNodes();
        return nodes[static_cast<std::size_t>(number(std::ssize(nodes)))].id();
    }
    std::optional<LayerID> maybe(const DocumentState& state) {
        if (number(2) == 0) return std::nullopt;
        return one(state);
    }
    std::vector<LayerID> some(const DocumentState& state) {
        std::vector<LayerID> ids;
        for (std::int64_t count = 1 + number(3); count > 0; --count)
            ids.push_back(one(state));
        return ids;
    }

    RandomBoard boards_;
};

void expectSound(const DocumentState& state) {
    std::set<LayerID> ids;
    for (const LayerNode& node : state.allNodes())
        EXPECT_TRUE(ids.insert(node.id()).second) << "two layers of one identifier";
    EXPECT_FALSE(state.root->children.empty());
    EXPECT_TRUE(!state.activeLayerID || state.find(*state.activeLayerID) != nullptr);
}

void runOne(std::uint64_t seed, int& succeeded) {
    SessionFixture fixture;
    fixture.session.reset();
    fixture.executors.settle();
    const std::int64_t tilesBefore = fixture.store->statistics().tileCount;
    {
        CommandMaker maker(seed, *fixture.store);
        std::vector<DocumentState> recorded{maker.document()};
        std::size_t current = 0;
        fixture.open(recorded.front());
        DocumentSession& session = *fixture.session;
        for (int step = 0; step < 45; ++step) {
            const std::int64_t choice = maker.number(10);
            if (choice == 0) {
                session.undo();
                current -= current > 0 ? 1 : 0;
            } else if (choice == 1) {
                session.redo();
                current += current + 1 < recorded.size() ? 1 : 0;
            } else if (choice == 2) {
                current = static_cast<std::size_t>(maker.number(std::ssize(recorded)));
                session.jump(static_cast<std::int64_t>(current));
            } else {
                const Command command = maker.command(*session._state);
                DocumentState expected = *session._state;
                fixture.log.clear();
                session.perform(command);
                fixture.executors.settle();
                if (fixture.log == committed) {
                    recorded.resize(current + 1, recorded.front());
                    recorded.push_back(*session._state);
                    ++current;
                    ++succeeded;
                } else {
                    EXPECT_EQ(fixture.log.size(), 1u) << command.name();
                    EXPECT_EQ(*session._state, expected) << command.name() << " failed halfway";
                }
            }
            ASSERT_EQ(*session._state, recorded[current]);
            ASSERT_EQ(session._history->count(), std::ssize(recorded));
            ASSERT_EQ(session._history->currentIndex(), static_cast<std::int64_t>(current));
            expectSound(*session._state);
        }
    }
    fixture.session.reset();
    fixture.executors.settle();
    EXPECT_EQ(fixture.store->statistics().tileCount, tilesBefore) << "tiles outlive the session";
}

TEST(SessionCommands, undoRedoAndJumpShowWhatEveryCommandMade) {
    const std::uint64_t seed = testSeed();
    int succeeded = 0;
    for (std::uint64_t round = 0; round < 12; ++round) {
        SCOPED_TRACE(seed + round);
        ASSERT_NO_FATAL_FAILURE(runOne(seed + round, succeeded));
    }
    EXPECT_GT(succeeded, 12 * 15) << "too few commands did anything";
}

} // namespace
TEST(SessionCommands, whatChangesNothingIsToldAndNotRecorded) {
    SessionFixture fixture;
    fixture.session.reset();
    TestDocument document({300, 200}, fixture.store);
    document.layer("Background").locked(LayerLocks::transparency | LayerLocks::position);
    document.filled(PremultipliedColor::white()).active();
    const DocumentState& state = document.state();
    const ColorProfile profile = state.canvas.profile;
    const std::array<Command, 14> commands{
        TrimCommand{},
        RevealAllCommand{},
        CanvasSizeCommand{state.canvas.size, CanvasAnchor::top},
        CropCommand{PixelRect::ofSize(state.canvas.size), false},
        CropCommand{PixelRect::ofSize(state.canvas.size), true},
        ImageSizeCommand{state.canvas.size, state.canvas.resolution, ResampleFilter::bicubic},
        RotateCanvasCommand{360},
        AssignProfileCommand{profile},
        ConvertProfileCommand{profile},
        SetBitDepthCommand{state.canvas.bitDepth},
        SetBlendingSpaceCommand{state.canvas.blendUsingGamma1},
        MergeVisibleCommand{},
        FlattenImageCommand{},
        PasteLayersCommand{}};
    for (const Command& command : commands) {
        SCOPED_TRACE(command.name());
        fixture.open(state);
        DocumentSession& session = *fixture.session;
        session.perform(mark(3));
        session.undo();
        fixture.log.clear();
        bool isDone = false;
        session.perform(command, [&] { isDone = true; });
        fixture.executors.settle();
        ASSERT_NE(command.nothingDone(), nullptr);
        EXPECT_EQ(fixture.log, SessionLog{command.nothingDone()});
        EXPECT_EQ(session._history->count(), 2) << "what was undone can still be redone";
        EXPECT_TRUE(session.canRedo());
        EXPECT_EQ(*session._state, state);
        EXPECT_TRUE(isDone);
    }
    // Where it does change something, the same command is an entry.
    fixture.open(state);
    fixture.session->perform(RotateCanvasCommand{90});
    fixture.session->perform(mark(3));
    fixture.session->perform(mark(3));
    fixture.executors.settle();
    EXPECT_EQ(fixture.session->_history->count(), 4) << "others are recorded whatever they do";
}

TEST(SessionCommands, anotherLayerChosenMeanwhileIsNoEffectOfACommand) {
    SessionFixture fixture(TestDocument({64, 64}).layer("A").layer("B").active().state());
    DocumentSession& session = *fixture.session;
    const LayerID other = session._state->root->children.front().id();
    session.perform(RevealAllCommand{});
    while (fixture.executors.worker.pending() == 0)
        fixture.executors.main.run();
    session.setActiveLayer(other);
    fixture.executors.settle();
    EXPECT_EQ(session._history->count(), 1);
    EXPECT_EQ(session._state->activeLayerID, other);
}

} // namespace ombrel
