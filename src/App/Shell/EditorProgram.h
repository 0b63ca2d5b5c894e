// The program with windows: services, event loop, one process a user, and the end by signals.
#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace ombrel {

/// On the main thread, once. The exit status; a failure is one line on standard error.
int runEditor(int argc, char** argv, std::span<const std::string> files);

} // namespace ombrel
