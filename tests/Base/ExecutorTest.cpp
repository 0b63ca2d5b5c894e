#include "Base/Executor.h"
#include "Base/MainExecutor.h"
#include "Base/Strand.h"
#include "Base/ThreadPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

TEST(ThreadPool, runsEveryTaskOnItsThreadsBeforeItGoes) {
    std::atomic<int> count = 0;
    std::atomic<int> current = 0;
    {
        ThreadPool pool(TaskPriority::utility, 3);
        for (int i = 0; i < 1000; ++i) {
            pool.post([&] {
                ++count;
                if (pool.isCurrent()) ++current;
            });
        }
        EXPECT_FALSE(pool.isCurrent());
    }
    EXPECT_EQ(count, 1000);
    EXPECT_EQ(current, 1000);
}

TEST(ThreadPool, runsAsManyTasksAtOnceAsItHasThreads) {
    ThreadPool pool(TaskPriority::userInitiated, 4);
    std::latch all(4);
    std::atomic<int> met = 0;
    for (int i = 0; i < 4; ++i) {
        pool.post([&] {
            all.arrive_and_wait(); // ends only when four threads are here
            ++met;
        });
    }
    std::latch after(1);
    all.wait();
    pool.post([&] { after.count_down(); });
    after.wait();
    while (met != 4)
        std::this_thread::yield();
}

TEST(ThreadPool, leavesSignalsToOtherThreads) {
    ThreadPool pool(TaskPriority::userInitiated, 1);
    std::latch done(1);
    bool blocksInterrupt = false;
    bool blocksFault = true;
    pool.post([&] {
        sigset_t mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        blocksInterrupt = sigismember(&mask, SIGINT) == 1;
        blocksFault = sigismember(&mask, SIGSEGV) == 1;
        done.count_down();
    });
    done.wait();
    EXPECT_TRUE(blocksInterrupt);
    EXPECT_FALSE(blocksFault);
}

TEST(Strand, runsTasksOneAtATimeInTheOrderOfEachPoster) {
    ThreadPool pool(TaskPriority::userInitiated, 4);
    Strand strand("test", pool);
    constexpr int posters = 4;
    constexpr int perPoster = 2000;
    std::vector<std::vector<int>> seen(posters); // unguarded: only the strand touches it
    int running = 0;
    bool overlapped = false;
    {
        std::vector<std::jthread> threads;
        for (int poster = 0; poster < posters; ++poster) {
            threads.emplace_back([&, poster] {
                for (int i = 0; i < perPoster; ++i) {
                    strand.post([&, poster, i] {
                        overlapped = overlapped || ++running != 1 || !strand.isCurrent();
                        seen[static_cast<std::size_t>(poster)].push_back(i);
                        --running;
                    });
                }
            });
        }
    }
    strand.drain();
    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(strand.isCurrent());
    for (const std::vector<int>& numbers : seen) {
        ASSERT_EQ(numbers.size(), static_cast<std::size_t>(perPoster));
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
    }
}

TEST(Strand, keepsItsTasksWhenItIsDestroyed) {
    ThreadPool pool(TaskPriority::userInitiated, 1);
    std::latch gate(1);
    std::latch done(2);
    auto strand = std::make_unique<Strand>("gone", pool);
    strand->post([&] {
        gate.wait();
        done.count_down();
    });
    strand->post([&] { done.count_down(); });
    strand.reset();
    gate.count_down();
    done.wait();
}

TEST(Strand, mayBeDestroyedByItsOwnTask) {
    std::latch done(1);
    auto owner = std::make_shared<std::unique_ptr<Strand>>(std::make_unique<Strand>("self"));
    Strand& strand = **owner;
    strand.post([owner = std::move(owner), &done] {
        owner->reset();
        done.count_down();
    });
    done.wait();
}

TEST(Executor, dispatchRunsAtOnceOnlyWhereItIsCurrent) {
    Strand strand("test");
    std::vector<int> order;
    strand.post([&] {
        strand.dispatch([&] { order.push_back(1); });
        order.push_back(2);
        strand.post([&] { order.push_back(4); });
        order.push_back(3);
    });
    strand.drain();
    strand.drain();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(Executor, answersOnTheExecutorAskedFor) {
    MainExecutor main;
    std::unique_ptr<int> answer;
    bool wasMain = false;
    postWithAnswer(
        ThreadPool::shared(), [] { return std::make_unique<int>(7); }, main,
        [&](std::unique_ptr<int> value) {
            answer = std::move(value);
            wasMain = main.isCurrent();
        });
    main.runUntil([&] { return answer != nullptr; });
    EXPECT_EQ(*answer, 7);
    EXPECT_TRUE(wasMain);

    bool answered = false;
    postWithAnswer(ThreadPool::shared(), [] {}, main, [&] { answered = true; });
    main.runUntil([&] { return answered; });
}

TEST(MainExecutor, runsWhatWaitedAndLeavesWhatIsPostedMeanwhile) {
    MainExecutor main;
    std::vector<int> order;
    main.post([&] {
        order.push_back(1);
        main.post([&] { order.push_back(3); });
    });
    main.post([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(main.runPending(), 2u);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(main.runPending(), 1u);
    EXPECT_EQ(main.runPending(), 0u);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainExecutor, runsTasksOfOtherThreadsUntilTheConditionHolds) {
    MainExecutor main;
    constexpr int count = 3000;
    int ran = 0; // unguarded: only this thread touches it
    std::vector<std::jthread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            EXPECT_FALSE(main.isCurrent());
            for (int i = 0; i < count; ++i)
                main.post([&] { ++ran; });
        });
    }
    main.runUntil([&] { return ran == 3 * count; });
    EXPECT_EQ(main.runPending(), 0u);
}

TEST(MainExecutor, givesUpAtTheDeadline) {
    MainExecutor main;
    const auto soon = MainExecutor::Clock::now() + std::chrono::milliseconds(5);
    EXPECT_FALSE(main.runUntil([] { return false; }, soon));
    EXPECT_TRUE(main.runUntil([] { return true; }, soon));
}

TEST(MainExecutor, anEventLoopThatOnlyFollowsWakeUpsRunsEveryTask) {
    MainExecutor main;
    std::atomic<int> wakeUps = 0;
    main.setWakeUp([&] { ++wakeUps; });
    int ran = 0;
    constexpr int chain = 50;
    std::function<void()> again = [&] {
        if (++ran < chain) main.post([&] { again(); });
    };
    // Several tasks that each post more while others wait: no task may be forgotten.
    for (int i = 0; i < 3; ++i)
        main.post([&] { again(); });
    int turns = 0;
    while (wakeUps > 0 && turns < 1000) {
        --wakeUps;
        ++turns;
        main.runPending();
    }
    EXPECT_GE(ran, chain);
    EXPECT_EQ(main.runPending(), 0u);

    main.setWakeUp({});
    main.post([] {});
    EXPECT_EQ(wakeUps, 0);
    main.setWakeUp([&] { ++wakeUps; });
    EXPECT_EQ(wakeUps, 1) << "a task waits already";
}

TEST(MainExecutor, mayLoopWithinATask) {
    MainExecutor main;
    std::vector<int> order;
    main.post([&] {
        bool answered = false;
        main.post([&] {
            order.push_back(2);
            answered = true;
        });
        main.runUntil([&] { return answered; });
        order.push_back(3);
    });
    main.post([&] { order.push_back(1); });
    main.runPending();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(MainExecutor, theSharedOneBelongsToTheMainThread) {
    EXPECT_TRUE(MainExecutor::shared().isCurrent());
    std::jthread([] { EXPECT_FALSE(MainExecutor::shared().isCurrent()); }).join();
}

TEST(MainExecutorDeathTest, refusesToBeDrivenByAnotherThread) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // other tests have left threads behind
    MainExecutor main;
    EXPECT_DEATH(std::jthread([&] { main.runPending(); }).join(), "driven by its own thread");
}

} // namespace
} // namespace ombrel
