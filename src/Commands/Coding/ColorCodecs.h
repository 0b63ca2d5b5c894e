// Colours and colour profiles in JSON: {"red", "green", "blue", "alpha"} as a document stores them
// (premultiplied, linear) or "#RRGGBB" as people write them; a profile by a built-in's name or as
// {"name", "iccData"} in base64.
#pragma once

#include "Commands/Coding/RecordCodec.h"
#include "Core/ColorProfile.h"
#include "Core/PremultipliedColor.h"

namespace ombrel {

template <>
struct Record<PremultipliedColor> {
    static constexpr std::string_view name = "color";
    static constexpr std::string_view description =
        "`\"#RRGGBB\"` or `\"#RRGGBBAA\"` as on the web, or the numbers that a document stores: "
        "linear light, multiplied by alpha.";
    static constexpr auto fields() {
        using Color = PremultipliedColor;
        return std::tuple(field("red", &Color::red, "linear, times alpha"),
                          field("green", &Color::green, "linear, times alpha"),
                          field("blue", &Color::blue, "linear, times alpha"),
                          field("alpha", &Color::alpha, "0 is transparent, 1 opaque"));
    }
};

template <>
struct FieldCodec<PremultipliedColor> : RecordCodec<PremultipliedColor> {
    static Decoded<PremultipliedColor> decode(const Json& json, Decoder& in);
};

template <>
struct FieldCodec<ColorProfile> {
    static Json encode(const ColorProfile& profile);
    static Decoded<ColorProfile> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds& kinds);
};

} // namespace ombrel
