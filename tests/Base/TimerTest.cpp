#include "Base/Timer.h"

#include "Base/MainExecutor.h"
#include "Base/Strand.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <random>
#include <vector>

namespace ombrel {
namespace {

using namespace std::chrono_literals;

TEST(Timer, callsOnceOnTheExecutorGiven) {
    MainExecutor main;
    Timer timer;
    int calls = 0;
    timer.startOnce(1ms, main, [&] {
        EXPECT_TRUE(main.isCurrent());
        EXPECT_FALSE(timer.isActive());
        ++calls;
    });
    EXPECT_TRUE(timer.isActive());
    main.runUntil([&] { return calls > 0; });
    main.runUntil([] { return false; }, MainExecutor::Clock::now() + 5ms);
    EXPECT_EQ(calls, 1);
}

TEST(Timer, repeatsUntilItIsCancelledFromItsOwnCall) {
    MainExecutor main;
    Timer timer;
    int calls = 0;
    timer.startRepeating(1ms, main, [&] {
        if (++calls == 5) timer.cancel();
    });
    main.runUntil([&] { return calls == 5; });
    main.runUntil([] { return false; }, MainExecutor::Clock::now() + 5ms);
    EXPECT_EQ(calls, 5);
    EXPECT_FALSE(timer.isActive());
}

TEST(Timer, callsEarlierDeadlinesFirst) {
    MainExecutor main;
    std::vector<int> order;
    Timer late;
    Timer early;
    const auto call = [&](int number) { return [&order, number] { order.push_back(number); }; };
    late.startOnce(60ms, main, call(2));
    early.startOnce(1ms, main, call(1));
    main.runUntil([&] { return order.size() == 2; });
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(Timer, aPostedCallIsDroppedWhenTheTimerGoesFirst) {
    MainExecutor main;
    bool wasCalled = false;
    auto timer = std::make_unique<Timer>();
    std::atomic<bool> wasPosted = false;
    main.setWakeUp([&] { wasPosted = true; });
    timer->startOnce(0ms, main, [&] { wasCalled = true; });
    while (!wasPosted)
        std::this_thread::yield(); // the call waits in the queue now
    timer.reset();
    EXPECT_EQ(main.runPending(), 1u);
    EXPECT_FALSE(wasCalled);
}

TEST(Timer, calledTooSeldomItLeavesCallsOut) {
    MainExecutor main;
    Timer timer;
    int calls = 0;
    std::atomic<int> posted = 0;
    main.setWakeUp([&] { ++posted; });
    timer.startRepeating(1ms, main, [&] { ++calls; });
    while (posted == 0)
        std::this_thread::yield();
    std::this_thread::sleep_for(20ms); // busy for many intervals
    EXPECT_EQ(main.runPending(), 1u);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(posted, 1);
}

TEST(Timer, restartingReplacesTheCall) {
    MainExecutor main;
    Timer timer;
    std::vector<int> order;
    timer.startOnce(1ms, main, [&] { order.push_back(1); });
    timer.startOnce(2ms, main, [&] { order.push_back(2); });
    main.runUntil([&] { return !order.empty(); });
    main.runUntil([] { return false; }, MainExecutor::Clock::now() + 5ms);
    EXPECT_EQ(order, std::vector<int>{2});
}

TEST(Timer, survivesRandomStartsAndCancelsOnAStrand) {
    Strand strand("timers");
    struct Shared {
        std::vector<std::unique_ptr<Timer>> timers{16};
        std::vector<int> generation = std::vector<int>(16);
        int staleCalls = 0;
    };
    const auto shared = std::make_shared<Shared>();
    for (int round = 0; round < 400; ++round) {
        strand.post([&strand, shared, round] {
            std::minstd_rand random(static_cast<unsigned>(round) + 1);
            const std::size_t index = random() % 16;
            const int generation = ++shared->generation[index];
            const auto call = [shared, index, generation] {
                if (shared->generation[index] != generation) ++shared->staleCalls;
            };
            std::unique_ptr<Timer>& timer = shared->timers[index];
            timer = random() % 4 == 0 ? nullptr : std::make_unique<Timer>();
            if (!timer) return;
            const auto delay = std::chrono::microseconds(random() % 300 + 1);
            if (random() % 2 == 0)
                timer->startOnce(delay, strand, call);
            else
                timer->startRepeating(delay, strand, call);
        });
        if (round % 20 == 0) std::this_thread::sleep_for(1ms);
    }
    strand.drain();
    strand.post([shared] { shared->timers.clear(); });
    strand.drain();
    // What timers posted before they went still waits in the strand, and refers to it.
    std::this_thread::sleep_for(5ms);
    strand.drain();
    EXPECT_EQ(shared->staleCalls, 0);
}

} // namespace
} // namespace ombrel
