// The settings of the program by name, with what they are without the user's word and the range
// into which every read brings them. A stored value of another kind counts as absent.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace ombrel {

/// A whole number; fractions are cut off.
struct IntegerSetting {
    std::string_view name;
    std::int64_t defaultValue;
    std::int64_t minimum;
    std::int64_t maximum;
};
struct NumberSetting {
    std::string_view name;
    double defaultValue;
    double minimum;
    double maximum;
};
struct BoolSetting {
    std::string_view name;
    bool defaultValue;
};
/// One of a few words, the first of them by default.
struct ChoiceSetting {
    std::string_view name;
    std::span<const std::string_view> choices;
};
struct TextSetting {
    std::string_view name;
};
struct TextListSetting {
    std::string_view name;
    std::size_t maximumCount; ///< the last ones are kept
};

namespace SettingKeys {

/// Most states that a document's history keeps.
inline constexpr IntegerSetting historyStates{"historyStates", 50, 2, 1000};
/// Share of physical memory for uncompressed image tiles.
inline constexpr NumberSetting memoryFraction{"memoryFraction", 0.5, 0.2, 0.8};
/// Quality of exported JPEG and HEIC files.
inline constexpr NumberSetting jpegQuality{"jpegQuality", 0.9, 0, 1};
inline constexpr std::array<std::string_view, 3> colorSchemes{"system", "light", "dark"};
inline constexpr ChoiceSetting colorScheme{"colorScheme", colorSchemes};
/// Size of everything in windows beside what the screen asks for; from the next start on.
inline constexpr NumberSetting interfaceScale{"interfaceScale", 1, 0.75, 3};
/// In which lengths are shown and asked for; by the symbols of the units.
inline constexpr std::array<std::string_view, 5> lengthUnitSymbols{"px", "in", "cm", "mm", "pt"};
inline constexpr ChoiceSetting lengthUnit{"lengthUnit", lengthUnitSymbols};
/// Where tiles go that memory has no room for; from the next start on. Empty: the usual folder.
inline constexpr TextSetting scratchFolder{"scratchFolder"};
/// Whether pens press, and how: what a pen tells to the power of this. Above 1 it takes more
/// force.
inline constexpr BoolSetting penPressure{"penPressure", true};
inline constexpr NumberSetting penFirmness{"penFirmness", 1, 0.25, 4};
/// Whether gestures of fingers and wheel leave zoom or rotation as they are.
inline constexpr BoolSetting zoomLocked{"zoomLocked", false};
inline constexpr BoolSetting rotationLocked{"rotationLocked", false};
/// SHA-256 digests of shader texts that the user allowed to run.
inline constexpr TextListSetting trustedCodeEffects{"TrustedCodeEffects", 500};
/// Followed by a tool's key; the value is the tool's own.
inline constexpr std::string_view toolSettingsPrefix = "toolSettings.v1.";

} // namespace SettingKeys

} // namespace ombrel
