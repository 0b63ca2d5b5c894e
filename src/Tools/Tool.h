// What every interaction with the canvas goes through: one object a kind of tool, for as long as
// its document is open. It gets the events of the canvas with a ToolContext, keeps the state of a
// gesture in its own fields, and says what is to be drawn above the picture. Main thread only.
#pragma once

#include "Tools/OverlayShape.h"
#include "Tools/PointerSample.h"
#include "Tools/ToolContext.h"
#include "Tools/ToolCursor.h"
#include "Tools/ToolKey.h"
#include "Tools/ToolKind.h"
#include "Tools/ToolMenuItem.h"
#include "Tools/ToolModifiers.h"

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace ombrel {

class Tool {
public:
    Tool() = default;
    virtual ~Tool() = default;
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    virtual ToolKind kind() const = 0;
    virtual ToolCursor currentCursor(ToolModifiers modifiers) const = 0;

    /// Who takes a press gets its drags and its release, whatever tool is active by then.
    virtual void pointerDown(const PointerSample& sample, ToolContext& in) = 0;
    virtual void pointerDragged(const PointerSample& /*sample*/, ToolContext& /*in*/) {}
    virtual void pointerUp(const PointerSample& /*sample*/, ToolContext& /*in*/) {}
    /// Without a press. Nothing: the pointer has left the canvas.
    virtual void pointerMoved(const std::optional<PointerSample>& /*sample*/, ToolContext& /*in*/) {
    }
    /// Whether the key was used.
    virtual bool keyDown(const ToolKey& /*key*/, ToolModifiers /*modifiers*/, ToolContext& /*in*/) {
        return false;
    }
    virtual void modifiersChanged(ToolModifiers /*modifiers*/, ToolContext& /*in*/) {}
    virtual std::vector<OverlayShape> overlayShapes(const ToolContext& /*in*/) const { return {}; }
    /// Whether a selection it makes joins the one that is there.
    virtual bool modifiesSelection() const { return false; }
    /// At a point of the document.
    virtual std::vector<ToolMenuItem> contextMenu(RealPoint /*at*/, ToolContext& /*in*/) {
        return {};
    }
    virtual bool isSubmenuFlag() const { return false; }
    /// The locks that make a layer refuse this tool.
    virtual LayerLocks blockingLocks() const { return defaultBlockingLocks(kind()); }
    /// Asked before another tool takes over; may ask the user in turn.
    virtual bool mayLeave(ToolContext& /*in*/) { return true; }
    virtual void toolDidLeave(ToolContext& /*in*/) {}
    /// Drops the gesture in progress, and its live edit with it.
    virtual void cancelGesture(ToolContext& /*in*/) {}

    /// None for the tools that only select, transparency and position for the others.
    static constexpr LayerLocks defaultBlockingLocks(ToolKind kind) {
        if (kind >= ToolKind::marquee && kind <= ToolKind::quickSelect) return {};
        return LayerLocks::transparency | LayerLocks::position;
    }
};

using ToolSet = std::map<ToolKind, std::unique_ptr<Tool>>;

} // namespace ombrel
