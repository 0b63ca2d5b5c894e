// Stands for a tool that cannot do its work yet: it can be chosen, and says so when it is used.
#pragma once

#include "Tools/Tool.h"

#include <fmt/format.h>

namespace ombrel {

class UnavailableTool final : public Tool {
public:
    explicit UnavailableTool(ToolKind kind) : kind_(kind) {}

    ToolKind kind() const override { return kind_; }
    ToolCursor currentCursor(ToolModifiers /*modifiers*/) const override {
        return ToolCursor::forbidden;
    }
    void pointerDown(const PointerSample& /*sample*/, ToolContext& in) override {
        in.refuse(
            fmt::format("The {} tool isn't available yet.", descriptionOf(kind_).displayName));
    }

private:
    const ToolKind kind_;
};

} // namespace ombrel
