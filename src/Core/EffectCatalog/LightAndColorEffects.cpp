#include "Base/Check.h"
#include "Core/EffectCatalog/ParameterBuilders.h"

namespace ombrel::EffectCatalog {

namespace {

EffectDefinition grain() {
    return {EffectKind::grain,
            "Grain",
            "scan-line",
            "Texture",
            {
                percent("amount", "Amount", 30).key(),
                pixels("size", "Size", 0.5, 8, 1.5).step(0.1),
                percent("roughness", "Roughness", 50),
                boolean("monochrome", "Monochrome", true),
            }};
}

EffectDefinition glow() {
    return {EffectKind::glow,
            "Glow",
            "sun-medium",
            "Light",
            {
                percent("intensity", "Intensity", 60).range(0, 200).key(),
                pixels("radius", "Radius", 0, 200, 40),
                percent("threshold", "Threshold", 70),
                menu("blend", "Blend", {"Screen", "Add", "Lighten"}, "Screen"),
                color("color", "Color", 0xFFB36B),
            }};
}

EffectDefinition gradientMap() {
    const GradientDefinition* standard = GradientDefinition::builtIn("Black, White");
    OMBREL_CHECK(standard != nullptr, "the gradient is one of the program's own");
    return {EffectKind::gradientMap,
            "Gradient Map",
            "blend",
            "Color",
            {
                Parameter("gradient", "Gradient", {Type::Gradient{}}, {*standard}),
                percent("amount", "Amount", 100).key().hidden(),
                percent("smooth", "Smooth", 50),
                percent("offset", "Offset", 0).range(-100, 100),
                boolean("dither", "Dither", false).hidden(),
            }};
}

} // namespace

std::vector<EffectDefinition> lightAndColorEffects() {
    return {grain(), glow(), gradientMap()};
}

} // namespace ombrel::EffectCatalog
