// What every interaction with the canvas goes through: one object a kind of tool, for as long as
// its document is open. It sees the document and the canvas through a ToolContext, which the canvas
// implements. Main thread only.
#pragma once

#include "Tools/ToolKind.h"

#include <map>
#include <memory>

namespace ombrel {

class ToolContext {
public:
    ToolContext() = default;
    virtual ~ToolContext() = default;
    ToolContext(const ToolContext&) = delete;
    ToolContext& operator=(const ToolContext&) = delete;
};

class Tool {
public:
    Tool() = default;
    virtual ~Tool() = default;
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    virtual ToolKind kind() const = 0;
    /// Asked before another tool takes over; may ask the user in turn.
    virtual bool mayLeave(ToolContext& /*in*/) { return true; }
};

using ToolSet = std::map<ToolKind, std::unique_ptr<Tool>>;

} // namespace ombrel
