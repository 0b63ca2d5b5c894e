#include "Core/EffectCatalog/ParameterBuilders.h"

namespace ombrel::EffectCatalog {

namespace {

EffectDefinition blur() {
    return {
        EffectKind::blur,
        "Blur",
        "droplet",
        "Blur",
        {
            segmented("mode", "Mode", {"Plain", "Progressive", "Depth"}, "Plain"),
            pixels("radius", "Radius", 0, 250, 12).key().step(0.5).help("How far the blur spreads"),
            point("start", "Start", {0.5, 0.35})
                .shownWhen("mode", "Progressive")
                .help("Where the blur starts (sharp)"),
            point("end", "End", {0.5, 0.85})
                .shownWhen("mode", "Progressive")
                .help("Where the blur is full"),
            point("focus", "Focus", {0.5, 0.5})
                .shownWhen("mode", "Depth")
                .help("What's in focus (click it on the depth map)"),
            percent("range", "Focus Range", 10)
                .shownWhen("mode", "Depth")
                .help("How much depth around the focus stays sharp"),
            boolean("showDepth", "Show Depth", false)
                .hidden()
                .shownWhen("mode", "Depth")
                .help("Show the depth map (near: white), the sharp range tinted"),
        }};
}

EffectDefinition depthMap() {
    return {EffectKind::depthMap,
            "Depth Map",
            "mountain",
            "Blur",
            {
                percent("amount", "Amount", 100)
                    .key()
                    .help("How much of the depth map shows over the layer"),
                percent("contrast", "Contrast", 0).range(-100, 100),
                boolean("invert", "Invert", false).help("Near: black, far: white"),
            }};
}

} // namespace

std::vector<EffectDefinition> blurEffects() {
    return {blur(), depthMap()};
}

} // namespace ombrel::EffectCatalog
