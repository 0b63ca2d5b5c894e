// Sessions on real threads; what the thread sanitizer looks at.
#include "Base/MainExecutor.h"
#include "Base/Settings.h"
#include "Editor/SessionFixture.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>

namespace ombrel {

namespace {

CommandResult paintAtRandom(DocumentState& state, TileStore& store, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    state.update(*state.activeLayerID, [&](LayerNode& node) {
        TileGrid& pixels = node.writePixelLayer()->pixels;
        for (int count = 0; count < 6; ++count) {
            const TileCoord coord{static_cast<std::int32_t>(random() % 8),
                                  static_cast<std::int32_t>(random() % 8)};
            if (const TileCell cell = pixels.cell(coord); cell.isPixels()) {
                const TilePin pin(cell.tile()); // as a brush reads what it paints over
                EXPECT_NE(pin.bytes()[random() % 1000], std::byte{0});
            }
            pixels.set(coord, makeTestTile(store, TileFormat::rgba16Float));
        }
    });
    return {};
}

EditCommand painting(std::uint64_t seed, bool isQueued) {
    return {"Paint",
            [seed](DocumentState& state, const CommandContext& in) {
                if (in.progress != nullptr) in.progress->setFraction(0.5);
                return paintAtRandom(state, in.store, seed);
            },
            isQueued};
}

class ThreadedSessions {
public:
    std::shared_ptr<DocumentSession> open() {
        return DocumentSession::create({.main = main_,
                                        .worker = ThreadPool::shared(),
                                        .store = *store_,
                                        .device = device_,
                                        .settings = settings_,
                                        .historyBudget = 100 * 524288},
                                       TestDocument().layer("A").active().state(), "Open", {}, {});
    }
    void act(DocumentSession& session, std::mt19937_64& random) {
        const auto transform = [this, seed = random()](DocumentState state) {
            static_cast<void>(paintAtRandom(state, *store_, seed));
            return state;
        };
        switch (random() % 12) {
        case 0:
            return session.undo();
        case 1:
            return session.redo();
        case 2:
            return session.jump(static_cast<std::int64_t>(random() % 30));
        case 3:
            static_cast<void>(session.beginLive());
            return;
        case 4:
        case 5:
            return session.previewLive(transform);
        case 6:
            return session.commitLive("Live",
                                      random() % 2 == 0 ? transform : DocumentSession::Transform());
        case 7:
            return session.cancelLive();
        case 8:
            if (const auto& running = *session._runningCommand) {
                EXPECT_LE(running->progress->fraction(), 0.5);
                if (random() % 4 == 0) running->progress->cancel();
            }
            return;
        default:
            return session.perform(painting(random(), random() % 3 != 0));
        }
    }
    void runPending() { main_.runPending(); }
    void runUntil(const std::function<bool()>& isDone) {
        // Work on other threads posts when it is done, except that which only drops states.
        while (!isDone()) {
            main_.runPending();
            std::this_thread::yield();
        }
    }
    std::int64_t tileCount() const { return store_->statistics().tileCount; }

private:
    test::TemporaryFolder folder_;
    Settings settings_{folder_ / "settings.json"};
    MainExecutor main_;
    CpuDevice device_;
    std::shared_ptr<TileStore> store_ = makeTestStore();
};

} // namespace

TEST(SessionThreads, severalSessionsWorkAtOnceAndLeaveNoTile) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    ThreadedSessions sessions;
    std::vector<std::shared_ptr<DocumentSession>> all(3);
    for (int step = 0; step < 1200; ++step) {
        auto& session = all[random() % all.size()];
        if (!session) {
            session = sessions.open();
        } else if (random() % 100 == 0) {
            session.reset();
        } else {
            sessions.act(*session, random);
        }
        if (random() % 3 == 0) sessions.runPending();
    }
    for (const auto& session : all) {
        if (!session) continue;
        session->cancelLive();
        sessions.runUntil([&] { return !*session->_isBusy; });
        session->jump(0);
        EXPECT_EQ(*session->_state, session->_history->current());
    }
    all.clear();
    sessions.runUntil([&] { return sessions.tileCount() == 0; });
}

} // namespace ombrel
