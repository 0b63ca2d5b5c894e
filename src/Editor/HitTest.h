// What lies under a point of the canvas. A pure function that pages in the tiles it looks at; any
// thread.
#pragma once

#include "Core/DocumentState.h"
#include "Tools/ToolContext.h"

#include <optional>

namespace ombrel {

/// The topmost layer that shows something there, by its pixels, masks and what it is clipped to;
/// hidden and fully locked layers are looked through.
std::optional<HitRecord> hitLayer(const DocumentState& state, HitKind kind, RealPoint point);

} // namespace ombrel
