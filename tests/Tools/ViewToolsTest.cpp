#include "Core/ViewMapping.h"
#include "Tools/EyedropperTool.h"
#include "Tools/RotateViewTool.h"
#include "Tools/ViewNavigation.h"
#include "Tools/ZoomTool.h"
#include "support/FakeToolContext.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

PointerSample atView(double x, double y, ToolModifiers modifiers = {}, std::int64_t clicks = 1) {
    return {.location = {}, .viewLocation = {x, y}, .modifiers = modifiers, .clickCount = clicks};
}

void click(Tool& tool, FakeToolContext& canvas, const PointerSample& sample) {
    tool.pointerDown(sample, canvas);
    tool.pointerUp(sample, canvas);
}

} // namespace

TEST(ZoomTool, stepsByClicksAndScrubsByDrags) {
    FakeToolContext canvas;
    canvas.scaleOfContents = 2;
    canvas.view.scale = 0.5; // a screen pixel each
    ZoomTool tool;
    const RealPoint at{90, 30};
    const RealPoint kept = documentPoint(canvas.view, at);
    click(tool, canvas, atView(at.x, at.y));
    EXPECT_DOUBLE_EQ(canvas.view.scale, 0.75);
    click(tool, canvas, atView(at.x, at.y, ToolModifiers::option));
    EXPECT_DOUBLE_EQ(canvas.view.scale, 0.5);
    tool.pointerDown(atView(at.x, at.y), canvas);
    tool.pointerDragged(atView(at.x + 100, at.y), canvas);
    EXPECT_DOUBLE_EQ(canvas.view.scale, 1) << "doubled in a hundred points";
    EXPECT_NEAR(documentPoint(canvas.view, at).x, kept.x, 1e-9);
    tool.cancelGesture(canvas);
    EXPECT_DOUBLE_EQ(canvas.view.scale, 0.5);
    tool.pointerUp(atView(at.x + 100, at.y), canvas);
    EXPECT_DOUBLE_EQ(canvas.view.scale, 0.5);
}

TEST(RotateViewTool, turnsAboutTheMiddle) {
    FakeToolContext canvas; // 400 x 300
    canvas.view.center = {7, 9};
    RotateViewTool tool;
    tool.pointerDown(atView(300, 150), canvas);
    tool.pointerDragged(atView(200, 250), canvas);
    EXPECT_NEAR(canvas.view.rotation, std::numbers::pi / 2, 1e-9) << "clockwise";
    EXPECT_NEAR(canvas.view.center.x, 7, 1e-9);
    tool.pointerDragged(atView(300, 150 + 100 * std::tan(0.3), ToolModifiers::shift), canvas);
    EXPECT_NEAR(canvas.view.rotation, std::numbers::pi / 12, 1e-9);
    EXPECT_TRUE(tool.keyDown(ToolKey::escape(), {}, canvas));
    EXPECT_EQ(canvas.view.rotation, 0) << "as before the drag";

    canvas.view.rotation = 1;
    click(tool, canvas, atView(10, 10, {}, 2));
    EXPECT_EQ(canvas.view.rotation, 0);
    canvas.view.rotation = 1;
    EXPECT_TRUE(tool.keyDown(ToolKey::escape(), {}, canvas));
    EXPECT_EQ(canvas.view.rotation, 0);
}

TEST(ViewNavigation, goesThroughRoundMagnificationsBothWays) {
    double magnification = ViewNavigation::minimumMagnification;
    std::vector<double> way{magnification};
    while (magnification < ViewNavigation::maximumMagnification)
        way.push_back(magnification = ViewNavigation::magnificationAbove(magnification));
    EXPECT_NE(std::ranges::find(way, 1.0), way.end());
    for (std::size_t i = way.size() - 1; i > 0; --i)
        EXPECT_EQ(ViewNavigation::magnificationBelow(way[i]), way[i - 1]);
    EXPECT_EQ(ViewNavigation::magnificationAbove(0.9999999), 1.5) << "that was 1 but for rounding";
    EXPECT_EQ(ViewNavigation::magnificationAbove(0.9), 1);
}

namespace {

/// Blending by the curves rounds in the last place.
void expectGray(const PremultipliedColor& color, float value) {
    EXPECT_NEAR(color.red, value, 1e-6f);
    EXPECT_EQ(color.red, color.green);
    EXPECT_EQ(color.red, color.blue);
    EXPECT_EQ(color.alpha, 1);
}

struct EyedropperToolTest : ::testing::Test {
    EyedropperToolTest() {
        // Below, columns of brightness 0, 1/8, 2/8, ...; above, half of it covered by a half red.
        document.layer("columns").painted({0, 0, 8, 8}, [](int x, int) {
            const float value = static_cast<float>(x) / 8;
            return PremultipliedColor{value, value, value, 1};
        });
        document.layer("veil").filled({0, 4, 8, 4}, {0.5f, 0, 0, 0.5f}).active();
        canvas.state = document.state();
        tool.onPick = [this](PaintSlot slot, const PremultipliedColor& color) {
            (slot == PaintSlot::foreground ? canvas.foreground : canvas.background) = color;
        };
    }
    PremultipliedColor picked(double x, double y, ToolModifiers modifiers = {}) {
        canvas.foreground = PremultipliedColor::transparent();
        click(tool, canvas, {.location = {x, y}, .viewLocation = {}, .modifiers = modifiers});
        return canvas.foreground;
    }

    TestDocument document{{8, 8}};
    FakeToolContext canvas;
    EyedropperTool tool;
};

} // namespace

TEST_F(EyedropperToolTest, picksPixelsAndMeansOfSquares) {
    expectGray(picked(2.9, 0.5), 0.25f);
    tool.setSettings({.sampleSide = 3});
    expectGray(picked(4, 1), 0.5f);
    expectGray(picked(0, 0), 1.0f / 16); // only what lies on the canvas counts
    EXPECT_EQ(picked(-5, 0), PremultipliedColor::transparent()) << "nothing there";
    tool.setSettings({.sampleSide = 90});
    EXPECT_EQ(tool.settings().sampleSide, 101) << "the nearest that is offered";
}

TEST_F(EyedropperToolTest, looksAtAllLayersOrTheActiveOne) {
    const PremultipliedColor merged = picked(4, 6);
    EXPECT_GT(merged.red, merged.green);
    EXPECT_GT(merged.green, 0);
    tool.setSettings({.sampleSide = 1, .source = EyedropperTool::Source::activeLayer});
    EXPECT_EQ(picked(4, 6), (PremultipliedColor{1, 0, 0, 1})) << "without its transparency";
    EXPECT_EQ(picked(4, 1), PremultipliedColor::transparent()) << "the layer has nothing there";
    tool.setSettings({});
    picked(4, 1, ToolModifiers::option);
    expectGray(canvas.background, 0.5f);
    EXPECT_EQ(canvas.foreground, PremultipliedColor::transparent());
}

TEST_F(EyedropperToolTest, restoresOnlyWhatItUnderstands) {
    tool.restoreSettings(Json{{"sampleSide", 52}, {"source", "elsewhere"}});
    EXPECT_EQ(tool.settings(), (EyedropperTool::Settings{51, EyedropperTool::Source::allLayers}));
    tool.restoreSettings(Json{{"sampleSide", "5"}, {"source", "activeLayer"}});
    EXPECT_EQ(tool.settings(), (EyedropperTool::Settings{51, EyedropperTool::Source::activeLayer}));
}

} // namespace ombrel
