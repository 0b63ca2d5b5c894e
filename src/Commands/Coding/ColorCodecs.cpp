#include "Commands/Coding/ColorCodecs.h"

#include "Base/Base64.h"
#include "Core/ColorMath.h"

#include <algorithm>
#include <charconv>

namespace ombrel {

namespace {

std::optional<std::uint32_t> hexadecimal(std::span<const char> digits) {
    std::uint32_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

std::optional<PremultipliedColor> colorOfText(std::string_view text) {
    if (!text.starts_with('#') || (text.size() != 7 && text.size() != 9)) return std::nullopt;
    std::optional<std::uint32_t> value = hexadecimal(text.substr(1));
    if (!value) return std::nullopt;
    if (text.size() == 7) value = *value << 8 | 0xFF;
    const auto component = [&](int shift) { return (*value >> shift & 0xFF) / 255.0; };
    return ColorMath::documentColorOf({component(24), component(16), component(8)}, component(0));
}

} // namespace

Decoded<PremultipliedColor> FieldCodec<PremultipliedColor>::decode(const Json& json, Decoder& in) {
    if (json.is_object()) return RecordCodec::decode(json, in);
    std::optional<PremultipliedColor> color;
    if (json.is_string()) color = colorOfText(json.get_ref<const std::string&>());
    if (!color) return in.mustBe("a color: \"#RRGGBB\", \"#RRGGBBAA\" or red, green, blue, alpha");
    return *color;
}

Json FieldCodec<ColorProfile>::encode(const ColorProfile& profile) {
    for (const ColorProfile& each : ColorProfile::builtIn())
        if (each == profile) return each.name();
    return {{"name", profile.name()}, {"iccData", base64Text(profile.iccData())}};
}

Decoded<ColorProfile> FieldCodec<ColorProfile>::decode(const Json& json, Decoder& in) {
    if (json.is_string()) {
        std::string names;
        for (const ColorProfile& each : ColorProfile::builtIn()) {
            if (each.name() == json.get_ref<const std::string&>()) return each;
            names += "\"" + each.name() + "\", ";
        }
        return in.mustBe(names + "or a profile with name and iccData");
    }
    constexpr std::array<std::string_view, 2> keys{"name", "iccData"};
    if (std::optional<JsonError> error = in.refuseOtherFields(json, keys))
        return std::unexpected(std::move(*error));
    const Json* data = fieldOf(json, "iccData");
    std::optional<std::vector<std::byte>> bytes;
    if (data != nullptr && data->is_string())
        bytes = bytesOfBase64(data->get_ref<const std::string&>());
    if (!bytes) return in.mustBe("a profile whose iccData is base64");
    const Json* name = fieldOf(json, "name");
    if (name == nullptr) return ColorProfile::embedded(std::move(*bytes));
    if (!name->is_string()) return in.mustBe("a profile whose name is a text");
    return ColorProfile(name->get<std::string>(), std::move(*bytes));
}

std::string FieldCodec<ColorProfile>::describe(ValueKinds& kinds) {
    std::string names;
    for (const ColorProfile& each : ColorProfile::builtIn())
        names += (names.empty() ? "`\"" : ", `\"") + each.name() + "\"`";
    kinds["color profile"].description =
        "One of " + names + ", or `{\"name\": text, \"iccData\": base64}` for any other.";
    return "color profile";
}

} // namespace ombrel
