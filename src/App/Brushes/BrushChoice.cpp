#include "App/Brushes/BrushChoice.h"

#include "Editor/BrushPresetStore.h"
#include "Tools/BrushOptions.h"

#include <utility>

namespace ombrel {

std::optional<BrushPreset> BrushChoice::presetOf(const BrushOptions& options,
                                                 const BrushPresetStore& store) {
    if (options->presetID)
        if (auto preset = store.find(*options->presetID)) return preset;
    // Built-in brushes have another identity in each run of the program.
    const BrushPreset now = BrushPreset::of(options.get(), {});
    for (const BrushPreset& preset : store.presets())
        if (preset.paintsAs(now)) return preset;
    return std::nullopt;
}

bool BrushChoice::isChanged(const BrushOptions& options, const BrushPreset& from) {
    return !from.paintsAs(BrushPreset::of(options.get(), {}));
}

void BrushChoice::putOn(const BrushPreset& preset, BrushOptions& options, BrushPresetStore& store) {
    options.apply(preset, [&store](const Uuid& id) { return store.tip(id); });
}

Uuid BrushChoice::keep(BrushOptions& options, BrushPresetStore& store, std::string name) {
    const Uuid id = store.add(BrushPreset::of(options.get(), std::move(name)));
    options.update([&](BrushSettings& settings) { settings.presetID = id; });
    return id;
}

} // namespace ombrel
