// The stored form of brushes. Reading takes what it understands: a field that is missing or of
// another kind has its default, a number out of range goes to the nearest in it. So a brush made by
// another version loads. Any thread.
#pragma once

#include "Base/Json.h"
#include "Tools/BrushSettings.h"

namespace ombrel {

/// Of anything that is no object the default, with an id of its own.
BrushPreset brushPresetFrom(const Json& json);
Json storedBrushPreset(const BrushPreset& preset);

/// The case as one text: {"value": "multiply"}, also "behind" and "clear".
Json storedPaintBlend(const PaintBlend& blend);
std::optional<PaintBlend> paintBlendFrom(const Json& json);
/// That text alone, and what it names.
std::string_view rawValueOf(const PaintBlend& blend);
std::optional<PaintBlend> paintBlendNamed(std::string_view rawValue);

/// The settings of a tool between two runs of the program.
struct SavedBrushSettings {
    BrushPreset preset;
    double opacity = 1;
    PaintBlend blend;
    std::optional<Uuid> presetID;

    static SavedBrushSettings from(const Json& json);
    Json stored() const;
};

} // namespace ombrel
