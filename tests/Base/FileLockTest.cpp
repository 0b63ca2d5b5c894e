#include "Base/FileLock.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <optional>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

using test::TemporaryFolder;

TEST(FileLock, isHeldByOneUntilThatOneGoes) {
    const TemporaryFolder folder;
    const auto path = folder / "lock";
    EXPECT_FALSE(FileLock::isHeld(path));
    EXPECT_TRUE(folder.names().empty()) << "asking makes nothing";
    {
        auto lock = FileLock::take(path);
        ASSERT_TRUE(lock);
        const FileLock moved = std::move(*lock);
        EXPECT_TRUE(FileLock::isHeld(path));
        EXPECT_EQ(FileLock::take(path).error().code, EBUSY);
    }
    EXPECT_FALSE(FileLock::isHeld(path));
    EXPECT_TRUE(FileLock::take(path)) << "the file that stayed behind means nothing";
    EXPECT_EQ(FileLock::take(folder / "missing/lock").error().code, ENOENT);
}

TEST(FileLock, knowsWhenItsFileIsGone) {
    const TemporaryFolder folder;
    const auto path = folder / "lock";
    auto old = FileLock::take(path);
    ASSERT_TRUE(old);
    std::filesystem::remove(path);
    EXPECT_FALSE(old->isInPlace());
    auto next = FileLock::take(path);
    ASSERT_TRUE(next);
    old->removeFile();
    EXPECT_TRUE(next->isInPlace()) << "only its own file goes with a lock";
    next->removeFile();
    EXPECT_TRUE(folder.names().empty());
}

TEST(FileLock, manyWhoTakeAndRemoveItNeverHaveItTogether) {
    const TemporaryFolder folder;
    const auto path = folder / "lock";
    std::atomic<int> holders = 0;
    std::atomic<int> taken = 0;
    std::atomic<bool> overlapped = false;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int round = 0; round < 200; ++round) {
                auto lock = FileLock::take(path);
                if (!lock) continue;
                if (holders.fetch_add(1) != 0) overlapped = true;
                ++taken;
                FileLock::isHeld(path);
                holders.fetch_sub(1);
                if ((round + thread) % 2 == 0) lock->removeFile();
            }
        });
    }
    threads.clear();
    EXPECT_FALSE(overlapped);
    EXPECT_GT(taken, 200);
}

} // namespace
} // namespace ombrel
