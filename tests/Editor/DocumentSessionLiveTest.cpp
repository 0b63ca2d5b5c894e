#include "Editor/SessionFixture.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

using Log = SessionLog;

} // namespace

TEST(DocumentSessionLive, aLiveEditMakesOneEntry) {
    SessionFixture fixture;
    DocumentSession& session = *fixture.session;
    ASSERT_TRUE(session.beginLive());
    EXPECT_FALSE(session.beginLive());
    session.updateLive([](DocumentState& state) { state.canvas.resolution = 1; });
    session.updateLive([](DocumentState& state) { state.canvas.resolution += 1; });
    EXPECT_EQ(fixture.markShown(), 2);
    EXPECT_EQ(fixture.takeLog(), (Log{"display", "display"}));
    session.undo();
    session.jump(0);
    EXPECT_EQ(fixture.markShown(), 2) << "no undo during a live edit";
    EXPECT_EQ(fixture.takeLog(), Log{});
    session.commitLive("Drag");
    EXPECT_EQ(fixture.takeLog(), committed);
    EXPECT_FALSE(*session._isLiveEditing);
    EXPECT_EQ(fixture.marks(), (Marks{72, 2}));
    EXPECT_EQ(session.undoName(), "Drag");
}

TEST(DocumentSessionLive, isNotLiveWhileWorkIsQueued) {
    SessionFixture fixture;
    fixture.session->perform(queuedMark(1));
    EXPECT_FALSE(fixture.session->beginLive());
    fixture.settled();
    EXPECT_TRUE(fixture.session->beginLive());
}

TEST(DocumentSessionLive, ignoresLiveCallsOutsideALiveEdit) {
    SessionFixture fixture;
    fixture.session->previewLive(marking(1));
    fixture.session->updateLive([](DocumentState& state) { state.canvas.resolution = 1; });
    fixture.session->commitLive("Drag", marking(2));
    fixture.session->cancelLive();
    EXPECT_EQ(fixture.settled(), 72);
    EXPECT_EQ(fixture.takeLog(), Log{});
    EXPECT_EQ(fixture.marks(), Marks{72});
}

TEST(DocumentSessionLive, skipsPreviewsThatComeWhileOneRuns) {
    SessionFixture fixture;
    DocumentSession& session = *fixture.session;
    std::vector<double> begun;
    const auto counted = [&](double value) {
        return [&begun, value](DocumentState state) {
            begun.push_back(value);
            state.canvas.resolution = state.canvas.resolution * 10 + value;
            return state;
        };
    };
    session.beginLive();
    for (const double value : {1, 2, 3})
        session.previewLive(counted(value));
    EXPECT_EQ(fixture.executors.worker.pending(), 1u);
    fixture.executors.worker.run();
    fixture.executors.main.run();
    EXPECT_EQ(fixture.markShown(), 721) << "each works on the state at the beginning";
    EXPECT_EQ(fixture.settled(), 723);
    EXPECT_EQ(begun, (Marks{1, 3}));
    EXPECT_EQ(fixture.takeLog(), (Log{"display", "display"}));
}

TEST(DocumentSessionLive, dropsPreviewsThatComeTooLate) {
    enum class End { commit, cancel, cancelAndBegin };
    for (const End end : {End::commit, End::cancel, End::cancelAndBegin}) {
        SessionFixture fixture;
        DocumentSession& session = *fixture.session;
        session.beginLive();
        session.updateLive([](DocumentState& state) { state.canvas.resolution = 5; });
        session.previewLive(marking(1));
        session.previewLive(marking(2));
        if (end == End::commit) {
            session.commitLive("Drag");
        } else {
            session.cancelLive();
            EXPECT_EQ(fixture.markShown(), 72);
        }
        if (end == End::cancelAndBegin) {
            session.beginLive();
            session.previewLive(marking(3));
            EXPECT_EQ(fixture.executors.main.pending(), 0u);
        }
        const double expected = end == End::commit ? 5 : end == End::cancel ? 72 : 3;
        EXPECT_EQ(fixture.settled(), expected);
        EXPECT_EQ(fixture.marks(), end == End::commit ? (Marks{72, 5}) : Marks{72});
    }
}

TEST(DocumentSessionLive, finishesALiveEditFromItsBeginning) {
    SessionFixture fixture;
    DocumentSession& session = *fixture.session;
    session.beginLive();
    session.updateLive([](DocumentState& state) { state.canvas.resolution = 5; });
    session.commitLive("Drag", [](DocumentState state) {
        state.canvas.resolution += 1;
        return state;
    });
    EXPECT_TRUE(*session._isBusy);
    EXPECT_FALSE(*session._isLiveEditing);
    session.perform(add(4));
    EXPECT_EQ(fixture.markShown(), 5) << "shown until the finish is there";
    EXPECT_EQ(fixture.settled(), 734);
    EXPECT_EQ(fixture.marks(), (Marks{72, 73, 734}));
}

TEST(DocumentSessionLive, cancellingALiveEditLeavesHistoryAlone) {
    SessionFixture fixture;
    fixture.session->beginLive();
    fixture.session->updateLive([](DocumentState& state) { state.canvas.resolution = 5; });
    fixture.takeLog();
    fixture.session->cancelLive();
    EXPECT_EQ(fixture.takeLog(), Log{"display"});
    EXPECT_EQ(*fixture.session->_state, fixture.session->_history->current());
}

} // namespace ombrel
