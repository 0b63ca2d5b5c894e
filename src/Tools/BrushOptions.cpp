#include "Tools/BrushOptions.h"

namespace ombrel {

void BrushOptions::setSize(double size) {
    update([&](BrushSettings& settings) { settings.size = size; });
}

void BrushOptions::setHardness(double hardness) {
    update([&](BrushSettings& settings) { settings.hardness = hardness; });
}

void BrushOptions::setStrength(double value, PaintStrength which) {
    update([&](BrushSettings& settings) {
        (which == PaintStrength::flow ? settings.flow : settings.opacity) = value;
    });
}

void BrushOptions::apply(const BrushPreset& preset, const FindTip& findTip) {
    missingTip_.reset();
    update([&](BrushSettings& settings) {
        preset.applyTo(settings, preset.tipID ? findTip(*preset.tipID) : nullptr);
    });
}

void BrushOptions::setTip(SharedBrushTip tip) {
    missingTip_.reset();
    update([&](BrushSettings& settings) { settings.tipImage = std::move(tip); });
}

void BrushOptions::restore(const SavedBrushSettings& saved, const FindTip& findTip) {
    const std::optional<Uuid> tipID = saved.preset.tipID;
    const SharedBrushTip tip = tipID ? findTip(*tipID) : nullptr;
    missingTip_ = tip ? std::nullopt : tipID;
    update([&](BrushSettings& settings) {
        saved.preset.applyTo(settings, tip);
        settings.opacity = saved.opacity;
        settings.blend = saved.blend;
        settings.presetID = saved.presetID;
    });
}

SavedBrushSettings BrushOptions::saved() const {
    BrushPreset preset = BrushPreset::of(get(), {});
    if (!preset.tipID) preset.tipID = missingTip_;
    return {preset, get().opacity, get().blend, get().presetID};
}

} // namespace ombrel
