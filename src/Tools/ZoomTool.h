// Magnifies where it is clicked, or the other way with Option; a drag to the right or the left
// magnifies about the point of the press as it goes.
#pragma once

#include "Tools/Tool.h"

namespace ombrel {

class ZoomTool final : public Tool {
public:
    ToolKind kind() const override { return ToolKind::zoom; }
    ToolCursor currentCursor(ToolModifiers modifiers) const override;
    void pointerDown(const PointerSample& sample, ToolContext& in) override;
    void pointerDragged(const PointerSample& sample, ToolContext& in) override;
    void pointerUp(const PointerSample& sample, ToolContext& in) override;
    void cancelGesture(ToolContext& in) override;

private:
    struct Gesture {
        ViewTransform start;
        RealPoint press; ///< in view points
        bool isScrubbing = false;
    };

    std::optional<Gesture> gesture_;
};

} // namespace ombrel
