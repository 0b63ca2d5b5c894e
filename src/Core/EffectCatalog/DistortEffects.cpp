#include "Core/EffectCatalog/ParameterBuilders.h"

namespace ombrel::EffectCatalog {

namespace {

EffectDefinition ribbedGlass() {
    return {EffectKind::ribbedGlass,
            "Ribbed Glass",
            "columns-3",
            "Distort",
            {
                point("center", "Center", {0.5, 0.5}),
                segmented("layout", "Layout", {"Circles", "Lines", "Squares"}, "Lines"),
                percent("distortion", "Distortion", 60).key(),
                pixels("size", "Size", 4, 400, 48),
                percent("curve", "Curve", 50),
                percent("echo", "Echo", 0),
                percent("spacing", "Widening", 0)
                    .range(-100, 100)
                    .help("How rib widths change from the center: + wider outward, − wider toward "
                          "the center, 0 even"),
                angle("angle", "Angle", 0, 360, 0),
                percent("dispersion", "Dispersion", 0),
                percent("wave", "Wave", 0).help("Bend the ribs into waves"),
                pixels("wavelength", "Wavelength", 100, 2000, 400).step(5).activeWith("wave"),
            }};
}

/// No shift from one edge to the other, and nothing drawn yet.
EffectPath flatPath() {
    return {.x = {0, 0}, .y = {0, 0}, .drawnCount = 0};
}

EffectDefinition scannerDrag() {
    return {EffectKind::scannerDrag,
            "Scanner Drag",
            "scan",
            "Distort",
            {
                Parameter("path", "Path", {Type::Path{}}, {flatPath()}),
                percent("intensity", "Intensity", 70).key(),
                percent("fringe", "Fringe", 25),
                percent("timing", "Timing", 100),
            }};
}

EffectDefinition compressionGlitch() {
    return {EffectKind::compressionGlitch,
            "Compression Glitch",
            "tv-minimal",
            "Distort",
            {
                percent("amount", "Amount", 35).key().help("How many blocks break"),
                pixels("block", "Block", 8, 64, 16).step(8),
                percent("compression", "Compression", 60)
                    .help("Low-quality blocks: detail and color quantized away"),
                percent("smear", "Smear", 50).help("How far broken blocks drag the picture"),
                percent("chroma", "Chroma", 30).help("Color bleeding off the blocks"),
                number("variation", "Variation", 0, 100000, 0).hidden(),
            }};
}

EffectDefinition pixelStretch() {
    return {EffectKind::pixelStretch,
            "Pixel Stretch",
            "move-horizontal",
            "Distort",
            {
                Parameter("lines", "Lines", {Type::Lines{}}, {EffectLines{}}),
                segmented("side", "Side", {"Left", "Both", "Right"}, "Both"),
                percent("length", "Length", 30)
                    .key()
                    .help("How far the pixels stretch (share of the canvas's longer side)"),
                percent("straighten", "Straighten", 40)
                    .help("Turns the drawn lines into straight runs"),
                percent("fade", "Fade", 0).help("Fades the stretch out along its length"),
            }};
}

} // namespace

std::vector<EffectDefinition> distortEffects() {
    return {ribbedGlass(), scannerDrag(), compressionGlitch(), pixelStretch()};
}

} // namespace ombrel::EffectCatalog
