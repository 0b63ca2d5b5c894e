// The program's command line: verbs that open, convert and describe documents without a window,
// or else files for the editor, which is handed in by whoever has one. Results of verbs are
// written only when complete. Exit statuses: 0 done, 1 the work failed, 2 wrong usage; errors are
// one line on standard error.
#pragma once

#include <functional>
#include <span>
#include <string>

namespace ombrel {

/// Opens files (perhaps none) in windows and returns the exit status.
using EditorFront = std::function<int(std::span<const std::string> files)>;

/// `editor` is called where no verb is named.
int runCommandLine(int argc, char** argv, const EditorFront& editor);

} // namespace ombrel
