// The gradients that come with the program.
#include "Core/ColorMath.h"
#include "Core/GradientDefinition.h"

#include <algorithm>
#include <array>

namespace ombrel {

namespace {

using Definition = GradientDefinition;
using StopColor = Definition::StopColor;

constexpr StopColor foreground{Definition::StopColor::Foreground{}};
constexpr StopColor background{Definition::StopColor::Background{}};

StopColor rgb(std::uint32_t code) {
    return {ColorMath::colorOfCode(code)};
}

struct Color {
    double location;
    StopColor color;
};
struct Opacity {
    double location;
    double opacity;
};
struct Preset {
    std::string_view name;
    std::vector<Color> colors;
    std::vector<Opacity> opacities = {{0, 1}, {1, 1}};
};

std::vector<Preset> makePresets() {
    return {
        {"Foreground to Background", {{0, foreground}, {1, background}}},
        {"Foreground to Transparent", {{0, foreground}, {1, foreground}}, {{0, 1}, {1, 0}}},
        {"Black, White", {{0, rgb(0x000000)}, {1, rgb(0xFFFFFF)}}},
        {"Spectrum",
         {{0, rgb(0xFF0000)},
          {1.0 / 6, rgb(0xFFFF00)},
          {1.0 / 3, rgb(0x00FF00)},
          {0.5, rgb(0x00FFFF)},
          {2.0 / 3, rgb(0x0000FF)},
          {5.0 / 6, rgb(0xFF00FF)},
          {1, rgb(0xFF0000)}}},
        {"Chrome",
         {{0, rgb(0x3B7FB5)},
          {0.5, rgb(0xFFFFFF)},
          {0.52, rgb(0x4A3A2A)},
          {0.64, rgb(0xC2A678)},
          {1, rgb(0xFFFFFF)}}},
        {"Copper",
         {{0, rgb(0x7E3F1E)}, {0.3, rgb(0xF4D3B6)}, {0.85, rgb(0x54280F)}, {1, rgb(0xE3B795)}}},
        {"Violet, Orange", {{0, rgb(0x7F00FF)}, {1, rgb(0xFF8000)}}},
        {"Blue, Red, Yellow", {{0, rgb(0x0000FF)}, {0.5, rgb(0xFF0000)}, {1, rgb(0xFFFF00)}}},
        {"Transparent Rainbow",
         {{0.1, rgb(0xFF0000)},
          {0.3, rgb(0xFFFF00)},
          {0.5, rgb(0x00FF00)},
          {0.7, rgb(0x0000FF)},
          {0.9, rgb(0xFF00FF)}},
         {{0, 0}, {0.2, 1}, {0.8, 1}, {1, 0}}},
    };
}

// Of version 8, which makers of random identifiers do not use, so that nothing else bears it.
Uuid fixedID(std::size_t preset, std::uint8_t kind, std::size_t stop) {
    Uuid id;
    id.bytes[5] = kind;
    id.bytes[6] = 0x80;
    id.bytes[8] = 0x80;
    id.bytes[14] = static_cast<std::uint8_t>(preset);
    id.bytes[15] = static_cast<std::uint8_t>(stop);
    return id;
}

Definition definitionOf(const Preset& preset, std::size_t index) {
    Definition gradient{.id = fixedID(index, 0, 0),
                        .name = std::string(preset.name),
                        .colorStops = {},
                        .opacityStops = {}};
    for (const Color& each : preset.colors)
        gradient.colorStops.push_back(
            {fixedID(index, 1, gradient.colorStops.size()), each.location, each.color});
    for (const Opacity& each : preset.opacities)
        gradient.opacityStops.push_back(
            {fixedID(index, 2, gradient.opacityStops.size()), each.location, each.opacity});
    return gradient;
}

} // namespace

std::span<const GradientDefinition> GradientDefinition::builtIn() {
    static const std::vector<GradientDefinition> gradients = [] {
        std::vector<GradientDefinition> made;
        for (const Preset& preset : makePresets())
            made.push_back(definitionOf(preset, made.size()));
        return made;
    }();
    return gradients;
}

const GradientDefinition* GradientDefinition::builtIn(std::string_view name) {
    const auto found = std::ranges::find(builtIn(), name, &GradientDefinition::name);
    return found == builtIn().end() ? nullptr : &*found;
}

} // namespace ombrel
