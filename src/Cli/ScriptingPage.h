// docs/scripting.md: the introduction, and the reference that the registry of commands gives.
#pragma once

#include <string>

namespace ombrel {

/// The whole page, in Markdown.
std::string scriptingPage();
/// Every command with its fields, for a terminal.
std::string textOfCommands();

} // namespace ombrel
