// The settings of the program by name, with what they are without the user's word and the range
// into which every read brings them. A stored value of another kind counts as absent.
#pragma once

#include <array>
#include <cstdint>
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
    std::array<std::string_view, 3> choices;
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
inline constexpr ChoiceSetting colorScheme{"colorScheme", {"system", "light", "dark"}};
/// Whether all windows keep one zoom, or one rotation.
inline constexpr BoolSetting zoomLocked{"zoomLocked", false};
inline constexpr BoolSetting rotationLocked{"rotationLocked", false};
/// SHA-256 digests of shader texts that the user allowed to run.
inline constexpr TextListSetting trustedCodeEffects{"TrustedCodeEffects", 500};
/// Followed by a tool's key; the value is the tool's own.
inline constexpr std::string_view toolSettingsPrefix = "toolSettings.v1.";

} // namespace SettingKeys

} // namespace ombrel
