#include "Tools/BrushTool.h"
#include "Tools/BuiltInBrushes.h"
#include "support/FakeToolContext.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

namespace ombrel {

namespace {

using Log = std::vector<std::string>;
using Clock = PaintingInput::Clock;

PointerSample at(double x, double y, ToolModifiers modifiers = {}, float pressure = 1) {
    return {
        .location = {x, y}, .viewLocation = {x, y}, .pressure = pressure, .modifiers = modifiers};
}

struct BrushToolTest : ::testing::Test {
    BrushToolTest() {
        brush.setDynamicsSeed(7);
        brush.options().update([](BrushSettings& settings) { settings.smoothing = 0; });
        brush.now = [this] { return time; };
    }

    void stroke(BrushTool& tool, const std::vector<PointerSample>& samples) {
        tool.pointerDown(samples.front(), canvas);
        for (std::size_t i = 1; i < samples.size(); ++i)
            tool.pointerDragged(samples[i], canvas);
        tool.pointerUp(samples.back(), canvas);
    }
    const std::vector<BrushDab>& dabs() const { return canvas.strokes.back().dabs; }
    void key(const ToolKey& key, ToolModifiers modifiers = {}) {
        EXPECT_TRUE(brush.keyDown(key, modifiers, canvas));
    }

    FakeToolContext canvas;
    BrushTool brush{ToolKind::brush};
    Clock::time_point time{};
};

} // namespace

TEST_F(BrushToolTest, paintsFromPressToReleaseAndEndsTheStrokeOnce) {
    canvas.foreground = {0.5F, 0.25F, 0, 1};
    brush.options().update([](BrushSettings& settings) {
        settings.opacity = 0.5;
        settings.blend = PaintBlend{PaintBlend::Behind{}};
        settings.size = 20;
        settings.spacing = 0.5;
    });
    stroke(brush, {at(0, 0), at(50, 0), at(100, 0)});
    ASSERT_EQ(canvas.strokes.size(), 1U);
    const FakeToolContext::Stroke& painted = canvas.strokes.front();
    EXPECT_EQ(painted.ends, 1);
    EXPECT_EQ(painted.style.color, canvas.foreground);
    EXPECT_EQ(painted.style.opacity, 0.5F);
    EXPECT_EQ(painted.style.spacing, 0.5F);
    EXPECT_EQ(painted.style.blend, PaintBlend{PaintBlend::Behind{}});
    ASSERT_EQ(painted.dabs.size(), 11U);
    EXPECT_EQ(painted.dabs.back().x, 100);
    EXPECT_EQ(painted.dabs.back().radius, 10);
    EXPECT_EQ(canvas.log, Log{"begin Brush Tool"});
    stroke(brush, {at(0, 0), at(50, 0), at(100, 0)});
    EXPECT_EQ(dabs(), canvas.strokes.front().dabs) << "the same seed";
}

TEST_F(BrushToolTest, pencilAndEraserDifferAsTheyShould) {
    BrushTool pencil(ToolKind::pencil);
    pencil.options().setTip(BuiltInBrushes::tip(BuiltInBrushes::tipIDs()[0]));
    stroke(pencil, {at(0.2, 0), at(5, 0), at(10, 0)});
    EXPECT_EQ(canvas.strokes.back().style.tip, nullptr);
    EXPECT_FALSE(canvas.strokes.back().style.spacing);
    EXPECT_TRUE(dabs().front().aliased);
    EXPECT_EQ(dabs().front().radius, 0.5F);
    EXPECT_NEAR(dabs()[1].x - dabs()[0].x, 0.5, 1e-5) << "the least spacing";

    BrushTool eraser(ToolKind::eraser);
    eraser.options().setTip(BuiltInBrushes::tip(BuiltInBrushes::tipIDs()[0]));
    stroke(eraser, {at(0, 0)});
    EXPECT_EQ(canvas.strokes.back().style.mode, StrokeStyle::Mode::erase);
    EXPECT_EQ(canvas.strokes.back().style.color.alpha, 0);
    EXPECT_NE(canvas.strokes.back().style.tip, nullptr);
    EXPECT_EQ(dabs().size(), 1U);
    EXPECT_EQ(canvas.log, (Log{"begin Pencil Tool", "begin Eraser Tool"}));
}

TEST_F(BrushToolTest, smoothingIsAsLongOnTheScreenAtAnyScale) {
    for (const double scale : {0.5, 4.0}) {
        brush.options().update([](BrushSettings& settings) { settings.smoothing = 0.5; });
        canvas.view.scale = scale;
        const double far = 60 / scale;
        brush.pointerDown(at(0, 0), canvas);
        brush.pointerDragged(at(far, 0), canvas);
        brush.pointerDragged(at(far * 1.5, 0), canvas);
        brush.pointerDragged(at(far * 2, 0), canvas);
        EXPECT_LE(dabs().back().x, far * 1.5 + 0.01) << "half of sixty points behind";
        EXPECT_GE(dabs().back().x, far - 3.01);
        brush.pointerUp(at(far * 2, 0), canvas);
        EXPECT_NEAR(dabs().back().x, far * 2, 3.01) << "the string is pulled in";
    }
}

TEST_F(BrushToolTest, aRefusedStrokeLeavesItIdle) {
    canvas.takesStrokes = false;
    stroke(brush, {at(0, 0), at(50, 50)});
    EXPECT_FALSE(brush.isPainting());
    canvas.takesStrokes = true;
    brush.pointerDragged(at(60, 60), canvas);
    brush.pointerUp(at(60, 60), canvas);
    EXPECT_TRUE(canvas.strokes.empty());
    stroke(brush, {at(std::numeric_limits<double>::quiet_NaN(), 0)});
    EXPECT_TRUE(canvas.strokes.empty());
    stroke(brush, {at(0, 0), at(std::numeric_limits<double>::infinity(), 0), at(1e300, 3)});
    EXPECT_LT(dabs().back().x, 2e6) << "ends within reach";
}

TEST_F(BrushToolTest, escapeTakesTheStrokeBack) {
    brush.pointerDown(at(0, 0), canvas);
    brush.pointerDragged(at(30, 0), canvas);
    brush.cancelGesture(canvas);
    EXPECT_EQ(canvas.log, (Log{"begin Brush Tool", "cancel stroke"}));
    brush.pointerUp(at(30, 0), canvas);
    EXPECT_EQ(canvas.strokes.back().ends, 0);
    brush.cancelGesture(canvas);
    EXPECT_EQ(canvas.log.size(), 2U) << "nothing to take back";
}

TEST_F(BrushToolTest, shiftDrawsALineFromTheEndOfTheLastStroke) {
    stroke(brush, {at(10, 10, ToolModifiers::shift)});
    EXPECT_EQ(dabs().size(), 1U) << "no stroke yet: a plain click";
    stroke(brush, {at(10, 10), at(40, 10)});
    stroke(brush, {at(40, 70, ToolModifiers::shift)});
    EXPECT_EQ(dabs().front().x, 40);
    EXPECT_EQ(dabs().front().y, 10);
    EXPECT_EQ(dabs().size(), 21U);
    EXPECT_EQ(dabs().back().y, 70);
}

TEST_F(BrushToolTest, shiftAtThePressKeepsToAnAxis) {
    stroke(brush, {at(10, 10, ToolModifiers::shift), at(11, 12), at(14, 20), at(60, 40)});
    EXPECT_GT(dabs().back().y, 37) << "down, once it was decided";
    EXPECT_LE(dabs().back().y, 40);
    for (const BrushDab& dab : dabs())
        EXPECT_NEAR(dab.x, 10, 1.1);
    brush.pointerDown(at(0, 200), canvas);
    brush.pointerDragged(at(50, 210, ToolModifiers::shift), canvas);
    brush.pointerDragged(at(90, 240, ToolModifiers::shift), canvas);
    brush.pointerUp(at(90, 240, ToolModifiers::shift), canvas);
    EXPECT_GT(dabs().back().y, 235) << "Shift came too late";
}

TEST_F(BrushToolTest, optionAndControlDragSizeAndHardness) {
    const ToolModifiers both = ToolModifiers::option | ToolModifiers::control;
    canvas.view.scale = 2;
    brush.pointerDown(at(100, 100, both), canvas);
    brush.pointerDragged(at(130, 145), canvas);
    EXPECT_DOUBLE_EQ(brush.options()->size, 60);
    EXPECT_DOUBLE_EQ(brush.options()->hardness, 0.5);
    const auto shapes = brush.overlayShapes(canvas);
    ASSERT_EQ(shapes.size(), 3U);
    EXPECT_EQ(*shapes[0].as<OverlayShape::Circle>(), (OverlayShape::Circle{{100, 100}, 30}));
    EXPECT_EQ(*shapes[1].as<OverlayShape::Circle>(), (OverlayShape::Circle{{100, 100}, 15}));
    EXPECT_EQ(shapes[2].as<OverlayShape::Readout>()->text, "60 px · Hardness 50%");
    brush.pointerDragged(at(-5000, -5000), canvas);
    EXPECT_EQ(brush.options()->size, 1);
    EXPECT_EQ(brush.options()->hardness, 1);
    EXPECT_EQ(brush.overlayShapes(canvas).size(), 2U) << "one circle where it is hard";
    brush.cancelGesture(canvas);
    EXPECT_EQ(brush.options()->size, 30);
    EXPECT_TRUE(canvas.strokes.empty());
}

TEST_F(BrushToolTest, digitsSetTheStrengthAndTwoQuickOnesAPercentage) {
    using namespace std::chrono_literals;
    struct Case {
        std::vector<int> digits;
        std::chrono::milliseconds apart;
        double opacity;
    };
    const std::array<Case, 7> cases{{{{0}, 0ms, 1},
                                     {{4}, 0ms, 0.4},
                                     {{0, 5}, 599ms, 0.05},
                                     {{0, 0}, 10ms, 0.01},
                                     {{2, 5}, 600ms, 0.5},
                                     {{2, 5}, 599ms, 0.25},
                                     {{2, 5, 7}, 10ms, 0.7}}};
    for (const Case& each : cases) {
        time += 1h;
        for (const int digit : each.digits) {
            key(ToolKey::digit(digit));
            time += each.apart;
        }
        EXPECT_DOUBLE_EQ(brush.options()->opacity, each.opacity) << each.digits.back();
    }
    time += 1h;
    key(ToolKey::digit(3), ToolModifiers::shift);
    EXPECT_DOUBLE_EQ(brush.options()->flow, 0.3);
    EXPECT_DOUBLE_EQ(brush.options()->opacity, 0.7);
}

TEST_F(BrushToolTest, bracketsChangeSizeAndHardness) {
    brush.options().setSize(1900);
    key(ToolKey::bracketRight());
    EXPECT_EQ(brush.options()->size, 2000);
    brush.options().setSize(1.1);
    key(ToolKey::bracketLeft());
    EXPECT_EQ(brush.options()->size, 1);
    key(ToolKey::bracketRight(), ToolModifiers::shift);
    EXPECT_EQ(brush.options()->hardness, 1);
    key(ToolKey::bracketLeft(), ToolModifiers::shift);
    EXPECT_EQ(brush.options()->hardness, 0.75);
    EXPECT_FALSE(brush.keyDown(ToolKey::enter(), {}, canvas));
    BrushTool pencil(ToolKind::pencil);
    pencil.keyDown(ToolKey::bracketLeft(), ToolModifiers::shift, canvas);
    EXPECT_EQ(pencil.options()->hardness, 1) << "a pencil is always hard";
}

TEST_F(BrushToolTest, showsTheMarkThatItWouldLeave) {
    EXPECT_TRUE(brush.overlayShapes(canvas).empty());
    brush.pointerMoved(at(5, 5), canvas);
    ASSERT_EQ(brush.overlayShapes(canvas).size(), 2U);
    EXPECT_EQ(brush.currentCursor({}), ToolCursor::none);
    brush.pointerDown(at(5, 5, {}, 0.01F), canvas);
    EXPECT_EQ(brush.overlayShapes(canvas)[0].as<OverlayShape::Circle>()->radius,
              15 * static_cast<double>(0.05F));
    EXPECT_EQ(brush.currentCursor({}), ToolCursor::crosshair) << "too small to see";
    brush.pointerUp(at(5, 5), canvas);
    brush.options().update([](BrushSettings& settings) {
        settings.roundness = 0.5;
        settings.angle = 90;
    });
    EXPECT_EQ(*brush.overlayShapes(canvas)[0].as<OverlayShape::Tip>(),
              (OverlayShape::Tip{{5, 5}, 15, -std::numbers::pi / 2, 0.5}));
    brush.pointerMoved(at(6, 6, ToolModifiers::capsLock), canvas);
    EXPECT_TRUE(brush.overlayShapes(canvas).empty());
    EXPECT_EQ(brush.currentCursor(ToolModifiers::capsLock), ToolCursor::crosshair);
    brush.pointerMoved(std::nullopt, canvas);
    EXPECT_TRUE(brush.overlayShapes(canvas).empty());
}

TEST_F(BrushToolTest, settingsSurviveTheProgram) {
    int changes = 0;
    const Connection changed = brush.settingsChanged.connect([&] { ++changes; });
    brush.options().apply(BuiltInBrushes::presets()[6], BuiltInBrushes::tip);
    brush.options().update([](BrushSettings& settings) {
        settings.opacity = 0.25;
        settings.blend = PaintBlend{PaintBlend::Blend{BlendMode::multiply}};
    });
    EXPECT_EQ(changes, 2);
    BrushTool later(ToolKind::brush);
    later.restoreSettings(*parseJson(compactText(brush.storedSettings())));
    EXPECT_EQ(later.options().get(), brush.options().get());
    EXPECT_EQ(later.options()->tipImage, BuiltInBrushes::tip(BuiltInBrushes::tipIDs()[4]));
    later.restoreSettings(Json("nonsense"));
    EXPECT_EQ(later.options().get(), brush.options().get());
}

TEST_F(BrushToolTest, aTipThatIsNotFoundIsNotLost) {
    const auto image =
        std::make_shared<const BrushTipImage>(Uuid::make(), 1, 1, std::vector<std::uint8_t>{255});
    brush.options().setTip(image);
    BrushTool later(ToolKind::brush);
    later.restoreSettings(brush.storedSettings());
    EXPECT_EQ(later.options()->tipImage, nullptr);
    EXPECT_EQ(later.storedSettings(), brush.storedSettings());
    BrushTool withTip(ToolKind::brush);
    withTip.findTip = [&](const Uuid& id) {
        return id == image->id ? SharedBrushTip(image) : nullptr;
    };
    withTip.restoreSettings(later.storedSettings());
    EXPECT_EQ(withTip.options()->tipImage, image);
    later.options().setTip(nullptr);
    EXPECT_FALSE(later.storedSettings()["preset"].contains("tipID"));
}

} // namespace ombrel
