#include "Editor/SessionFixture.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

using Log = SessionLog;

} // namespace

TEST(DocumentSession, beginsAsTheDocumentWasOpened) {
    const SessionFixture fixture;
    const DocumentSession& session = *fixture.session;
    EXPECT_EQ(session._history->currentEntry().name, "Open");
    EXPECT_EQ(session._history->maximumStates(), 50);
    EXPECT_EQ(session._history->memoryBudget(), 4294967296);
    EXPECT_EQ(session._history->current(), *session._state);
    EXPECT_FALSE(*session._isBusy || *session._isLiveEditing || session.canUndo());
    EXPECT_EQ(*session._recentTools, std::vector{ToolKind::brush});
    EXPECT_EQ(*session._contentsScale, 2.0);
    EXPECT_EQ(*session._viewTransform, ViewTransform{});
}

TEST(DocumentSession, keepsAsManyStatesAsTheSettingSays) {
    SessionFixture fixture;
    for (const auto& [value, states] : {std::pair{3, 3}, {0, 2}, {100000, 1000}}) {
        fixture.settings.setJson("historyStates", value);
        fixture.open(*fixture.session->_state);
        EXPECT_EQ(fixture.session->_history->maximumStates(), states);
    }
}

TEST(DocumentSession, performsADirectCommandAtOnce) {
    SessionFixture fixture;
    fixture.session->perform(mark(1));
    EXPECT_EQ(fixture.markShown(), 1);
    EXPECT_EQ(fixture.takeLog(), committed);
    EXPECT_EQ(fixture.session->undoName(), "Mark 1");
    EXPECT_EQ(fixture.executors.main.pending(), 0u);
}

TEST(DocumentSession, appliesAQueuedCommandOffTheMainThread) {
    SessionFixture fixture;
    bool wasOnMain = true;
    EditCommand command = queuedMark(1);
    command.edit = [&](DocumentState& state, const CommandContext& in) -> CommandResult {
        wasOnMain = fixture.executors.main.isCurrent();
        EXPECT_NE(in.progress, nullptr);
        state.canvas.resolution = 1;
        return {};
    };
    fixture.session->perform(command);
    EXPECT_TRUE(*fixture.session->_isBusy);
    EXPECT_EQ(fixture.session->queuedOperations(), 1);
    fixture.executors.main.run();
    ASSERT_TRUE(*fixture.session->_runningCommand);
    EXPECT_EQ((*fixture.session->_runningCommand)->name, "Mark 1");
    fixture.executors.worker.run();
    EXPECT_EQ(fixture.markShown(), 72) << "nothing is committed off the main thread";
    EXPECT_EQ(fixture.takeLog(), Log{});
    fixture.executors.main.run();
    EXPECT_FALSE(wasOnMain);
    EXPECT_EQ(fixture.markShown(), 1);
    EXPECT_EQ(fixture.takeLog(), committed);
    EXPECT_FALSE(*fixture.session->_isBusy);
    EXPECT_FALSE(*fixture.session->_runningCommand);
}

TEST(DocumentSession, runsOperationsInTheOrderOfAskingEachOnTheResultBefore) {
    SessionFixture fixture;
    fixture.session->perform(queuedMark(0));
    fixture.session->perform(add(1));
    fixture.session->perform(add(2, true));
    fixture.session->perform(add(3));
    EXPECT_EQ(fixture.markShown(), 72) << "a direct command waits behind queued ones";
    EXPECT_EQ(fixture.session->queuedOperations(), 4);
    EXPECT_EQ(fixture.settled(), 123);
    EXPECT_EQ(fixture.marks(), (Marks{72, 0, 1, 12, 123}));
}

TEST(DocumentSession, callsACompletionAfterItsCommand) {
    SessionFixture fixture;
    std::vector<double> seen;
    const auto look = [&] { seen.push_back(fixture.markShown()); };
    fixture.session->perform(mark(1), look);
    EXPECT_EQ(seen, (Marks{1})) << "at once where nothing is queued";
    fixture.session->perform(queuedMark(2), look);
    fixture.session->perform(mark(3), look);
    fixture.session->perform(failing(true), look);
    fixture.settled();
    EXPECT_EQ(seen, (Marks{1, 2, 3, 3}));
}

TEST(DocumentSession, undoesWhatWasQueuedBeforeTheUndo) {
    SessionFixture fixture;
    fixture.session->perform(mark(1));
    fixture.session->perform(queuedMark(2));
    fixture.session->undo();
    fixture.session->undo();
    fixture.session->redo();
    EXPECT_EQ(fixture.markShown(), 1);
    EXPECT_EQ(fixture.settled(), 1);
    EXPECT_EQ(fixture.marks(), (Marks{72, 1, 2}));
    fixture.session->perform(queuedMark(3));
    fixture.session->jump(0);
    EXPECT_EQ(fixture.settled(), 72);
    EXPECT_EQ(fixture.marks(), (Marks{72, 1, 3}));
}

TEST(DocumentSession, announcesStepsThroughTheHistory) {
    SessionFixture fixture;
    for (const double value : {1, 2, 3})
        fixture.session->perform(mark(value));
    fixture.takeLog();
    const auto& session = fixture.session;
    session->undo();
    EXPECT_EQ(fixture.takeLog(), (Log{"change 1", "display", "content"}));
    EXPECT_EQ(session->redoName(), "Mark 3");
    session->redo();
    EXPECT_EQ(fixture.takeLog(), (Log{"change 5", "display", "content"}));
    session->redo();
    EXPECT_EQ(fixture.takeLog(), Log{});
    session->jump(-1);
    EXPECT_EQ(fixture.takeLog(), (Log{"change 1", "change 1", "change 1", "display", "content"}));
    session->jump(2);
    EXPECT_EQ(fixture.takeLog(), (Log{"change 5", "change 5", "display", "content"}));
    EXPECT_EQ(fixture.markShown(), 2);
    EXPECT_EQ(session->currentEntryID(), session->_history->entries()[2]->id);
}

TEST(DocumentSession, coalescesByTheDateOfTheCommit) {
    SessionFixture fixture;
    auto with = fixture.services();
    with.now = [&] { return fixture.now += std::chrono::milliseconds(1400); };
    fixture.open(with, *fixture.session->_state);
    EditCommand command = mark(1);
    command.key = "key";
    fixture.session->perform(command);
    fixture.session->perform(command);
    EXPECT_EQ(fixture.marks(), (Marks{72, 1}));
    fixture.session->beginLive();
    fixture.session->commitLive("Live");
    fixture.session->beginLive();
    fixture.session->commitLive("Live");
    EXPECT_EQ(fixture.marks().size(), 4u) << "a live edit never coalesces";
}

TEST(DocumentSession, aFailedCommandChangesNothing) {
    SessionFixture fixture;
    fixture.session->perform(failing(false));
    EXPECT_EQ(fixture.takeLog(), (Log{"The layer has no mask."}));
    fixture.session->perform(failing(true));
    fixture.session->perform(mark(1));
    EXPECT_EQ(fixture.settled(), 1);
    EXPECT_EQ(fixture.takeLog(), (Log{"The layer has no mask.", "change 0", "display", "content"}));
    EXPECT_EQ(fixture.marks(), (Marks{72, 1}));
    fixture.session->onError = nullptr;
    fixture.session->perform(failing(false));
    EXPECT_EQ(fixture.takeLog(), Log{});
}

TEST(DocumentSession, aCancelledCommandChangesNothingAndTellsNothing) {
    SessionFixture fixture;
    EditCommand obedient = queuedMark(1);
    obedient.edit = [](DocumentState&, const CommandContext& in) -> CommandResult {
        EXPECT_TRUE(in.progress->isCancelled());
        return std::unexpected(CommandError::of(CommandError::Kind::cancelled));
    };
    const EditCommand deaf = queuedMark(2);
    for (const EditCommand& command : {obedient, deaf}) {
        fixture.session->perform(command);
        fixture.executors.main.run();
        (*fixture.session->_runningCommand)->progress->cancel();
        EXPECT_EQ(fixture.settled(), 72) << command.label;
        EXPECT_EQ(fixture.takeLog(), Log{});
    }
    fixture.session->perform(queuedMark(3));
    fixture.executors.main.run();
    fixture.executors.worker.runAll();
    (*fixture.session->_runningCommand)->progress->cancel();
    EXPECT_EQ(fixture.settled(), 72) << "as long as it is not committed";
    fixture.session->perform(queuedMark(4));
    EXPECT_EQ(fixture.settled(), 4);
}

TEST(DocumentSession, showsTheProgressOfTheRunningCommand) {
    SessionFixture fixture;
    double seen = 0;
    EditCommand command = queuedMark(1);
    command.edit = [&](DocumentState&, const CommandContext& in) -> CommandResult {
        in.progress->setFraction(0.25);
        seen = (*fixture.session->_runningCommand)->progress->fraction();
        return {};
    };
    fixture.session->perform(command);
    fixture.settled();
    EXPECT_EQ(seen, 0.25);
}

TEST(DocumentSession, tellsItsFieldsWhenAllOfAChangeIsInPlace) {
    SessionFixture fixture;
    bool isConsistent = true;
    const auto look = [&](const auto&) {
        isConsistent &= *fixture.session->_state == fixture.session->_history->current();
    };
    const Connection state = fixture.session->_state.onChange(look);
    const Connection history = fixture.session->_history.onChange(look);
    fixture.session->perform(mark(1));
    fixture.session->undo();
    fixture.session->redo();
    fixture.session->jump(0);
    EXPECT_TRUE(isConsistent);

    // A callback may use the session: here one that answers each mark below 5 with the next.
    const Connection answering = fixture.session->_state.onChange([&](const DocumentState& shown) {
        const double value = shown.canvas.resolution;
        if (value < 5) fixture.session->perform(mark(value + 1));
    });
    fixture.session->perform(mark(2));
    EXPECT_EQ(fixture.marks(), (Marks{72, 2, 3, 4, 5}));
    EXPECT_EQ(fixture.markShown(), 5);
}

TEST(DocumentSession, mayBeDroppedByItsCallbacks) {
    for (const bool isQueued : {false, true}) {
        SessionFixture fixture;
        fixture.session->onDocumentChange = [&](DocumentSession::ChangeType) {
            fixture.session.reset();
        };
        fixture.session->perform(mark(1, isQueued));
        fixture.executors.settle();
        EXPECT_EQ(fixture.session, nullptr);
        EXPECT_EQ(fixture.takeLog(), (Log{"display", "content"}));
    }
}

TEST(DocumentSession, workUnderWayEndsUnheardWhenTheSessionGoes) {
    for (int steps = 0; steps < 4; ++steps) {
        SessionFixture fixture;
        bool isCompleted = false;
        const auto paint = [](DocumentState& state, const CommandContext& in) -> CommandResult {
            state.update(*state.activeLayerID, [&](LayerNode& node) {
                node.writePixelLayer()->pixels.set({0, 0},
                                                   makeTestTile(in.store, TileFormat::rgba16Float));
            });
            return {};
        };
        fixture.session->perform(EditCommand{"Paint", paint});
        fixture.takeLog();
        fixture.session->beginLive();
        fixture.session->previewLive(marking(1));
        fixture.session->commitLive("Drag", marking(2));
        fixture.session->perform(EditCommand{"Paint", paint, true}, [&] { isCompleted = true; });
        for (int step = 0; step < steps; ++step) {
            fixture.executors.main.runAll();
            if (fixture.executors.worker.pending() > 0) fixture.executors.worker.run();
        }
        fixture.takeLog();
        fixture.session.reset();
        fixture.executors.settle();
        EXPECT_FALSE(isCompleted);
        EXPECT_EQ(fixture.takeLog(), Log{});
        EXPECT_EQ(fixture.store->statistics().tileCount, 0);
    }
}

TEST(DocumentSession, dropsStatesOnTheWorkerOnly) {
    SessionFixture fixture;
    const auto paint = [](DocumentState& state, const CommandContext& in) -> CommandResult {
        state.update(*state.activeLayerID, [&](LayerNode& node) {
            node.writePixelLayer()->pixels.set({0, 0},
                                               makeTestTile(in.store, TileFormat::rgba16Float));
        });
        return {};
    };
    fixture.settings.setJson("historyStates", 2);
    fixture.open(*fixture.session->_state);
    for (int count = 0; count < 4; ++count)
        fixture.session->perform(EditCommand{"Paint", paint});
    EXPECT_EQ(fixture.store->statistics().tileCount, 4);
    fixture.executors.worker.runAll();
    EXPECT_EQ(fixture.store->statistics().tileCount, 2);
    fixture.session->undo();
    fixture.session->perform(mark(1));
    EXPECT_EQ(fixture.store->statistics().tileCount, 2);
    fixture.executors.worker.runAll();
    EXPECT_EQ(fixture.store->statistics().tileCount, 1);
    fixture.session.reset();
    EXPECT_EQ(fixture.store->statistics().tileCount, 1);
    fixture.executors.worker.runAll();
    EXPECT_EQ(fixture.store->statistics().tileCount, 0);
}

TEST(DocumentSessionDeathTest, isUsedOnTheMainThreadOnly) {
    const std::vector<std::pair<std::string, std::function<void(DocumentSession&)>>> calls{
        {"perform", [](DocumentSession& session) { session.perform(mark(1)); }},
        {"perform then", [](DocumentSession& session) { session.perform(mark(1), [] {}); }},
        {"undo", [](DocumentSession& session) { session.undo(); }},
        {"redo", [](DocumentSession& session) { session.redo(); }},
        {"jump", [](DocumentSession& session) { session.jump(0); }},
        {"canUndo", [](DocumentSession& session) { session.canUndo(); }},
        {"canRedo", [](DocumentSession& session) { session.canRedo(); }},
        {"undoName", [](DocumentSession& session) { session.undoName(); }},
        {"redoName", [](DocumentSession& session) { session.redoName(); }},
        {"currentEntryID", [](DocumentSession& session) { session.currentEntryID(); }},
        {"queuedOperations", [](DocumentSession& session) { session.queuedOperations(); }},
        {"beginLive", [](DocumentSession& session) { session.beginLive(); }},
        {"previewLive", [](DocumentSession& session) { session.previewLive(marking(1)); }},
        {"updateLive", [](DocumentSession& session) { session.updateLive([](auto&) {}); }},
        {"commitLive", [](DocumentSession& session) { session.commitLive(""); }},
        {"cancelLive", [](DocumentSession& session) { session.cancelLive(); }},
        {"setActiveLayer", [](DocumentSession& session) { session.setActiveLayer({}); }},
        {"maskTarget", [](DocumentSession& session) { session.maskTarget(); }},
        {"setViewTransform", [](DocumentSession& session) { session.setViewTransform({}); }},
        {"setTool", [](DocumentSession& session) { session.setTool(ToolKind::pen); }},
        {"tool", [](DocumentSession& session) { session.tool(); }},
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SessionFixture fixture;
    const auto callFromWorker = [&](const auto& call) {
        fixture.executors.worker.post([&] { call(*fixture.session); });
        fixture.executors.worker.run();
    };
    for (const auto& [name, call] : calls)
        EXPECT_DEATH(callFromWorker(call), "main thread") << name;
}

} // namespace ombrel
