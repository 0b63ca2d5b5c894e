#include "Cli/CommandLine.h"

#include <CLI/CLI.hpp>

namespace ombrel {

int runCommandLine(int argc, char** argv) {
    CLI::App app("Raster image editor", "ombrel");
    app.set_version_flag("--version", "ombrel " OMBREL_VERSION);
    CLI11_PARSE(app, argc, argv);
    return 0;
}

} // namespace ombrel
