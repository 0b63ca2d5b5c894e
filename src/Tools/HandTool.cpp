#include "Tools/HandTool.h"

#include "Tools/ViewNavigation.h"

#include <utility>

namespace ombrel {

ToolCursor HandTool::currentCursor(ToolModifiers /*modifiers*/) const {
    return gesture_ ? ToolCursor::handClosed : ToolCursor::handOpen;
}

void HandTool::pointerDown(const PointerSample& sample, ToolContext& in) {
    gesture_ = Gesture{in.viewTransform(), sample.viewLocation};
}

void HandTool::pointerDragged(const PointerSample& sample, ToolContext& in) {
    if (!gesture_) return;
    const RealPoint from = std::exchange(gesture_->last, sample.viewLocation);
    in.setViewTransform(ViewNavigation::panned(
        in.viewTransform(), {sample.viewLocation.x - from.x, sample.viewLocation.y - from.y}));
}

void HandTool::pointerUp(const PointerSample& sample, ToolContext& in) {
    pointerDragged(sample, in);
    gesture_.reset();
}

void HandTool::cancelGesture(ToolContext& in) {
    if (const auto gesture = std::exchange(gesture_, std::nullopt))
        in.setViewTransform(gesture->start);
}

} // namespace ombrel
