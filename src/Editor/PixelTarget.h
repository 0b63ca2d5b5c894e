// Which layer a tool may write, or in which words it is refused. A pure function; any thread.
#pragma once

#include "Core/DocumentState.h"
#include "Tools/ToolKind.h"

#include <expected>
#include <optional>
#include <string>

namespace ombrel {

struct PixelTargetQuery {
    ToolKind tool;
    LayerLocks locks;                 ///< that forbid it
    std::optional<LayerID> maskLayer; ///< whose mask receives edits, if one does
};

/// What is to be written: a pixel layer, live ones included, or the layer with the mask. The error
/// is what the user reads.
std::expected<LayerID, std::string> pixelTargetOf(const DocumentState& state,
                                                  const PixelTargetQuery& query);

/// Said where only plain pixels can be written.
inline constexpr const char* selectPixelLayer = "Select a pixel layer first.";
/// Said where the session has work that an edit cannot wait for.
inline constexpr const char* waitForOperation = "Wait for the current operation to finish.";

} // namespace ombrel
