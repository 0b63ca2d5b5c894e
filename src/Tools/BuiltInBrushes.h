// The brushes that come with the program: eight presets, and six tips that are drawn by seeded
// noise when they are first asked for, the same on every run. Any thread.
#pragma once

#include "Tools/BrushSettings.h"

#include <array>
#include <cstddef>
#include <vector>

namespace ombrel::BuiltInBrushes {

inline constexpr std::size_t tipCount = 6;
inline constexpr std::int64_t tipSide = 256; ///< pixels

/// Chalk, charcoal, spatter, bristle, dry brush, leaf.
const std::array<Uuid, tipCount>& tipIDs();
/// Null for an id that is none of these.
SharedBrushTip tip(const Uuid& id);
/// In their order; each has one id for as long as the program runs.
const std::vector<BrushPreset>& presets();

} // namespace ombrel::BuiltInBrushes
