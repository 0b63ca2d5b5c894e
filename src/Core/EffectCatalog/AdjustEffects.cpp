#include "Core/EffectCatalog/ParameterBuilders.h"

#include <fmt/format.h>

#include <array>

namespace ombrel::EffectCatalog {

namespace {

struct Channel {
    const char* prefix; ///< of the keys
    const char* label;
};
constexpr std::array<Channel, 5> channels{{
    {"rgb", "RGB"},
    {"red", "Red"},
    {"green", "Green"},
    {"blue", "Blue"},
    {"alpha", "Alpha"},
}};

struct ChannelValue {
    const char* key;
    const char* label;
    double least;
    double most;
    double value;
    double step;
};
constexpr std::array<ChannelValue, 5> channelValues{{
    {"inBlack", "Input Black", 0, 253, 0, 1},
    {"gamma", "Midtones", 0.1, 9.99, 1, 0.01},
    {"inWhite", "Input White", 2, 255, 255, 1},
    {"outBlack", "Output Black", 0, 255, 0, 1},
    {"outWhite", "Output White", 0, 255, 255, 1},
}};

EffectDefinition levels() {
    EffectDefinition definition{
        EffectKind::levels,
        "Levels",
        "chart-column",
        "Adjust",
        {
            segmented("channel", "Channel", {"RGB", "Red", "Green", "Blue", "Alpha"}, "RGB"),
            percent("amount", "Amount", 100).key().help("How much of the adjustment shows"),
        }};
    for (const Channel& channel : channels) {
        for (const ChannelValue& each : channelValues) {
            const std::string key = fmt::format("{}.{}", channel.prefix, each.key);
            const std::string label = fmt::format("{} {}", channel.label, each.label);
            definition.parameters.push_back(
                number(key, label, each.least, each.most, each.value).step(each.step).hidden());
        }
    }
    return definition;
}

EffectDefinition hueSaturation() {
    return {EffectKind::hueSaturation,
            "Hue/Saturation",
            "palette",
            "Adjust",
            {
                angle("hue", "Hue", -180, 180, 0),
                number("saturation", "Saturation", -100, 100, 0).key(),
                number("lightness", "Lightness", -100, 100, 0),
                boolean("colorize", "Colorize", false)
                    .help("One color for the whole layer, kept light and dark"),
            }};
}

} // namespace

std::vector<EffectDefinition> adjustEffects() {
    return {levels(), hueSaturation()};
}

} // namespace ombrel::EffectCatalog
