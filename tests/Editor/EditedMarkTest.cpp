#include "Editor/EditedMark.h"

#include "SessionFixture.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

/// A session whose document is saved now and then.
struct MarkedSession : SessionFixture {
    EditedMark mark{session->currentEntryID()};

    MarkedSession() {
        session->onDocumentChange = [this](DocumentSession::ChangeType change) {
            mark.note(change, session->currentEntryID());
        };
    }
    void edit(std::optional<std::string> key = {}) {
        EditCommand command = ombrel::mark(++edits);
        command.key = std::move(key);
        session->perform(command);
    }
    void save() {
        mark.beginSaving();
        mark.endSaving(true);
    }
    int edits = 0;
};

} // namespace

TEST(EditedMark, undoingOrJumpingToTheSavedStateClearsIt) {
    MarkedSession at;
    EXPECT_FALSE(at.mark.isEdited());
    at.edit();
    EXPECT_TRUE(at.mark.isEdited());
    at.session->undo();
    EXPECT_FALSE(at.mark.isEdited());
    at.session->redo();
    at.edit();
    at.save();
    EXPECT_FALSE(at.mark.isEdited());
    at.session->jump(0);
    EXPECT_TRUE(at.mark.isEdited());
    at.session->jump(2);
    EXPECT_FALSE(at.mark.isEdited());
    at.session->undo();
    at.edit(); // the saved state is gone for good
    at.session->undo();
    EXPECT_TRUE(at.mark.isEdited());
}

TEST(EditedMark, anEditCoalescedIntoTheSavedEntryIsSeen) {
    MarkedSession at;
    at.now = {};
    at.session.reset();
    auto services = at.services();
    services.now = [] { return History::Date{}; }; // all at one moment: they coalesce
    at.open(services, TestDocument().layer("A").active().state());
    at.mark = EditedMark(at.session->currentEntryID());
    at.session->onDocumentChange = [&](DocumentSession::ChangeType change) {
        at.mark.note(change, at.session->currentEntryID());
    };
    at.edit("key");
    at.save();
    at.edit("key");
    EXPECT_EQ(at.session->_history->count(), 2);
    EXPECT_TRUE(at.mark.isEdited());
    at.session->undo();
    EXPECT_TRUE(at.mark.isEdited()) << "the file holds what no entry does";
}

TEST(EditedMark, whatChangesWhileTheFileIsWrittenIsNotSaved) {
    MarkedSession at;
    at.edit();
    at.mark.beginSaving();
    at.edit();
    at.mark.endSaving(true);
    EXPECT_TRUE(at.mark.isEdited());
    at.session->undo();
    EXPECT_FALSE(at.mark.isEdited());
    at.edit();
    at.mark.beginSaving();
    at.mark.endSaving(false);
    EXPECT_TRUE(at.mark.isEdited());
    at.mark.invalidate();
    at.session->undo();
    EXPECT_TRUE(at.mark.isEdited());
}

TEST(DocumentSession, anotherDocumentTakesThePlaceOfTheFirstWithAHistoryOfItsOwn) {
    SessionFixture at;
    at.session->perform(mark(1));
    at.session->_selectedLayerIDs = std::set{*at.session->_state->activeLayerID};
    const DocumentState other = TestDocument({7, 7}).layer("B").active().state();
    ASSERT_TRUE(at.session->beginLive());
    EXPECT_FALSE(at.session->replaceDocument(other, "Revert"));
    at.session->cancelLive();
    at.session->perform(queuedMark(2));
    EXPECT_FALSE(at.session->replaceDocument(other, "Revert"));
    at.executors.settle();
    at.takeLog();
    EXPECT_TRUE(at.session->replaceDocument(other, "Revert"));
    EXPECT_EQ(*at.session->_state, other);
    EXPECT_EQ(at.session->_history->count(), 1);
    EXPECT_EQ(at.session->_history->currentEntry().name, "Revert");
    EXPECT_TRUE(at.session->_selectedLayerIDs->empty());
    EXPECT_EQ(at.takeLog(), (SessionLog{"display", "content"}));
}

} // namespace ombrel
