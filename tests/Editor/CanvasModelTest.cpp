// Whatever comes in whatever order, a canvas at rest has no live edit open, undo leads back to
// where everything began, and no view is out of its limits.
#include "Editor/CanvasFixture.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

namespace ombrel {

namespace {

class RandomHand {
public:
    RandomHand(CanvasFixture& fixture, std::uint64_t seed) : fixture_(fixture), random_(seed) {}

    void act() {
        CanvasController& canvas = *fixture_.canvas;
        switch (number(22)) {
        case 0:
        case 1:
        case 2:
            return canvas.pointerDown(event());
        case 3:
        case 4:
        case 5:
        case 6:
            return canvas.pointerDragged(event());
        case 7:
        case 8:
        case 9:
            return canvas.pointerUp(event());
        case 10:
            return canvas.pointerMoved(event());
        case 11:
            return canvas.pointerLeft();
        case 12:
            return canvas.penProximity(number(2) == 0, PointerDevice::eraser);
        case 13:
            canvas.keyDown(key(), modifiers());
            return;
        case 14:
            return canvas.keyUp(key(), modifiers());
        case 15:
            if (number(2) == 0) {
                canvas.holdSpace(modifiers());
            } else {
                canvas.releaseSpace(modifiers());
            }
            return;
        case 16:
            return canvas.modifiersChanged(modifiers());
        case 17:
            return fixture_.session->setTool(
                toolDescriptions[number(toolDescriptions.size())].kind);
        case 18:
            return canvas.wheelTurned({0, real(-30, 30)}, {real(0, 400), real(0, 300)},
                                      modifiers());
        case 19:
            if (number(2) == 0) {
                fixture_.session->undo();
            } else {
                fixture_.session->redo();
            }
            return;
        case 20:
            return fixture_.session->perform(mark(real(0, 100), number(2) == 0));
        default:
            fixture_.executors.step(random_);
        }
    }

private:
    std::size_t number(std::size_t below) { return random_() % below; }
    double real(double from, double to) {
        return std::uniform_real_distribution(from, to)(random_);
    }
    ToolModifiers modifiers() {
        return {static_cast<std::uint8_t>(number(3) == 0 ? number(64) : 0)};
    }
    PointerEvent event() {
        return {.viewLocation = {real(-50, 450), real(-50, 350)},
                .button = number(6) == 0 ? PointerButton::middle : PointerButton::primary,
                .isTablet = number(3) == 0,
                .pressure = static_cast<float>(real(0, 1)),
                .modifiers = modifiers(),
                .clickCount = static_cast<std::int64_t>(1 + number(2))};
    }
    ToolKey key() {
        static const std::array keys{ToolKey::escape(), ToolKey::left(),     ToolKey::down(),
                                     ToolKey::enter(),  ToolKey::deletion(), ToolKey::digit(4)};
        const std::size_t chosen = number(keys.size() + 5);
        if (chosen < keys.size()) return keys[chosen];
        return ToolKey::character(std::string(1, static_cast<char>('a' + number(26))));
    }

    CanvasFixture& fixture_;
    std::mt19937_64 random_;
};

DocumentState document() {
    TestDocument document({200, 150});
    document.layer("ground").filled({1, 1, 1, 1});
    document.layer("a").filled({10, 10, 90, 90}, {1, 0, 0, 1}).mask().active();
    document.layer("b").filled({80, 10, 90, 90}, {0, 1, 0, 1});
    return document.state();
}

} // namespace

TEST(CanvasModel, neverLeavesALiveEditOpen) {
    const std::uint64_t seed = testSeed();
    for (std::uint64_t run = 0; run < 60; ++run) {
        SCOPED_TRACE(seed + run);
        const DocumentState start = document();
        CanvasFixture fixture(start);
        RandomHand hand(fixture, seed + run);
        fixture.session->setTool(run % 2 == 0 ? ToolKind::move : ToolKind::zoom);
        for (int i = 0; i < 250; ++i) {
            hand.act();
            // A stroke goes on by itself.
            const bool isOpen =
                *fixture.session->_isLiveEditing && !fixture.session->isLiveInTurn();
            ASSERT_FALSE(isOpen && !fixture.canvas->isGestureActive()) << "after event " << i;
            const ViewTransform& view = *fixture.session->_viewTransform;
            ASSERT_TRUE(std::isfinite(view.center.x) && std::isfinite(view.center.y));
            ASSERT_GT(view.scale, 0);
        }
        fixture.canvas->cancelGesture();
        fixture.executors.settle();
        ASSERT_FALSE(*fixture.session->_isLiveEditing);
        ASSERT_FALSE(*fixture.session->_isBusy);
        const DocumentState end = *fixture.session->_state;
        const std::int64_t index = fixture.session->_history->currentIndex();
        fixture.session->jump(0);
        EXPECT_EQ(fixture.session->_state->root, start.root);
        fixture.session->jump(index);
        EXPECT_EQ(fixture.session->_state->root, end.root);
        EXPECT_EQ(fixture.session->_state->canvas, end.canvas);
    }
}

} // namespace ombrel
