// Makes the tools of a document, and finds tools by group and by letter. Main thread.
#pragma once

#include "Tools/Tool.h"
#include "Tools/ToolGroup.h"

#include <memory>
#include <optional>
#include <vector>

namespace ombrel::ToolRegistry {

/// One object for each of the kinds; those that cannot do their work yet say so when used.
ToolSet makeTools();
/// Whether it does more than say that it cannot do its work yet.
bool isAvailable(const Tool& tool);
/// The first group that has it; null for a tool outside of all.
const ToolGroup* groupOf(ToolKind kind);
/// The tools that the toolbar offers under a lower-case letter, in its order.
std::vector<ToolKind> toolsForLetter(char letter);
/// What the letter leads to from `active`: the next of its tools, or of several the one used last
/// (`recent`: most recent first). Nothing where it has none.
std::optional<ToolKind> toolAfter(ToolKind active, char letter,
                                  const std::vector<ToolKind>& recent);

} // namespace ombrel::ToolRegistry
