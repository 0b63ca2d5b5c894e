#include "Tools/ToolRegistry.h"

#include "Tools/BrushTool.h"
#include "Tools/EyedropperTool.h"
#include "Tools/HandTool.h"
#include "Tools/MoveTool.h"
#include "Tools/RotateViewTool.h"
#include "Tools/ToolLetters.h"
#include "Tools/UnavailableTool.h"
#include "Tools/ZoomTool.h"

#include <algorithm>

namespace ombrel::ToolRegistry {

namespace {

template <typename T>
void add(ToolSet& tools) {
    auto tool = std::make_unique<T>();
    const ToolKind kind = tool->kind();
    tools.emplace(kind, std::move(tool));
}

} // namespace

ToolSet makeTools() {
    ToolSet tools;
    add<MoveTool>(tools);
    add<HandTool>(tools);
    add<ZoomTool>(tools);
    add<RotateViewTool>(tools);
    add<EyedropperTool>(tools);
    for (const ToolKind kind : {ToolKind::brush, ToolKind::pencil, ToolKind::eraser})
        tools.emplace(kind, std::make_unique<BrushTool>(kind));
    for (const ToolDescription& tool : toolDescriptions)
        if (!tools.contains(tool.kind))
            tools.emplace(tool.kind, std::make_unique<UnavailableTool>(tool.kind));
    return tools;
}

bool isAvailable(const Tool& tool) {
    return dynamic_cast<const UnavailableTool*>(&tool) == nullptr;
}

const ToolGroup* groupOf(ToolKind kind) {
    for (const ToolGroup& group : toolGroups())
        for (const ToolGroup::Section& section : group.sections)
            if (std::ranges::find(section, kind) != section.end()) return &group;
    return nullptr;
}

std::vector<ToolKind> toolsForLetter(char letter) {
    std::vector<ToolKind> found;
    const auto consider = [&](ToolKind kind) {
        if (ToolLetters::of(kind) == letter) found.push_back(kind);
    };
    for (const ToolGroup& group : toolGroups())
        for (const ToolGroup::Section& section : group.sections)
            std::ranges::for_each(section, consider);
    std::ranges::for_each(ungroupedTools, consider);
    return found;
}

std::optional<ToolKind> toolAfter(ToolKind active, char letter,
                                  const std::vector<ToolKind>& recent) {
    const std::vector<ToolKind> tools = toolsForLetter(letter);
    if (tools.empty()) return std::nullopt;
    const auto present = std::ranges::find(tools, active);
    if (present != tools.end())
        return std::next(present) != tools.end() ? *std::next(present) : tools.front();
    for (const ToolKind kind : recent)
        if (std::ranges::find(tools, kind) != tools.end()) return kind;
    return tools.front();
}

} // namespace ombrel::ToolRegistry
