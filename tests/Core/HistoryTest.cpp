#include "Core/History.h"

#include "TestSeed.h"
#include "support/HistoryModel.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <random>

namespace ombrel {

namespace {

constexpr std::int64_t plenty = std::int64_t{1} << 40;
constexpr std::int64_t colorTileBytes = 524288;

DocumentState stateOfWidth(std::int64_t width) {
    DocumentState state;
    state.canvas.size = {width, 1};
    return state;
}

History::Date at(double seconds) {
    return History::Date(std::chrono::duration_cast<History::Date::duration>(
        std::chrono::duration<double>(seconds)));
}

// A history whose states are told apart by their width.
struct Recorded {
    History history;

    explicit Recorded(std::int64_t maximumStates = 50)
        : history(stateOfWidth(0), "Open", maximumStates, plenty) {}
    Recorded& add(std::int64_t width, double seconds, std::optional<std::string> key = {}) {
        history.record(stateOfWidth(width), "Edit " + std::to_string(width), std::move(key),
                       at(seconds));
        return *this;
    }
    std::vector<std::int64_t> widths() const {
        std::vector<std::int64_t> all;
        for (const auto& entry : history.entries())
            all.push_back(entry->state.canvas.size.width);
        return all;
    }
};

using Widths = std::vector<std::int64_t>;

} // namespace

TEST(History, beginsWithOneEntryThatCannotBeUndone) {
    const auto before = History::Date::clock::now();
    History history(stateOfWidth(7), "Open", 0, plenty);
    EXPECT_EQ(history.count(), 1);
    EXPECT_EQ(history.maximumStates(), 2);
    EXPECT_EQ(history.current().canvas.size.width, 7);
    EXPECT_EQ(history.currentEntry().name, "Open");
    EXPECT_GE(history.currentEntry().date, before);
    EXPECT_EQ(history.currentEntry().coalescingKey, std::nullopt);
    EXPECT_EQ(history.undo(), nullptr);
    EXPECT_EQ(history.redo(), nullptr);
    EXPECT_EQ(history.undoName(), std::nullopt);
    EXPECT_EQ(history.redoName(), std::nullopt);
}

TEST(History, walksItsStatesAndNamesTheSteps) {
    Recorded recorded;
    recorded.add(1, 10).add(2, 20);
    History& history = recorded.history;
    EXPECT_EQ(history.undoName(), "Edit 2");
    EXPECT_EQ(history.undo()->canvas.size.width, 1);
    EXPECT_EQ(history.undoName(), "Edit 1");
    EXPECT_EQ(history.redoName(), "Edit 2");
    EXPECT_EQ(history.jump(-5).canvas.size.width, 0);
    EXPECT_EQ(history.redo()->canvas.size.width, 1);
    EXPECT_EQ(history.jump(1000).canvas.size.width, 2);
    EXPECT_FALSE(history.canRedo());

    history.jump(0);
    recorded.add(9, 30);
    EXPECT_EQ(recorded.widths(), (Widths{0, 9})) << "a new edit ends the redo branch";
}

TEST(History, coalescesOnlyRapidEditsOfOneKey) {
    EXPECT_EQ(Recorded().add(1, 10, "k").add(2, 11.4, "k").widths(), (Widths{0, 2}));
    EXPECT_EQ(Recorded().add(1, 10, "k").add(2, 11.5, "k").widths(), (Widths{0, 1, 2}));
    EXPECT_EQ(Recorded().add(1, 10, "k").add(2, 11.6, "k").widths(), (Widths{0, 1, 2}));
    EXPECT_EQ(Recorded().add(1, 10, "k").add(2, 11, "l").widths(), (Widths{0, 1, 2}));
    EXPECT_EQ(Recorded().add(1, 10).add(2, 10, "k").widths(), (Widths{0, 1, 2}));
    EXPECT_EQ(Recorded().add(1, 10, "k").add(2, 10).widths(), (Widths{0, 1, 2}));
    EXPECT_EQ(Recorded().add(1, 10).add(2, 10).widths(), (Widths{0, 1, 2}));
    EXPECT_EQ(Recorded().add(1, 10, "k").add(2, 11, "k").add(3, 12, "k").add(4, 13, "k").widths(),
              (Widths{0, 4}))
        << "a steady run extends itself";
}

TEST(History, keepsNameAndIdentityOfACoalescedEntry) {
    Recorded recorded;
    recorded.add(1, 10, "k");
    const Uuid id = recorded.history.currentEntry().id;
    recorded.add(2, 11, "k");
    const History::Entry& entry = recorded.history.currentEntry();
    EXPECT_EQ(entry.id, id);
    EXPECT_EQ(entry.name, "Edit 1");
    EXPECT_EQ(entry.date, at(11));
    EXPECT_EQ(entry.state.canvas.size.width, 2);
}

TEST(History, neverCoalescesIntoTheFirstEntry) {
    Recorded recorded(2);
    recorded.add(1, 10, "k").add(2, 20, "k"); // 0 is trimmed: the first entry has the key now
    recorded.history.undo();
    recorded.add(3, 10.5, "k");
    EXPECT_EQ(recorded.widths(), (Widths{1, 3}));
}

TEST(History, coalescesAfterUndoIntoTheEntryThatIsThenCurrent) {
    Recorded recorded;
    recorded.add(1, 10, "k").add(2, 11);
    recorded.history.undo();
    recorded.add(3, 11, "k");
    EXPECT_EQ(recorded.widths(), (Widths{0, 3}));
}

TEST(History, keepsAtMostTheStatesAllowed) {
    Recorded recorded(50);
    for (int step = 1; step <= 50; ++step)
        recorded.add(step, 10 * step);
    EXPECT_EQ(recorded.history.count(), 50);
    EXPECT_EQ(recorded.widths().front(), 1);
    int steps = 0;
    while (recorded.history.undo() != nullptr)
        ++steps;
    EXPECT_EQ(steps, 49);
}

TEST(History, aHugeEditOverTheBudgetLeavesThePresentAlone) {
    TestDocument document({1024, 1024});
    document.layer("A").painted({0, 0, 1024, 1024},
                                [](auto, auto) { return PremultipliedColor::white(); });
    History history(document.state(), "Open", 50, 10 * colorTileBytes);
    DocumentState next = document.state();
    next.canvas.resolution = 300;
    EXPECT_TRUE(history.record(next, "Resolution", {}, at(10)).empty());
    EXPECT_EQ(history.retainedTotal(), 0);

    next.update(document.lastID(), [](LayerNode& node) {
        node.writePixelLayer()->pixels = TileGrid(TileFormat::rgba16Float);
    });
    const History::Entries left = history.record(next, "Clear", {}, at(20));
    EXPECT_EQ(history.count(), 1);
    EXPECT_EQ(history.currentEntry().name, "Clear");
    ASSERT_EQ(left.size(), 2u);
    EXPECT_EQ(left.back()->retainedBytes, 16 * colorTileBytes);
}

TEST(HistoryModel, agreesUnderRandomOperations) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    TestDocument document({2048, 2048});
    document.layer("A");
    const LayerID layer = document.lastID();
    for (int run = 0; run < 20; ++run) {
        HistoryModel model(document.state(), 2 + random() % 8,
                           static_cast<std::int64_t>(random() % 12) * colorTileBytes);
        History history(document.state(), "Open", static_cast<std::int64_t>(model.maximumStates),
                        model.budget);
        double now = 0;
        for (int step = 0; step < 120; ++step) {
            const std::size_t dice = random() % 8;
            if (dice < 5) {
                DocumentState next = history.current();
                next.update(layer, [&](LayerNode& node) {
                    for (std::size_t count = random() % 4; count > 0; --count)
                        node.writePixelLayer()->pixels.set(
                            {static_cast<std::int32_t>(random() % 3), 0},
                            makeTestTile(document.store(), TileFormat::rgba16Float));
                });
                now += static_cast<double>(random() % 30) / 10;
                std::optional<std::string> key;
                if (random() % 4 != 0) key = random() % 2 == 0 ? "a" : "b";
                model.record(next, key, at(now));
                history.record(next, "Edit", key, at(now));
            } else if (dice == 5) {
                EXPECT_EQ(history.undo() != nullptr, model.undo());
            } else if (dice == 6) {
                EXPECT_EQ(history.redo() != nullptr, model.redo());
            } else {
                const auto index = static_cast<std::int64_t>(random() % 12) - 2;
                history.jump(index);
                model.jump(index);
            }
            ASSERT_EQ(history.count(), std::ssize(model.entries)) << "step " << step;
            ASSERT_EQ(history.currentIndex(), static_cast<std::int64_t>(model.current));
            ASSERT_EQ(history.retainedTotal(), model.total()) << "step " << step;
            for (std::size_t index = 0; index < model.entries.size(); ++index)
                ASSERT_EQ(history.entries()[index]->state, model.entries[index].state);
        }
    }
}

} // namespace ombrel
