// What a crash leaves, and what the next start makes of it.
#include "ShellFixture.h"

#include <QListWidget>
#include <fstream>

namespace ombrel {

namespace {

using SaveAnswer = Dialogs::SaveAnswer;

} // namespace

TEST_F(ShellTest, whatACrashLeftIsOfferedAndGoesWhenItIsSavedOrClosed) {
    makeDocument();
    makeDocument({100, 100});
    addLayer(document(0));
    addLayer(document(1));
    addLayer(document(1));
    EXPECT_EQ(sleeping.size(), 2u);
    for (Executor::Task& wakeUp : std::exchange(sleeping, {})) {
        wakeUp();
        QTest::qWait(5); // the older copy is offered first
    }
    recoveryWriter.drain();
    EXPECT_EQ(recovery->entries().size(), 0u) << "held by this process";
    crash();

    startProgram();
    controller->start({});
    ASSERT_TRUE(waitForDocuments(2));
    EXPECT_EQ(document(0).displayName(), "Untitled (Recovered)");
    EXPECT_EQ(document(1).displayName(), "Untitled 2 (Recovered)");
    EXPECT_EQ(document(1).session()->_history->currentEntry().name, "Recovered");
    EXPECT_EQ(layerCount(0), 3u);
    EXPECT_EQ(layerCount(1), 4u);
    EXPECT_TRUE(document(0).isEdited());
    EXPECT_EQ(document(0).fileURL(), std::nullopt);
    EXPECT_EQ(controller->startWindow(), nullptr);

    ASSERT_EQ(saveTo(folder / "back.ombrel"), ImageDocument::SaveResult::saved);
    EXPECT_EQ(document(0).displayName(), "back.ombrel");
    answers.saves = {SaveAnswer::discard};
    document(1).window()->close();
    ASSERT_TRUE(waitForDocuments(1));
    crash();

    startProgram();
    controller->start({});
    ASSERT_TRUE(eventually([&] { return controller->startWindow() != nullptr; }));
    EXPECT_EQ(documentCount(), 0u);
}

TEST_F(ShellTest, aRecoveredDocumentSurvivesASecondCrashUnderItsOwnName) {
    makeDocument();
    addLayer(document());
    wakeRecovery();
    recoveryWriter.drain();
    crash();
    startProgram();
    controller->start({});
    ASSERT_TRUE(waitForDocuments(1));
    crash(); // before its first copy of this run
    startProgram();
    controller->start({});
    ASSERT_TRUE(waitForDocuments(1));
    wakeRecovery();
    recoveryWriter.drain();
    crash();
    startProgram();
    controller->start({});
    ASSERT_TRUE(waitForDocuments(1));
    EXPECT_EQ(document().displayName(), "Untitled (Recovered)");
    EXPECT_EQ(layerCount(), 3u);
}

TEST_F(ShellTest, aDamagedCopyIsRemovedWithoutAWord) {
    makeDocument();
    makeDocument();
    addLayer(document(0));
    addLayer(document(1));
    wakeRecovery();
    recoveryWriter.drain();
    crash();
    for (const auto& file : std::filesystem::directory_iterator(folder / "recovery")) {
        if (file.path().extension() != ".ombrel") continue;
        std::filesystem::resize_file(file.path(), 40);
        break;
    }
    startProgram();
    controller->start({});
    ASSERT_TRUE(waitForDocuments(1));
    settle();
    EXPECT_TRUE(answers.failures.empty());
    int copies = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder / "recovery"))
        copies += file.path().extension() == ".ombrel" ? 1 : 0;
    EXPECT_EQ(copies, 1);
}

TEST_F(ShellTest, aRequestToEndLosesNothingAndAsksNothing) {
    makeDocument();
    ASSERT_EQ(saveTo(folder / "a.ombrel"), ImageDocument::SaveResult::saved);
    addLayer(document());
    controller->endAtOnce();
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(documentCount(), 0u);
    endProgram();
    startProgram();
    controller->start({});
    ASSERT_TRUE(waitForDocuments(1));
    EXPECT_EQ(document().displayName(), "a.ombrel (Recovered)");
    EXPECT_EQ(layerCount(), 3u);
}

TEST_F(ShellTest, undoingToTheSavedStateTakesTheCopyAway) {
    makeDocument();
    addLayer(document());
    wakeRecovery();
    recoveryWriter.drain();
    trigger("undo");
    EXPECT_FALSE(document().isEdited());
    settle();
    crash();
    startProgram();
    controller->start({});
    ASSERT_TRUE(eventually([&] { return controller->startWindow() != nullptr; }));
    EXPECT_EQ(documentCount(), 0u);
}

} // namespace ombrel
