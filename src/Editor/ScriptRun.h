// An edit script run on a live session: each step begins when the one before is committed, as a
// person would do it. Main thread, from outside of any task: the run drives the main executor.
#pragma once

#include "Base/MainExecutor.h"
#include "Base/Progress.h"
#include "Commands/Coding/Decoder.h"
#include "Commands/EditScript.h"
#include "Editor/DocumentSession.h"

#include <expected>
#include <functional>
#include <string>

namespace ombrel {

struct ScriptServices {
    MainExecutor& main; ///< the session's
    TileStore& store;   ///< the session's
    /// Reads pictures that a step names; see DecodingContext.
    std::function<std::expected<LoadedPicture, std::string>(const std::string& path)> loadPicture;
    Progress* progress = nullptr; ///< of the whole run; cancelling it ends the running step
};

struct ScriptFailure {
    bool isCancelled = false;
    std::string message; ///< "step 3: The layer no longer exists."
};

/// Up to the first step that fails; the session then stands as before that step. New layers get
/// the same identifiers in every run.
std::expected<void, ScriptFailure> runScript(const EditScript& script, DocumentSession& session,
                                             const ScriptServices& services);

} // namespace ombrel
