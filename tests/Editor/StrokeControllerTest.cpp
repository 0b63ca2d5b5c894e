#include "Editor/StrokeController.h"

#include "Core/MaskTiles.h"
#include "Editor/StrokeFixture.h"
#include "Engine/StrokeCoverage.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ombrel {

namespace {

using Words = std::vector<std::string>;
using Names = std::vector<std::string>;

const PremultipliedColor red{1, 0, 0, 1};
const PremultipliedColor nothing{};

TestDocument painting() {
    TestDocument document({600, 400});
    document.layer("Back").filled(PremultipliedColor::white());
    document.layer("A").active();
    return document;
}

} // namespace

TEST(StrokeController, showsWhatIsPaintedAndMakesOneEntryOfIt) {
    StrokeFixture fixture(painting());
    fixture.down({50, 100});
    EXPECT_TRUE(*fixture.session->_isLiveEditing);
    fixture.settle();
    EXPECT_EQ(fixture.pixel("A", 50, 100), red) << "while the button is down";
    EXPECT_EQ(fixture.historyNames(), Names{"Open"});
    fixture.drag({300, 100});
    fixture.up({300, 100});
    fixture.settle();
    EXPECT_FALSE(*fixture.session->_isLiveEditing);
    EXPECT_FALSE(*fixture.session->_isBusy);
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool"}));
    EXPECT_EQ(fixture.pixel("A", 299, 100), red);
    EXPECT_EQ(fixture.pixel("A", 299, 130), nothing);
    EXPECT_EQ(fixture.pixel("Back", 299, 100), PremultipliedColor::white());
    EXPECT_EQ(fixture.state(), fixture.session->_history->current());
}

TEST(StrokeController, outsideTheCanvasNothingLandsInTheHistory) {
    TestDocument document = painting();
    document.offset(-300, -300); // the layer reaches there
    StrokeFixture fixture(document);
    const DocumentState before = fixture.state();
    fixture.stroke({-100, -100}, {-40, -20});
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), Names{"Open"});
    EXPECT_EQ(fixture.state(), before);
    // Over the edge, paint ends at the edge.
    fixture.stroke({-20, 50}, {5, 50});
    fixture.settle();
    EXPECT_EQ(fixture.pixel("A", 0, 50), red);
    EXPECT_EQ(fixture.pixel("A", -1, 50), nothing);
}

TEST(StrokeController, offsetsOfLayersMoveThePaintNot) {
    for (const PixelOffset offset : {PixelOffset{0, 0}, {37, -61}, {-1000, 512}, {100000, 7}}) {
        TestDocument document = painting();
        document.offset(offset.dx, offset.dy);
        StrokeFixture fixture(document);
        PixelRect told;
        fixture.canvas->setInvalidationInterceptor([&](CanvasPart part, const RealRect& rect) {
            if (part != CanvasPart::picture) return;
            told = unionOf(told, PixelRect::enclosing(rect.origin.x, rect.origin.y, rect.size.width,
                                                      rect.size.height));
        });
        fixture.stroke({250, 250}, {270, 250});
        fixture.settle();
        EXPECT_TRUE(told.contains({240, 240, 40, 20})) << told.text();
        EXPECT_TRUE(PixelRect::ofSize({600, 400}).contains(told)) << told.text();
        for (const auto& [x, color] :
             {std::pair{237, nothing}, {243, red}, {276, red}, {282, nothing}})
            EXPECT_EQ(fixture.pixel("A", x, 250), color) << x << " by " << offset.dx;
    }
}

TEST(StrokeController, isRefusedInTheWordsOfTheCase) {
    const auto refusal = [](const auto& change) {
        TestDocument document = painting();
        change(document);
        StrokeFixture fixture(document);
        const DocumentState before = fixture.state();
        fixture.stroke({50, 50}, {90, 50});
        fixture.settle();
        EXPECT_EQ(fixture.state(), before);
        EXPECT_EQ(fixture.historyNames(), Names{"Open"});
        return fixture.takeWords();
    };
    EXPECT_EQ(refusal([](TestDocument& document) { document.locked(LayerLocks::pixels); }),
              Words{"The layer “A” is locked."});
    EXPECT_EQ(refusal([](TestDocument& document) { document.hidden(); }),
              Words{"The layer “A” is hidden."});
    EXPECT_EQ(refusal([](TestDocument& document) { document.group("G").active(); }),
              Words{"Select a pixel layer first."});
    StrokeFixture fixture(painting());
    fixture.session->perform(queuedMark(7));
    fixture.stroke({50, 50}, {90, 50});
    EXPECT_EQ(fixture.takeWords(), Words{"Wait for the current operation to finish."});
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Mark 7"}));
}

TEST(StrokeController, strokesAndUndosAskedForInAHurryAllHappenInTheirOrder) {
    StrokeFixture fixture(painting());
    // Nothing is rendered in between.
    fixture.stroke({50, 50}, {90, 50});
    fixture.stroke({50, 150}, {90, 150});
    EXPECT_TRUE(fixture.session->takesUndo());
    fixture.session->undo();
    fixture.stroke({50, 250}, {90, 250});
    fixture.session->perform(mark(3));
    EXPECT_EQ(fixture.takeWords(), Words{});
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool", "Brush Tool", "Mark 3"}));
    EXPECT_EQ(fixture.pixel("A", 70, 50), red);
    EXPECT_EQ(fixture.pixel("A", 70, 150), nothing) << "the undo was of this one";
    EXPECT_EQ(fixture.pixel("A", 70, 250), red);
    EXPECT_EQ(fixture.session->_state->canvas.resolution, 3);
    EXPECT_FALSE(*fixture.session->_isBusy);
}

TEST(StrokeController, escapeAndALostToolTakeTheStrokeBackAndLaterOnesGoOn) {
    StrokeFixture fixture(painting());
    const DocumentState before = fixture.state();
    fixture.stroke({50, 50}, {90, 50}); // still being rendered
    fixture.down({50, 150});            // waits
    fixture.drag({90, 150});
    EXPECT_TRUE(fixture.canvas->keyDown(ToolKey::escape(), {}));
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool"}));
    EXPECT_EQ(fixture.pixel("A", 70, 150), nothing);
    fixture.down({50, 250});
    fixture.drag({90, 250});
    fixture.settle();
    EXPECT_EQ(fixture.pixel("A", 52, 250), red);
    fixture.drag({190, 250}); // a batch in flight
    fixture.canvas->keyDown(ToolKey::escape(), {});
    EXPECT_EQ(fixture.pixel("A", 52, 250), nothing);
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool"}));
    EXPECT_EQ(fixture.pixel("A", 52, 250), nothing);
    EXPECT_FALSE(*fixture.session->_isBusy);
    // A tool that drops its handle.
    const auto handle = fixture.canvas->beginStroke({.color = red}, "Lost");
    ASSERT_TRUE(handle);
    fixture.session->undo();
    const_cast<std::shared_ptr<StrokeHandle>&>(handle).reset();
    fixture.settle();
    EXPECT_EQ(fixture.state(), before) << "the undo that waited";
}

TEST(StrokeController, aReleaseThatWasLostEndsTheStroke) {
    StrokeFixture fixture(painting());
    fixture.down({50, 50});
    fixture.drag({90, 50});
    fixture.canvas->pointerMoved(fixture.at(300, 300));
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool"}));
    EXPECT_EQ(fixture.pixel("A", 88, 50), red);
    EXPECT_FALSE(fixture.brush().isPainting());
}

TEST(StrokeController, anotherToolChosenMeanwhileChangesNothing) {
    StrokeFixture fixture(painting());
    fixture.down({50, 50});
    fixture.use(ToolKind::eraser);
    fixture.drag({90, 50});
    fixture.up({90, 50});
    fixture.use(ToolKind::hand);
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool"}));
    EXPECT_EQ(fixture.pixel("A", 88, 50), red);
}

TEST(StrokeController, aStrokeWhoseLayerGoesBeforeItsTurnIsRefused) {
    StrokeFixture fixture(painting());
    const LayerID layer = *fixture.state().activeLayerID;
    fixture.stroke({50, 50}, {90, 50});
    fixture.session->perform(
        EditCommand{"Delete", [&](DocumentState& state, const CommandContext&) {
                        state.remove(layer);
                        state.activeLayerID.reset();
                        return CommandResult{};
                    }});
    fixture.stroke({50, 150}, {90, 150});
    fixture.settle();
    EXPECT_EQ(fixture.takeWords(), Words{"Select a pixel layer first."});
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool", "Delete"}));
    EXPECT_EQ(fixture.state(), fixture.session->_history->current());
    EXPECT_FALSE(*fixture.session->_isBusy);
}

TEST(StrokeController, goesOnWithoutItsCanvasAndEndsWithItsSession) {
    StrokeFixture fixture(painting());
    fixture.stroke({50, 50}, {90, 50});
    fixture.canvas.reset();
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool"}));
    EXPECT_EQ(fixture.pixel("A", 88, 50), red);

    for (int tasks = 0; tasks < 8; ++tasks) {
        StrokeFixture other(painting());
        other.stroke({50, 50}, {90, 50});
        other.stroke({50, 150}, {90, 150});
        other.down({50, 250});
        for (int i = 0; i < tasks && other.executors.worker.pending() > 0; ++i) {
            other.executors.worker.run();
            other.executors.main.runAll();
        }
        const std::weak_ptr<DocumentSession> session = other.session;
        other.canvas.reset();
        other.session.reset();
        other.settle();
        EXPECT_TRUE(session.expired());
    }
}

TEST(StrokeController, theFinalizerGetsTheCoverageOnTheCanvasAndTheStateBefore) {
    TestDocument document = painting();
    document.offset(37, -61);
    StrokeFixture fixture(document);
    const DocumentState before = fixture.state();
    const auto handle = fixture.canvas->beginStroke({.color = red}, "Finish");
    ASSERT_TRUE(handle);
    const BrushDab dab{.x = 300, .y = 200, .radius = 10};
    handle->extend(std::span(&dab, 1));
    StrokeCoverage seen;
    handle->setFinalizer([&](DocumentState state, const StrokeCoverage* coverage) {
        EXPECT_EQ(state, before);
        if (coverage != nullptr) seen = *coverage;
        state.canvas.resolution = 17;
        return state;
    });
    fixture.session->undo();
    fixture.session->redo();
    fixture.settle();
    EXPECT_EQ(fixture.state().canvas.resolution, 17);
    EXPECT_EQ(fixture.pixel("A", 300, 200), nothing);
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Finish"}));
    ASSERT_TRUE(seen.rect.contains({290, 190, 20, 20})) << seen.rect.text();
    EXPECT_TRUE(PixelRect::ofSize({600, 400}).contains(seen.rect));
    const auto at = [&](std::int64_t x, std::int64_t y) {
        return seen
            .bytes[static_cast<std::size_t>((y - seen.rect.y) * seen.rect.width + x - seen.rect.x)];
    };
    EXPECT_EQ(at(300, 200), 255);
    EXPECT_EQ(at(315, 200), 0);
}

TEST(StrokeController, onAMaskTheEraserPaintsTheBackgroundColour) {
    for (const float background : {0.0f, 1.0f}) {
        TestDocument document({600, 400});
        document.layer("A").filled(red).offset(50, 60).mask(background).maskOffset(-13, 200);
        document.active();
        StrokeFixture fixture(document);
        fixture.session->_maskTargetID = fixture.state().activeLayerID;
        fixture.session->colors =
            PaintColors{PremultipliedColor::black(), PremultipliedColor::white()};
        const TileGrid pixels = fixture.nodeNamed("A").pixelLayer()->pixels;
        fixture.stroke({250, 250}, {270, 250}); // the brush hides
        fixture.settle();
        const int outside = static_cast<int>(background * 255);
        EXPECT_EQ(fixture.maskValue("A", 260, 250), 0);
        EXPECT_EQ(fixture.maskValue("A", 260, 290), outside);
        fixture.use(ToolKind::eraser);
        fixture.brush(ToolKind::eraser).options().set(fixture.brush().options().get());
        fixture.stroke({250, 350}, {270, 350}); // the eraser reveals
        fixture.settle();
        EXPECT_EQ(fixture.maskValue("A", 260, 350), 255);
        EXPECT_EQ(fixture.maskValue("A", 260, 250), 0);
        EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Brush Tool", "Eraser Tool"}));
        EXPECT_EQ(fixture.nodeNamed("A").pixelLayer()->pixels, pixels);
    }
}

TEST(StrokeController, paintOnAMaskIsTheSameGreyAsOnItsPicture) {
    TestDocument document({600, 400});
    document.layer("A").filled(red).mask(1).active();
    StrokeFixture fixture(document);
    fixture.session->_maskTargetID = fixture.state().activeLayerID;
    for (const PremultipliedColor color :
         {red, PremultipliedColor{0, 1, 0, 1}, PremultipliedColor{0.2f, 0.5f, 0.9f, 1}}) {
        fixture.session->colors = PaintColors{color, color};
        fixture.stroke({250, 250}, {270, 250});
        fixture.settle();
        EXPECT_EQ(fixture.maskValue("A", 260, 250),
                  std::lround(255 * MaskTiles::valueOf(color, 1)));
    }
}

// The order in which tasks run, and what is asked for while they do, is left to chance.
TEST(StrokeController, randomStrokesUndosAndEscapesLeaveAHistoryThatLeadsBack) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (int round = 0; round < 30; ++round) {
        StrokeFixture fixture(painting());
        const DocumentState before = fixture.state();
        int strokes = 0;
        bool isDown = false;
        const auto point = [&] {
            return RealPoint{static_cast<double>(random() % 700),
                             static_cast<double>(random() % 500)};
        };
        for (int step = 0; step < 60; ++step) {
            switch (random() % 8) {
            case 0:
            case 1:
                if (!isDown) fixture.down({static_cast<double>(random() % 600), 200});
                isDown = true;
                break;
            case 2:
            case 3:
                if (std::exchange(isDown, false)) {
                    fixture.up(point());
                    ++strokes;
                }
                break;
            case 4:
                if (isDown) fixture.drag(point());
                break;
            case 5:
                if (random() % 4 == 0 && std::exchange(isDown, false))
                    fixture.canvas->keyDown(ToolKey::escape(), {});
                break;
            case 6:
                if (random() % 4 == 0 && fixture.session->takesUndo()) {
                    fixture.session->undo();
                    fixture.session->redo();
                }
                break;
            default:
                fixture.executors.step(random);
            }
        }
        if (isDown) {
            fixture.up(point());
            ++strokes;
        }
        fixture.settle();
        EXPECT_EQ(fixture.takeWords(), Words{}) << "none is refused";
        ASSERT_EQ(fixture.session->_history->count(), strokes + 1);
        EXPECT_EQ(fixture.state(), fixture.session->_history->current());
        while (fixture.session->canUndo())
            fixture.session->undo();
        EXPECT_EQ(fixture.state(), before);
    }
}

} // namespace ombrel
