// The program without a window: verbs that open, convert and describe documents. Results are
// written only when complete. Exit statuses: 0 done, 1 the work failed, 2 wrong usage; errors are
// one line on standard error.
#pragma once

namespace ombrel {

int runCommandLine(int argc, char** argv);

} // namespace ombrel
