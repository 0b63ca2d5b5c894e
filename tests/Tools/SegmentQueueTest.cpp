#include "Tools/SegmentQueue.h"
#include "Base/MainExecutor.h"
#include "Base/Strand.h"
#include "TestSeed.h"
#include "Tools/TileStrokeDriver.h"
#include "support/ControlledExecutor.h"

#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace ombrel {

namespace {

using Items = std::vector<int>;
using Queue = SegmentQueue<int, Items>;

/// A queue that gives back what it gets, with a log.
struct SegmentQueueTest : ::testing::Test {
    void make() {
        queue = std::make_unique<Queue>(
            executors.worker, executors.main,
            [this](std::span<const int> batch) -> std::optional<Items> {
                ++rendered;
                if (batch.front() < 0) return std::nullopt;
                return Items(batch.begin(), batch.end());
            },
            [this](Items batch) {
                delivered.push_back(std::move(batch));
                if (onDeliver) onDeliver();
            },
            [this] {
                ++finished;
                if (onFinish) onFinish();
            });
    }
    SegmentQueueTest() { make(); }

    std::vector<Items> delivered;
    int rendered = 0;
    int finished = 0;
    std::function<void()> onDeliver;
    std::function<void()> onFinish;
    ControlledExecutors executors;
    std::unique_ptr<Queue> queue;
};

} // namespace

TEST_F(SegmentQueueTest, whatComesMeanwhileGoesOutAsOneBatch) {
    queue->enqueue({1});
    queue->enqueue({2, 3});
    queue->enqueue({});
    queue->enqueue({4});
    EXPECT_EQ(executors.worker.pending(), 1U);
    queue->end();
    queue->enqueue({5});
    EXPECT_EQ(finished, 0);
    executors.settle();
    EXPECT_EQ(delivered, (std::vector<Items>{{1}, {2, 3, 4}}));
    EXPECT_EQ(finished, 1);
    queue->end();
    executors.settle();
    EXPECT_EQ(finished, 1) << "once";
}

TEST_F(SegmentQueueTest, anEndWithoutItemsFinishesAtOnce) {
    queue->end();
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(rendered, 0);
}

TEST_F(SegmentQueueTest, goesOnWhereABatchGaveNothing) {
    queue->enqueue({-1});
    queue->enqueue({1});
    queue->end();
    executors.settle();
    EXPECT_EQ(rendered, 2);
    EXPECT_EQ(delivered, std::vector<Items>{{1}});
    EXPECT_EQ(finished, 1);
}

TEST_F(SegmentQueueTest, isSilentOnceItIsGone) {
    queue->enqueue({1});
    queue->enqueue({2});
    queue->end();
    queue.reset();
    executors.settle();
    EXPECT_EQ(rendered, 1) << "the batch in flight ends undisturbed";
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(finished, 0);
}

TEST_F(SegmentQueueTest, mayBeDestroyedByWhatItCalls) {
    onDeliver = [this] { queue.reset(); };
    queue->enqueue({1});
    queue->enqueue({2});
    queue->end();
    executors.settle();
    EXPECT_EQ(delivered, std::vector<Items>{{1}});
    EXPECT_EQ(finished, 0);

    make();
    onDeliver = [this] { queue->enqueue({9}); };
    onFinish = [this] { queue.reset(); };
    queue->enqueue({3});
    queue->end();
    executors.settle();
    EXPECT_EQ(delivered.back(), Items{3}) << "nothing is taken after the end";
    EXPECT_EQ(finished, 1);
}

TEST_F(SegmentQueueTest, keepsOrderWhateverTheTiming) {
    std::mt19937_64 random(testSeed());
    for (int round = 0; round < 200; ++round) {
        delivered.clear();
        finished = 0;
        make();
        int next = 0;
        bool isEnded = false;
        while (!isEnded || executors.main.pending() + executors.worker.pending() > 0) {
            if (!isEnded && random() % 2 == 0) {
                Items items(random() % 4);
                std::iota(items.begin(), items.end(), next);
                next += static_cast<int>(items.size());
                queue->enqueue(items);
                isEnded = random() % 8 == 0;
                if (isEnded) queue->end();
            } else {
                executors.step(random);
            }
            ASSERT_LE(executors.main.pending() + executors.worker.pending(), 1U) << "in flight";
        }
        Items all;
        for (const Items& batch : delivered)
            all.insert(all.end(), batch.begin(), batch.end());
        Items expected(static_cast<std::size_t>(next));
        std::iota(expected.begin(), expected.end(), 0);
        ASSERT_EQ(all, expected);
        ASSERT_EQ(finished, 1);
    }
}

TEST(SegmentQueue, rendersOnAnotherThreadAndIsDroppedAtAnyMoment) {
    MainExecutor main;
    Strand strand("Stroke");
    for (int round = 0; round < 300; ++round) {
        int unguarded = 0; // of the renderer, one call at a time
        Items all;
        bool isFinished = false;
        auto queue = std::make_unique<Queue>(
            strand, main,
            [&unguarded](std::span<const int> batch) -> std::optional<Items> {
                unguarded += static_cast<int>(batch.size());
                return Items(batch.begin(), batch.end());
            },
            [&all](const Items& batch) { all.insert(all.end(), batch.begin(), batch.end()); },
            [&isFinished] { isFinished = true; });
        for (int i = 0; i < 20; ++i) {
            queue->enqueue({i});
            main.runPending();
        }
        if (round % 2 == 0) {
            queue->end();
            main.runUntil([&] { return isFinished; });
            EXPECT_EQ(all.size(), 20U);
            EXPECT_EQ(unguarded, 20);
        }
        queue.reset();
        strand.drain();
        main.runPending();
    }
}

TEST(TileStrokeDriver, laterTilesReplaceEarlierOnes) {
    ControlledExecutors executors;
    using Driver = TileStrokeDriver<int>;
    const auto solid = [](int value) {
        return TileContent{PremultipliedColor{static_cast<float>(value), 0, 0, 1}};
    };
    std::vector<std::size_t> changes;
    bool isFinished = false;
    Driver driver(
        executors.worker, executors.main,
        [&](std::span<const int> dabs) -> std::optional<Driver::Tiles> {
            Driver::Tiles tiles;
            for (const int dab : dabs)
                tiles.insert_or_assign(TileCoord{dab % 10, 0}, solid(dab));
            return tiles;
        },
        [&](const Driver::Tiles& tiles) { changes.push_back(tiles.size()); },
        [&] { isFinished = true; });
    driver.extend({1, 2});
    driver.extend({12, 3});
    driver.end();
    executors.settle();
    EXPECT_TRUE(isFinished);
    EXPECT_EQ(changes, (std::vector<std::size_t>{2, 2}));
    EXPECT_EQ(driver.tiles(),
              (Driver::Tiles{{{1, 0}, solid(1)}, {{2, 0}, solid(12)}, {{3, 0}, solid(3)}}));
}

} // namespace ombrel
