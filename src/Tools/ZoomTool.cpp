#include "Tools/ZoomTool.h"

#include "Tools/Gestures.h"
#include "Tools/ViewNavigation.h"

#include <cmath>
#include <utility>

namespace ombrel {

namespace {

constexpr double pointsOfDoubling = 100; ///< dragged to the right

} // namespace

ToolCursor ZoomTool::currentCursor(ToolModifiers modifiers) const {
    return modifiers.contains(ToolModifiers::option) ? ToolCursor::zoomOut : ToolCursor::zoomIn;
}

void ZoomTool::pointerDown(const PointerSample& sample, ToolContext& in) {
    gesture_ = Gesture{in.viewTransform(), sample.viewLocation};
}

void ZoomTool::pointerDragged(const PointerSample& sample, ToolContext& in) {
    if (!gesture_) return;
    if (distanceOf(gesture_->press, sample.viewLocation) >= dragThreshold)
        gesture_->isScrubbing = true;
    if (!gesture_->isScrubbing) return;
    const double dragged = sample.viewLocation.x - gesture_->press.x;
    const double scale = gesture_->start.scale * std::exp2(dragged / pointsOfDoubling);
    in.setViewTransform(
        ViewNavigation::zoomed(gesture_->start, scale, gesture_->press, in.contentsScale()));
}

void ZoomTool::pointerUp(const PointerSample& sample, ToolContext& in) {
    pointerDragged(sample, in);
    const auto gesture = std::exchange(gesture_, std::nullopt);
    if (!gesture || gesture->isScrubbing) return;
    const double pixels = in.contentsScale();
    const double magnification = gesture->start.scale * pixels;
    const double next = sample.modifiers.contains(ToolModifiers::option)
                            ? ViewNavigation::magnificationBelow(magnification)
                            : ViewNavigation::magnificationAbove(magnification);
    in.setViewTransform(
        ViewNavigation::zoomed(in.viewTransform(), next / pixels, gesture->press, pixels));
}

void ZoomTool::cancelGesture(ToolContext& in) {
    if (const auto gesture = std::exchange(gesture_, std::nullopt))
        in.setViewTransform(gesture->start);
}

} // namespace ombrel
