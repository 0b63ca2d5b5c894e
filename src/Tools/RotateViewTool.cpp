#include "Tools/RotateViewTool.h"

#include "Core/ViewMapping.h"
#include "Tools/ViewNavigation.h"

#include <cmath>
#include <fmt/format.h>
#include <numbers>
#include <utility>

namespace ombrel {

namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr double shiftStep = 15 * degree;

double angleAbout(RealPoint middle, RealPoint point) {
    return std::atan2(point.y - middle.y, point.x - middle.x);
}

void turnTo(double rotation, ToolContext& in) {
    const ViewTransform view = in.viewTransform();
    in.setViewTransform(ViewNavigation::turned(view, rotation, viewCenter(view)));
}

} // namespace

ToolCursor RotateViewTool::currentCursor(ToolModifiers /*modifiers*/) const {
    return ToolCursor::rotate;
}

void RotateViewTool::pointerDown(const PointerSample& sample, ToolContext& in) {
    if (sample.clickCount == 2) {
        gesture_.reset();
        return turnTo(0, in);
    }
    gesture_ = Gesture{in.viewTransform(), sample.viewLocation, sample.viewLocation};
}

void RotateViewTool::pointerDragged(const PointerSample& sample, ToolContext& in) {
    if (!gesture_) return;
    gesture_->last = sample.viewLocation;
    const RealPoint middle = viewCenter(gesture_->start);
    double rotation = gesture_->start.rotation + angleAbout(middle, sample.viewLocation) -
                      angleAbout(middle, gesture_->press);
    if (sample.modifiers.contains(ToolModifiers::shift))
        rotation = ViewNavigation::snappedAngle(rotation, shiftStep);
    turnTo(rotation, in);
    in.setNeedsOverlayDisplay();
}

void RotateViewTool::pointerUp(const PointerSample& /*sample*/, ToolContext& in) {
    gesture_.reset();
    in.setNeedsOverlayDisplay();
}

bool RotateViewTool::keyDown(const ToolKey& key, ToolModifiers /*modifiers*/, ToolContext& in) {
    if (!key.is(ToolKey::Named::escape)) return false;
    if (gesture_) {
        cancelGesture(in);
    } else {
        turnTo(0, in);
    }
    return true;
}

std::vector<OverlayShape> RotateViewTool::overlayShapes(const ToolContext& in) const {
    if (!gesture_) return {};
    const ViewTransform view = in.viewTransform();
    const RealPoint middle = documentPoint(view, viewCenter(view));
    return {{OverlayShape::CenterMark{middle}},
            {OverlayShape::Readout{fmt::format("{:.1f}°", view.rotation / degree),
                                   documentPoint(view, gesture_->last)}}};
}

void RotateViewTool::cancelGesture(ToolContext& in) {
    const auto gesture = std::exchange(gesture_, std::nullopt);
    if (!gesture) return;
    in.setViewTransform(gesture->start);
    in.setNeedsOverlayDisplay();
}

} // namespace ombrel
