#include "Editor/DocumentRecovery.h"

#include "support/ControlledExecutor.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryFolder.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>
#include <vector>

namespace ombrel {

namespace {

struct RecoveryFixture {
    test::TemporaryFolder folder;
    RecoveryStore store{folder / "recovery"};
    ControlledExecutors executors;
    std::vector<double> delays; ///< in seconds
    std::vector<Executor::Task> sleeping;
    bool isEdited = true;
    bool isInterruptible = true;
    int copies = 0;
    Uuid id = Uuid::make();
    std::shared_ptr<DocumentRecovery> recovery = make();

    std::shared_ptr<DocumentRecovery> make() {
        return std::make_shared<DocumentRecovery>(
            DocumentRecovery::Services{executors.main, executors.worker, store,
                                       [this](Timer::Duration delay, Executor::Task wakeUp) {
                                           delays.push_back(
                                               std::chrono::duration<double>(delay).count());
                                           sleeping.push_back(std::move(wakeUp));
                                       }},
            id,
            DocumentRecovery::Questions{
                .isEdited = [this] { return isEdited; },
                .isInterruptible = [this] { return isInterruptible; },
                .copy =
                    [this] {
                        ++copies;
                        return DocumentRecovery::Copy{
                            Board(TestDocument({9, 9}).layer("A").active().state(), "Node 1"),
                            "Name",
                            {}};
                    }});
    }
    void edit() { recovery->editedStateChanged(); }
    void wake() {
        for (Executor::Task& task : std::exchange(sleeping, {}))
            task();
    }
    bool hasCopy() const {
        return std::filesystem::exists(folder / "recovery" / (id.text() + ".ombrel"));
    }
};

} // namespace

TEST(DocumentRecovery, theDelayGrowsWithTheLastCopy) {
    const auto seconds = [](std::int64_t bytes) {
        return DocumentRecovery::delayAfter(bytes).count();
    };
    EXPECT_EQ(seconds(0), 20);
    EXPECT_EQ(seconds(10'000'000), 20);
    EXPECT_EQ(seconds(20'000'000), 40);
    EXPECT_EQ(seconds(150'000'000), 300);
    EXPECT_EQ(seconds(std::int64_t{1} << 40), 300);
    RecoveryFixture at;
    at.recovery->setLastRecoveryBytes(50'000'000);
    at.edit();
    EXPECT_EQ(at.delays, std::vector<double>{100});
}

TEST(DocumentRecovery, oneRoundRunsAtATimeAndRoundsGoOnWhileEditsDo) {
    RecoveryFixture at;
    at.edit();
    at.edit();
    EXPECT_EQ(at.sleeping.size(), 1u);
    at.wake();
    at.edit(); // while the copy is being written
    EXPECT_TRUE(at.sleeping.empty());
    at.executors.settle();
    EXPECT_TRUE(at.hasCopy());
    EXPECT_EQ(at.copies, 1);
    ASSERT_EQ(at.sleeping.size(), 1u) << "another round, for it is still edited";
    at.wake();
    at.executors.settle();
    EXPECT_EQ(at.copies, 2);
    at.wake(); // nothing changed since
    at.executors.settle();
    EXPECT_EQ(at.copies, 2);
    EXPECT_TRUE(at.sleeping.empty());
    at.edit();
    EXPECT_EQ(at.sleeping.size(), 1u);
}

TEST(DocumentRecovery, liveEditsAndQueuedWorkPutItOff) {
    RecoveryFixture at;
    at.isInterruptible = false;
    at.edit();
    at.wake();
    EXPECT_EQ(at.copies, 0);
    ASSERT_EQ(at.sleeping.size(), 1u);
    at.isInterruptible = true;
    at.wake();
    at.executors.settle();
    EXPECT_TRUE(at.hasCopy());
}

TEST(DocumentRecovery, aDocumentThatIsSavedOrClosedHasNoCopy) {
    for (const bool closes : {false, true}) {
        for (const bool isWriting : {false, true}) {
            RecoveryFixture at;
            at.edit();
            at.wake();
            if (!isWriting) at.executors.settle();
            at.isEdited = closes;
            if (closes)
                at.recovery->close();
            else
                at.edit();
            at.executors.settle();
            EXPECT_FALSE(at.hasCopy()) << closes << isWriting;
            at.wake();
            at.executors.settle();
            EXPECT_EQ(at.copies, 1);
        }
    }
}

TEST(DocumentRecovery, aRoundThatWasDroppedDoesNotWakeForTheNextOne) {
    RecoveryFixture at;
    at.edit();
    std::vector<Executor::Task> dropped = std::exchange(at.sleeping, {});
    at.isEdited = false;
    at.edit();
    at.isEdited = true;
    at.edit();
    ASSERT_EQ(at.sleeping.size(), 1u);
    dropped.front()();
    at.executors.settle();
    EXPECT_EQ(at.copies, 0) << "the wait begins anew";
}

TEST(DocumentRecovery, aCopyThatFailsIsTriedAgainInTheNextRound) {
    RecoveryFixture at;
    at.edit();
    {
        const test::FileSizeLimit limit(16);
        at.wake();
        at.executors.settle();
    }
    EXPECT_FALSE(at.hasCopy());
    ASSERT_EQ(at.sleeping.size(), 1u);
    at.wake();
    at.executors.settle();
    EXPECT_TRUE(at.hasCopy());
}

TEST(DocumentRecovery, leavingKeepsTheCopyAndWritesNoMore) {
    RecoveryFixture at;
    at.edit();
    at.recovery->writeNow();
    EXPECT_TRUE(at.hasCopy());
    at.recovery->leave();
    at.recovery->close();
    at.edit();
    at.wake();
    at.executors.settle();
    EXPECT_TRUE(at.hasCopy());
    EXPECT_EQ(at.copies, 1);
}

} // namespace ombrel
