// Turns the view about its middle; with Shift by steps of 15 degrees. A double-click or Escape
// turns it upright.
#pragma once

#include "Tools/Tool.h"

namespace ombrel {

class RotateViewTool final : public Tool {
public:
    ToolKind kind() const override { return ToolKind::rotateView; }
    ToolCursor currentCursor(ToolModifiers modifiers) const override;
    void pointerDown(const PointerSample& sample, ToolContext& in) override;
    void pointerDragged(const PointerSample& sample, ToolContext& in) override;
    void pointerUp(const PointerSample& sample, ToolContext& in) override;
    bool keyDown(const ToolKey& key, ToolModifiers modifiers, ToolContext& in) override;
    std::vector<OverlayShape> overlayShapes(const ToolContext& in) const override;
    void cancelGesture(ToolContext& in) override;

private:
    struct Gesture {
        ViewTransform start;
        RealPoint press;
        RealPoint last; ///< both in view points
    };

    std::optional<Gesture> gesture_;
};

} // namespace ombrel
