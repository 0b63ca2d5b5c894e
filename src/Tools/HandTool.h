// Moves the picture under the view.
#pragma once

#include "Tools/Tool.h"

namespace ombrel {

class HandTool final : public Tool {
public:
    ToolKind kind() const override { return ToolKind::hand; }
    ToolCursor currentCursor(ToolModifiers modifiers) const override;
    void pointerDown(const PointerSample& sample, ToolContext& in) override;
    void pointerDragged(const PointerSample& sample, ToolContext& in) override;
    void pointerUp(const PointerSample& sample, ToolContext& in) override;
    void cancelGesture(ToolContext& in) override; ///< back to where the picture was

private:
    struct Gesture {
        ViewTransform start;
        RealPoint last; ///< in view points
    };

    std::optional<Gesture> gesture_;
};

} // namespace ombrel
