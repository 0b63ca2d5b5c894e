#include "Cli/Verbs.h"

#include <array>

namespace ombrel {

std::span<const VerbEntry> verbs() {
    static constexpr std::array<VerbEntry, 5> table{{
        {"export", "Flatten a file and write it in a raster format", makeExportVerb},
        {"convert", "Save a file as a native document", makeConvertVerb},
        {"apply", "Run an edit script on a file and write the result", makeApplyVerb},
        {"commands", "List the commands of edit scripts", makeCommandsVerb},
        {"info", "Describe a file: canvas, colour profile, layers", makeInfoVerb},
    }};
    return table;
}

} // namespace ombrel
