#include "Core/EffectCatalog/ParameterBuilders.h"

namespace ombrel::EffectCatalog {

namespace {

EffectDefinition pattern() {
    return {EffectKind::pattern,
            "Pattern",
            "grid-3x3",
            "Pattern",
            {
                menu("form", "Form",
                     {"Checker", "Dots", "Stripes", "Lines", "Grid", "Triangles", "Diamonds",
                      "Crosses"},
                     "Checker"),
                percent("amount", "Amount", 100).key(),
                pixels("scale", "Scale", 2, 200, 24),
                percent("radius", "Radius", 0),
                percent("smooth", "Smooth", 10),
                angle("angle", "Angle", 0, 360, 0),
                percent("power", "Power", 60),
                color("color", "Color", whiteCode).help("The shapes"),
                color("background", "Background", blackCode).help("Between the shapes"),
            }};
}

EffectDefinition halftone() {
    return {EffectKind::halftone,
            "Halftone",
            "grip",
            "Pattern",
            {
                segmented("shape", "Shape", {"Dots", "Lines", "Squares"}, "Dots"),
                percent("amount", "Amount", 100).key(),
                pixels("size", "Size", 2, 64, 8),
                angle("angle", "Angle", 0, 360, 45),
                percent("contrast", "Contrast", 20),
                percent("softness", "Softness", 10),
                boolean("colorHalftone", "Color halftone", false),
            }};
}

EffectDefinition ascii() {
    return {
        EffectKind::ascii,
        "ASCII",
        "binary",
        "Pattern",
        {
            segmented("colorMode", "Color", {"Original", "Mono"}, "Original"),
            percent("amount", "Amount", 100).key(),
            pixels("size", "Size", 4, 64, 12).help("Character height (the width follows the font)"),
            menu("characters", "Characters", {"Standard", "Blocks", "Binary", "Dense"}, "Standard"),
            percent("density", "Density", 25)
                .range(-100, 100)
                .help("More (or fewer) dense characters: brightens or darkens the mid-tones"),
            percent("contrast", "Contrast", 0),
            color("ink", "Ink", whiteCode).help("The characters' color in Mono"),
            color("background", "Background", blackCode),
        }};
}

} // namespace

std::vector<EffectDefinition> patternEffects() {
    return {pattern(), halftone(), ascii()};
}

} // namespace ombrel::EffectCatalog
