// What a verb has around it while it runs: the tile store with the memory the user allows, and a
// Progress that is shown on a terminal and cancelled by Ctrl-C (or a request to end). One at a
// time in a process, on the main thread.
#pragma once

#include "Base/Progress.h"
#include "Cli/Interruption.h"
#include "Cli/ProgressLine.h"

#include <cstdint>
#include <optional>

namespace CLI {
class App;
}

namespace ombrel {

class TileStore;

/// Options that all verbs share.
struct VerbRunOptions {
    std::optional<std::int64_t> memoryMebibytes; ///< for uncompressed tiles

    void declare(CLI::App& options);
};

class VerbRun {
public:
    explicit VerbRun(const VerbRunOptions& options);

    TileStore& store() { return store_; }
    Progress& progress() { return progress_; }

private:
    TileStore& store_;
    ProgressLine line_;
    Progress progress_;
    Interruption interruption_;
};

} // namespace ombrel
