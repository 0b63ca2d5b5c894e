// The 25 blend modes, in the order of their menu and of the index that kernels use. The raw value
// in files and scripts is the case's name.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ombrel {

enum class BlendMode : std::uint8_t {
    normal,
    dissolve,
    darken,
    multiply,
    colorBurn,
    linearBurn,
    lighten,
    screen,
    colorDodge,
    linearDodge,
    overlay,
    softLight,
    hardLight,
    vividLight,
    linearLight,
    pinLight,
    difference,
    exclusion,
    subtract,
    divide,
    hue,
    saturation,
    color,
    luminosity,
    passThrough, ///< has a meaning only on a group
};

inline constexpr std::size_t blendModeCount = 25;

struct BlendModeName {
    BlendMode mode;
    std::string_view rawValue;
    std::string_view displayName;
};

inline constexpr std::array<BlendModeName, blendModeCount> blendModeNames{{
    {BlendMode::normal, "normal", "Normal"},
    {BlendMode::dissolve, "dissolve", "Dissolve"},
    {BlendMode::darken, "darken", "Darken"},
    {BlendMode::multiply, "multiply", "Multiply"},
    {BlendMode::colorBurn, "colorBurn", "Color Burn"},
    {BlendMode::linearBurn, "linearBurn", "Linear Burn"},
    {BlendMode::lighten, "lighten", "Lighten"},
    {BlendMode::screen, "screen", "Screen"},
    {BlendMode::colorDodge, "colorDodge", "Color Dodge"},
    {BlendMode::linearDodge, "linearDodge", "Linear Dodge (Add)"},
    {BlendMode::overlay, "overlay", "Overlay"},
    {BlendMode::softLight, "softLight", "Soft Light"},
    {BlendMode::hardLight, "hardLight", "Hard Light"},
    {BlendMode::vividLight, "vividLight", "Vivid Light"},
    {BlendMode::linearLight, "linearLight", "Linear Light"},
    {BlendMode::pinLight, "pinLight", "Pin Light"},
    {BlendMode::difference, "difference", "Difference"},
    {BlendMode::exclusion, "exclusion", "Exclusion"},
    {BlendMode::subtract, "subtract", "Subtract"},
    {BlendMode::divide, "divide", "Divide"},
    {BlendMode::hue, "hue", "Hue"},
    {BlendMode::saturation, "saturation", "Saturation"},
    {BlendMode::color, "color", "Color"},
    {BlendMode::luminosity, "luminosity", "Luminosity"},
    {BlendMode::passThrough, "passThrough", "Pass Through"},
}};

constexpr std::string_view rawValueOf(BlendMode mode) {
    return blendModeNames[static_cast<std::size_t>(mode)].rawValue;
}
constexpr std::string_view displayNameOf(BlendMode mode) {
    return blendModeNames[static_cast<std::size_t>(mode)].displayName;
}
constexpr std::optional<BlendMode> blendModeFromRawValue(std::string_view rawValue) {
    for (const BlendModeName& name : blendModeNames) {
        if (name.rawValue == rawValue) return name.mode;
    }
    return std::nullopt;
}

} // namespace ombrel
