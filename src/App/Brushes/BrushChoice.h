// Which brush is in use, and putting another one on. Main thread only.
#pragma once

#include "Tools/BrushSettings.h"

#include <optional>
#include <string>

namespace ombrel {

class BrushOptions;
class BrushPresetStore;

namespace BrushChoice {

/// The preset that the options came from, or else one that paints the same.
std::optional<BrushPreset> presetOf(const BrushOptions& options, const BrushPresetStore& store);
/// Whether the options have been changed since.
bool isChanged(const BrushOptions& options, const BrushPreset& from);
void putOn(const BrushPreset& preset, BrushOptions& options, BrushPresetStore& store);
/// Keeps the options as a new brush, which they then come from.
Uuid keep(BrushOptions& options, BrushPresetStore& store, std::string name);

} // namespace BrushChoice

} // namespace ombrel
