// What moving layers to a place in the stack means for clipping: a base takes along what clips to
// it; a layer that comes between a base and what clips to it joins them, and a group, which cannot,
// goes above them; a layer that leaves its base is released. Pure functions.
#pragma once

#include "Commands/Command.h"

#include <optional>
#include <span>

namespace ombrel {

/// To `gap` among the children of `parent`, as MoveLayersCommand has it; absent where nothing would
/// change.
std::optional<Command> moveCommand(const DocumentState& state, std::span<const LayerID> ids,
                                   std::optional<LayerID> parent, std::int64_t gap);

/// The gap that copies go to which are dropped at this one.
std::int64_t copyGap(const DocumentState& state, std::span<const LayerID> ids,
                     std::optional<LayerID> parent, std::int64_t gap);

} // namespace ombrel
