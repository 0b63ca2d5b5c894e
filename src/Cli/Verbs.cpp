#include "Cli/Verbs.h"

#include <array>

namespace ombrel {

std::span<const VerbEntry> verbs() {
    static constexpr std::array<VerbEntry, 3> table{{
        {"commands", "List the commands of edit scripts", makeCommandsVerb},
        {"export", "Flatten a file and write it in a raster format", makeExportVerb},
        {"info", "Describe a file: canvas, colour profile, layers", makeInfoVerb},
    }};
    return table;
}

} // namespace ombrel
