// Clip stacks: a layer or group together with the layers directly above it that clip to it. What is
// put between them would become what the upper ones clip to, so edits by hand step over whole
// stacks. Pure functions of siblings or a state; any thread.
#pragma once

#include "Core/DocumentState.h"

#include <cstddef>
#include <optional>
#include <span>

namespace ombrel::ClipStacks {

/// Whether it clips where something lies below it. Groups never do.
bool clips(const LayerNode& node);

/// The index of what the sibling clips to; its own where it clips to nothing.
std::size_t baseOf(std::span<const LayerNode> siblings, std::size_t index);
/// One past the topmost sibling of the stack that the sibling belongs to.
std::size_t endOf(std::span<const LayerNode> siblings, std::size_t index);

/// What to add a layer above so that it comes between no layer and what it clips to: the top of the
/// active layer's stack. Absent where directly above (or in) the active layer is such a place.
std::optional<LayerID> placeAbove(const DocumentState& state);
/// Whether a layer directly above the active one would lie between others that clip to one base.
bool isAmongClipped(const DocumentState& state);

} // namespace ombrel::ClipStacks
