// The letters that lead to tools: those of the table of tools, or what the user made of them. One
// list for the process. Main thread.
#pragma once

#include "Tools/ToolKind.h"

#include <map>
#include <optional>

namespace ombrel::ToolLetters {

/// By tool; nothing: the tool has no letter.
using Changes = std::map<ToolKind, std::optional<char>>;

/// In the place of all former changes; tools that are not named have their usual letters.
void change(Changes changes);
std::optional<char> of(ToolKind kind); ///< lower case; several tools share one

} // namespace ombrel::ToolLetters
