#include "Commands/LayerPropertyCommands.h"
#include "Editor/CanvasFixture.h"
#include "Tools/ViewNavigation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

using Events = std::vector<std::string>;
using enum ToolKind;

constexpr PremultipliedColor red{1, 0, 0, 1};

TestDocument squares() {
    TestDocument document({200, 150});
    document.layer("ground").filled({1, 1, 1, 1}).locked();
    document.layer("left").filled({10, 10, 40, 40}, red).active();
    document.layer("right").filled({100, 10, 40, 40}, {0, 1, 0, 1});
    return document;
}

struct CanvasControl : ::testing::Test {
    CanvasControl() : document(squares()), fixture(document.state(), {brush, pencil}) {}

    TestDocument document;
    CanvasFixture fixture;
    CanvasController& canvas = *fixture.canvas;
    DocumentSession& session = *fixture.session;
};

} // namespace

TEST_F(CanvasControl, aGestureStaysWithTheToolThatTookThePress) {
    canvas.pointerDown(fixture.at(5, 5));
    session.setTool(pencil);
    EXPECT_EQ(canvas.activeTool()->kind(), brush);
    canvas.pointerDragged(fixture.at(9, 9));
    PointerEvent other = fixture.at(9, 9);
    other.button = PointerButton::middle;
    canvas.pointerDown(other);
    canvas.pointerUp(other);
    canvas.pointerUp(fixture.at(9, 9));
    EXPECT_EQ(fixture.takeEvents(),
              (Events{"brush down", "brush drag", "brush up", "brush gone", "brush left"}));
    canvas.pointerDown(fixture.at(5, 5));
    EXPECT_EQ(fixture.takeEvents(), Events{"pencil down"});

    session.setTool(brush);
    session.setTool(pencil);
    canvas.cancelGesture();
    EXPECT_EQ(fixture.takeEvents(), Events{"pencil cancelled"}) << "it was never left";
    canvas.pointerUp(fixture.at(5, 5));
    EXPECT_TRUE(fixture.takeEvents().empty());
}

TEST_F(CanvasControl, aReleaseThatWentElsewhereEndsTheGesture) {
    canvas.pointerDown(fixture.at(5, 5));
    canvas.pointerMoved(fixture.at(6, 6));
    EXPECT_FALSE(canvas.isGestureActive());
    canvas.pointerDown(fixture.at(5, 5));
    canvas.pointerDown(fixture.at(6, 6));
    canvas.pointerUp(fixture.at(6, 6));
    EXPECT_EQ(fixture.takeEvents(),
              (Events{"brush down", "brush cancelled", "brush moved", "brush down",
                      "brush cancelled", "brush down", "brush up"}));
}

TEST_F(CanvasControl, aPenGivesPressureAndAMouseOnlyWhileAPenIsNear) {
    PointerEvent event = fixture.at(5, 5);
    event.pressure = 0.3f;
    event.tilt = {0.5, -0.25};
    event.rotation = 40;
    const auto sample = [&] {
        fixture.drag(event, event);
        return fixture.scripted(brush).last;
    };
    EXPECT_EQ(sample().pressure, 1.0f);
    EXPECT_EQ(sample().tilt, RealPoint{});
    EXPECT_EQ(sample().rotation, 0);
    EXPECT_EQ(sample().device, PointerDevice::mouse);
    canvas.penProximity(true, PointerDevice::eraser);
    EXPECT_EQ(sample().pressure, 0.3f);
    EXPECT_EQ(sample().device, PointerDevice::mouse);
    event.isTablet = true;
    EXPECT_EQ(sample().device, PointerDevice::eraser);
    EXPECT_EQ(sample().tilt, (RealPoint{0.5, -0.25}));
    EXPECT_EQ(sample().rotation, 40);
    canvas.penProximity(false, PointerDevice::eraser);
    EXPECT_EQ(sample().pressure, 0.3f) << "a tablet's own point has its pressure always";
    event.isTablet = false;
    EXPECT_EQ(sample().pressure, 1.0f);
}

TEST_F(CanvasControl, mapsViewPointsToTheDocumentAndBack) {
    canvas.setViewTransform({.center = {60, 40}, .scale = 2, .rotation = std::numbers::pi / 2});
    const ViewTransform view = canvas.viewTransform();
    EXPECT_EQ(view.viewportSize, (ViewTransform::Size{400, 300})) << "the viewport is the view's";
    // A quarter turn: what lies to the right in the document lies below in the view.
    const RealPoint below = viewPoint(view, {70, 40});
    EXPECT_NEAR(below.x, 200, 1e-9);
    EXPECT_NEAR(below.y, 170, 1e-9);
    fixture.drag({.viewLocation = {200, 170}}, {.viewLocation = {200, 170}});
    EXPECT_NEAR(fixture.scripted(brush).last.location.x, 70, 1e-9);
    EXPECT_NEAR(fixture.scripted(brush).last.location.y, 40, 1e-9);
    for (const double rotation : {0.0, 0.3, -2.0, 3.1}) {
        canvas.setViewTransform({.center = {13, 27}, .scale = 0.37, .rotation = rotation});
        const RealPoint there = viewPoint(canvas.viewTransform(), {123.5, -17.25});
        const RealPoint back = documentPoint(canvas.viewTransform(), there);
        EXPECT_NEAR(back.x, 123.5, 1e-9);
        EXPECT_NEAR(back.y, -17.25, 1e-9);
    }
}

TEST_F(CanvasControl, spaceLendsTheHandAndWithCommandTheZoomTool) {
    EXPECT_EQ(canvas.cursor(), ToolCursor::crosshair);
    canvas.holdSpace({});
    EXPECT_EQ(canvas.cursor(), ToolCursor::handOpen);
    const ViewTransform before = canvas.viewTransform();
    fixture.drag({.viewLocation = {50, 50}}, {.viewLocation = {60, 70}});
    EXPECT_NEAR(canvas.viewTransform().center.x, before.center.x - 10 / before.scale, 1e-9);
    EXPECT_NEAR(canvas.viewTransform().center.y, before.center.y - 20 / before.scale, 1e-9);

    const double scale = canvas.viewTransform().scale;
    canvas.modifiersChanged(ToolModifiers::command);
    EXPECT_EQ(canvas.cursor(), ToolCursor::zoomIn);
    PointerEvent click{.viewLocation = {80, 80}, .modifiers = ToolModifiers::command};
    fixture.drag(click, click);
    EXPECT_GT(canvas.viewTransform().scale, scale);
    click.modifiers = ToolModifiers::command | ToolModifiers::option;
    canvas.modifiersChanged(click.modifiers);
    EXPECT_EQ(canvas.cursor(), ToolCursor::zoomOut);
    fixture.drag(click, click);
    EXPECT_NEAR(canvas.viewTransform().scale, scale, 1e-9);

    canvas.releaseSpace({});
    EXPECT_EQ(canvas.cursor(), ToolCursor::crosshair);
    EXPECT_EQ(*session._activeTool, brush) << "nothing was switched";
}

TEST_F(CanvasControl, spaceWithinAGestureIsABitForItsTool) {
    canvas.pointerDown(fixture.at(5, 5, ToolModifiers::shift));
    canvas.holdSpace(ToolModifiers::shift);
    EXPECT_EQ(fixture.scripted(brush).lastModifiers, ToolModifiers::shift | ToolModifiers::heldKey);
    canvas.pointerDragged(fixture.at(6, 6));
    EXPECT_EQ(fixture.scripted(brush).last.modifiers, ToolModifiers::heldKey);
    canvas.pointerUp(fixture.at(6, 6));
    EXPECT_EQ(canvas.cursor(), ToolCursor::handOpen);
    canvas.keyboardLeft();
    EXPECT_EQ(canvas.cursor(), ToolCursor::crosshair);
}

TEST_F(CanvasControl, aLetterSwitchesAndSpringsBackIfItWasUsed) {
    const ToolKey v = ToolKey::character("v");
    EXPECT_TRUE(canvas.keyDown(v, {}));
    EXPECT_EQ(*session._activeTool, move);
    canvas.keyUp(v, {});
    EXPECT_EQ(*session._activeTool, move) << "tapped, it stays";

    const ToolKey h = ToolKey::character("h");
    canvas.keyDown(h, {});
    canvas.keyDown(h, {}); // repeats
    fixture.drag({.viewLocation = {5, 5}}, {.viewLocation = {9, 9}});
    EXPECT_EQ(*session._activeTool, hand);
    canvas.keyUp(h, {});
    EXPECT_EQ(*session._activeTool, move) << "used, it goes back";

    canvas.keyDown(ToolKey::character("b"), {});
    canvas.keyUp(ToolKey::character("b"), {});
    canvas.keyDown(ToolKey::character("B"), {});
    EXPECT_EQ(*session._activeTool, pencil) << "the next of the letter's tools";
    EXPECT_FALSE(canvas.keyDown(v, ToolModifiers::command));
    fixture.scripted(pencil).takesKeys = true;
    canvas.keyDown(v, {});
    EXPECT_EQ(*session._activeTool, pencil) << "the tool used the key";
    fixture.scripted(pencil).takesKeys = false;
    session._isEditingType = true;
    EXPECT_FALSE(canvas.keyDown(v, {}));
    EXPECT_FALSE(canvas.holdSpace({}));
}

TEST_F(CanvasControl, hoverFollowsTheToolThatIsThere) {
    canvas.pointerMoved(fixture.at(5, 5));
    session.setTool(pencil);
    canvas.pointerLeft();
    EXPECT_EQ(fixture.takeEvents(),
              (Events{"brush moved", "brush gone", "brush left", "pencil moved", "pencil left"}));
    EXPECT_FALSE(fixture.host.pointer);
}

TEST_F(CanvasControl, fitsTheDocumentUntilSomebodyLooksElsewhere) {
    CanvasNavigation& navigation = canvas.navigation();
    EXPECT_EQ(navigation.magnification(), 1) << "a small document is first shown as it is";
    navigation.zoomToFit();
    EXPECT_GT(navigation.magnification(), 1);
    const double fitted = navigation.magnification();
    canvas.setViewport({800, 600}, 1);
    EXPECT_GT(navigation.magnification(), fitted);
    navigation.actualPixels();
    canvas.setViewport({400, 300}, 2);
    EXPECT_EQ(navigation.magnification(), 2) << "the scale in points stays";
    navigation.actualPixels();
    EXPECT_EQ(canvas.viewTransform().scale, 0.5) << "a pixel of the screen each";

    navigation.panBy({1e7, -1e7});
    const RealRect seen = navigation.visibleBounds();
    EXPECT_LT(seen.origin.x, 200) << "some of the canvas stays in view";
    EXPECT_GT(seen.origin.x + seen.size.width, 0);
    EXPECT_GT(seen.origin.y + seen.size.height, 0);
    EXPECT_LT(seen.origin.y, 150);
    for (int i = 0; i < 60; ++i)
        navigation.zoomIn();
    EXPECT_EQ(navigation.magnification(), ViewNavigation::maximumMagnification);
    for (int i = 0; i < 90; ++i)
        navigation.zoomOut();
    EXPECT_EQ(navigation.magnification(), ViewNavigation::minimumMagnification);
    canvas.setViewTransform({.center = {NAN, 0}, .scale = 0, .rotation = INFINITY});
    EXPECT_TRUE(std::isfinite(canvas.viewTransform().center.x));
    EXPECT_GT(canvas.viewTransform().scale, 0);
}

TEST_F(CanvasControl, zoomsAboutThePointOfTheView) {
    const RealPoint at{150, 170};
    canvas.setViewTransform({.center = {60, 40}, .scale = 1.3, .rotation = 0.4});
    const RealPoint kept = documentPoint(canvas.viewTransform(), at);
    canvas.pinched(1.7, at);
    canvas.wheelTurned({0, 2}, at, {});
    canvas.rotated(0.9, at);
    const RealPoint still = documentPoint(canvas.viewTransform(), at);
    EXPECT_NEAR(still.x, kept.x, 1e-9);
    EXPECT_NEAR(still.y, kept.y, 1e-9);
}

namespace {

/// What pixelTarget answers for the active layer, and in which words it refuses.
struct Answer {
    bool isGiven;
    Events told;
};

Answer ask(CanvasFixture& fixture, LayerLocks locks) {
    Answer answer{false, {}};
    answer.isGiven = fixture.canvas->pixelTarget(locks).has_value();
    answer.told = fixture.host.takeLog();
    return answer;
}

} // namespace

TEST(CanvasPixelTarget, refusesInOrderAndInTheseWords) {
    TestDocument document({100, 100});
    document.layer("Paper").filled(red).locked(LayerLocks::pixels).hidden().mask();
    const LayerID paper = document.lastID();
    CanvasFixture fixture(document.state());
    DocumentSession& session = *fixture.session;
    EXPECT_EQ(ask(fixture, LayerLocks::pixels).told,
              (Events{"beep", "Select a pixel layer first."}));

    session.setActiveLayer(paper);
    EXPECT_EQ(ask(fixture, LayerLocks::pixels).told,
              (Events{"beep", "The layer “Paper” is hidden."}));
    session._maskTargetID = paper;
    session.setTool(crop);
    EXPECT_EQ(ask(fixture, LayerLocks::pixels).told,
              (Events{"beep",
                      "Masks are edited with the Brush, Pencil, Eraser, Paint Bucket and Gradient "
                      "tools. Click the layer thumbnail to edit its pixels."}));
    session.setTool(gradient);
    EXPECT_EQ(ask(fixture, LayerLocks::pixels).told,
              (Events{"beep", "The layer “Paper” is hidden."}));

    session.perform(SetLayersVisibilityCommand{{{paper, true}}});
    EXPECT_EQ(ask(fixture, LayerLocks::pixels).told,
              (Events{"beep", "The layer “Paper” is locked."}));
    EXPECT_TRUE(ask(fixture, LayerLocks::position).isGiven);
    EXPECT_EQ(fixture.canvas->editTargetLayer(), paper);
}

TEST(CanvasPixelTarget, offersToRasterizeShapesAndType) {
    TestDocument document({100, 100});
    document.layer("Star").filled(red).active();
    const LayerID star = document.lastID();
    DocumentState state = document.state();
    state.update(star, [](LayerNode& node) { node.writePixelLayer()->shape = ShapeContent{}; });
    CanvasFixture fixture(state);
    EXPECT_FALSE(fixture.canvas->pixelTarget(LayerLocks::pixels)) << "no plain pixels";
    fixture.host.takeLog();

    fixture.host.answer = 1;
    EXPECT_FALSE(fixture.canvas->preparePixelEdit(LayerLocks::pixels));
    EXPECT_EQ(fixture.host.questions.back(),
              (CanvasQuestion{"Rasterize the shape layer “Star”?",
                              "This tool paints pixels, so the layer must become a pixel layer "
                              "first. Its shape will no longer be editable.",
                              {"Rasterize", "Cancel"}}));
    EXPECT_FALSE(fixture.session->canUndo());
    fixture.host.answer = 0;
    EXPECT_TRUE(fixture.canvas->preparePixelEdit(LayerLocks::pixels));
    EXPECT_FALSE(fixture.layer(star).isLive());
    EXPECT_TRUE(fixture.canvas->preparePixelEdit(LayerLocks::pixels));
    EXPECT_EQ(fixture.host.questions.size(), 2U) << "a plain layer is not asked about";

    state.update(star, [](LayerNode& node) {
        node.writePixelLayer()->shape = {};
        node.writePixelLayer()->text = TextContent{};
    });
    CanvasFixture type(state);
    type.canvas->preparePixelEdit(LayerLocks::pixels);
    EXPECT_EQ(type.host.questions.back().title, "Rasterize the type layer “Star”?");
    EXPECT_TRUE(type.host.questions.back().text.ends_with("Its text will no longer be editable."));
}

TEST_F(CanvasControl, refusesWhatMustWaitForOperations) {
    session.perform(queuedMark(3));
    EXPECT_FALSE(canvas.requireIdle());
    EXPECT_EQ(fixture.host.takeLog(),
              (Events{"beep", "Wait for the current operation to finish."}));
    session.setTool(move);
    fixture.drag(fixture.at(20, 20), fixture.at(60, 60));
    EXPECT_EQ(fixture.host.takeLog(),
              (Events{"beep", "Wait for the current operation to finish."}));
    bool isDone = false;
    canvas.performAfterQueue(mark(7), [&] { isDone = true; });
    EXPECT_FALSE(isDone);
    EXPECT_EQ(fixture.settled(), 7);
    EXPECT_TRUE(isDone);
    EXPECT_TRUE(canvas.requireIdle());
}

TEST_F(CanvasControl, endsOnlyTheLiveEditThatItBegan) {
    session.beginLive();
    canvas.editLive([](DocumentState& state) { state.canvas.resolution = 5; });
    EXPECT_NE(fixture.markShown(), 5) << "somebody else's";
    canvas.commitLive("Mine");
    canvas.cancelLive();
    EXPECT_TRUE(*session._isLiveEditing);
    session.cancelLive();

    const double before = fixture.markShown();
    canvas.editLive([](DocumentState& state) { state.canvas.resolution = 5; });
    canvas.close();
    EXPECT_FALSE(*session._isLiveEditing);
    EXPECT_EQ(fixture.markShown(), before);
}

TEST_F(CanvasControl, chosenLayersFollowTheActiveOne) {
    session.setTool(move);
    const LayerID left = document.id("left");
    const LayerID right = document.id("right");
    fixture.drag(fixture.at(110, 20), fixture.at(110, 20));
    EXPECT_EQ(session._state->activeLayerID, right);
    EXPECT_EQ(*session._selectedLayerIDs, std::set{right});
    fixture.drag(fixture.at(20, 20, ToolModifiers::shift),
                 fixture.at(20, 20, ToolModifiers::shift));
    EXPECT_EQ(*session._selectedLayerIDs, (std::set{left, right}));
    fixture.drag(fixture.at(80, 120), fixture.at(80, 120));
    EXPECT_EQ(*session._selectedLayerIDs, (std::set{left, right}))
        << "a fully locked layer is looked through";
    EXPECT_FALSE(session.canUndo()) << "choosing is no edit";
}

TEST_F(CanvasControl, movesTheSelectedLayersInOneStep) {
    session.setTool(move);
    const DocumentState before = *session._state;
    const LayerID left = document.id("left");
    canvas.pointerDown(fixture.at(20, 20));
    for (int i = 1; i <= 9; ++i)
        canvas.pointerDragged(fixture.at(20 + i * 1.5, 20 - i));
    EXPECT_TRUE(*session._isLiveEditing);
    session.undo();
    EXPECT_EQ(fixture.layer(left).offset, (PixelOffset{14, -9}));
    canvas.pointerUp(fixture.at(34, 11));
    EXPECT_FALSE(*session._isLiveEditing);
    EXPECT_EQ(session.undoName(), "Move");
    const DocumentState moved = *session._state;
    session.undo();
    EXPECT_EQ(*session._state, before);
    session.redo();
    EXPECT_EQ(*session._state, moved);
    EXPECT_EQ(session._history->count(), 2);

    canvas.pointerDown(fixture.at(30, 20));
    canvas.pointerDragged(fixture.at(90, 90));
    EXPECT_TRUE(canvas.keyDown(ToolKey::escape(), {}));
    canvas.pointerUp(fixture.at(90, 90));
    EXPECT_EQ(*session._state, moved);
    EXPECT_EQ(session._history->count(), 2);
}

TEST_F(CanvasControl, keepsTheSettingsOfToolsAmongTheUsers) {
    auto& eyedropper = fixture.tool<EyedropperTool>(ToolKind::eyedropper);
    eyedropper.setSettings({30, EyedropperTool::Source::activeLayer});
    EXPECT_EQ(fixture.settings.json("toolSettings.v1.eyedropper"),
              (Json{{"sampleSide", 31}, {"source", "activeLayer"}}));
    canvas.close();
    fixture.open(*session._state, ToolRegistry::makeTools());
    RecordingHost host;
    const auto other = CanvasController::create(fixture.session, host, fixture.settings);
    EXPECT_EQ(fixture.tool<EyedropperTool>(ToolKind::eyedropper).settings(), eyedropper.settings());
}

TEST_F(CanvasControl, theEyedropperPaintsIntoTheSessionsColours) {
    session.setTool(eyedropper);
    int told = 0;
    const Connection telling = session.colors.onChange([&](const PaintColors&) { ++told; });
    fixture.drag(fixture.at(20, 20), fixture.at(110, 20));
    EXPECT_EQ(session.colors->foreground, (PremultipliedColor{0, 1, 0, 1}));
    EXPECT_EQ(session.colors->background, PremultipliedColor::white());
    EXPECT_EQ(told, 2) << "it follows the drag";
    const ToolModifiers option = ToolModifiers::option;
    fixture.drag(fixture.at(20, 20, option), fixture.at(20, 20, option));
    EXPECT_EQ(session.colors->background, red);
    canvas.pointerDown(fixture.at(20, 20));
    canvas.cancelGesture();
    EXPECT_EQ(session.colors->foreground, (PremultipliedColor{0, 1, 0, 1})) << "given back";
    EXPECT_FALSE(session.canUndo());
}

} // namespace ombrel
