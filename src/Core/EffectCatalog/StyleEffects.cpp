#include "Core/EffectCatalog/ParameterBuilders.h"

namespace ombrel::EffectCatalog {

namespace {

EffectDefinition dropShadow() {
    return {EffectKind::dropShadow,
            "Drop Shadow",
            "copy",
            "Style",
            {
                percent("opacity", "Opacity", 75).key(),
                angle("angle", "Angle", -180, 180, 120)
                    .hidden()
                    .help("Where the light comes from: the shadow falls the other way"),
                pixels("distance", "Distance", 0, 1000, 10).hidden(),
                pixels("size", "Size", 0, 250, 10).help("How soft the shadow is"),
                percent("spread", "Spread", 0).help("Hardens the shadow's edge before the blur"),
                color("color", "Color", blackCode),
            }};
}

EffectDefinition stroke() {
    return {EffectKind::stroke,
            "Stroke",
            "square",
            "Style",
            {
                percent("opacity", "Opacity", 100).key(),
                segmented("position", "Position", {"Outside", "Inside", "Center"}, "Outside"),
                pixels("size", "Size", 1, 250, 3),
                color("color", "Color", blackCode),
            }};
}

} // namespace

std::vector<EffectDefinition> styleEffects() {
    return {dropShadow(), stroke()};
}

} // namespace ombrel::EffectCatalog
