// The tonal adjustments as values: which one, with which numbers. Plain values; any thread.
#pragma once

#include "Core/Effect.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <variant>

namespace ombrel {

struct HueSaturation {
    double hue = 0;        ///< degrees
    double saturation = 0; ///< percent
    double lightness = 0;  ///< percent
    bool colorize = false;

    bool operator==(const HueSaturation&) const = default;
};

namespace LevelsMath {

/// Blacks and whites run from 0 to 255.
struct Channel {
    double inBlack = 0;
    double gamma = 1;
    double inWhite = 255;
    double outBlack = 0;
    double outWhite = 255;

    bool operator==(const Channel&) const = default;
};

/// The ends of parameter keys: "rgb.inBlack" is a channel's prefix, a point and a value.
enum class Value : std::uint8_t { inBlack, gamma, inWhite, outBlack, outWhite };
struct ValueName {
    Value value;
    std::string_view name;
    double Channel::* member;
};
inline constexpr std::array<ValueName, 5> values{{
    {Value::inBlack, "inBlack", &Channel::inBlack},
    {Value::gamma, "gamma", &Channel::gamma},
    {Value::inWhite, "inWhite", &Channel::inWhite},
    {Value::outBlack, "outBlack", &Channel::outBlack},
    {Value::outWhite, "outWhite", &Channel::outWhite},
}};
inline constexpr std::array<std::string_view, 5> channelPrefixes{"rgb", "red", "green", "blue",
                                                                 "alpha"};

/// The numbers of one channel in the parameters of a levels effect.
Channel channelOf(const EffectParams& params, std::string_view prefix);

} // namespace LevelsMath

struct Adjustment {
    struct Levels {
        EffectParams params; ///< of an effect of the kind `levels`

        bool operator==(const Levels&) const = default;
    };
    /// Both from -100 to 100; what lies outside acts as the end.
    struct BrightnessContrast {
        double brightness = 0;
        double contrast = 0;

        bool operator==(const BrightnessContrast&) const = default;
    };
    struct Invert {
        bool operator==(const Invert&) const = default;
    };
    struct Desaturate {
        bool operator==(const Desaturate&) const = default;
    };
    std::variant<Levels, BrightnessContrast, HueSaturation, Invert, Desaturate> value;

    std::string_view name() const; ///< "Brightness/Contrast"
    bool isIdentity() const;       ///< changes no pixel, whatever the picture

    bool operator==(const Adjustment&) const = default;
};

} // namespace ombrel
