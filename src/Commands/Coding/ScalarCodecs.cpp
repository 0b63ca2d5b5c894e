#include "Commands/Coding/ScalarCodecs.h"

#include <cmath>
#include <cstdlib>

namespace ombrel {

Decoded<bool> FieldCodec<bool>::decode(const Json& json, Decoder& in) {
    if (!json.is_boolean()) return in.mustBe("true or false");
    return json.get<bool>();
}

Decoded<std::int64_t> FieldCodec<std::int64_t>::decode(const Json& json, Decoder& in) {
    constexpr std::string_view what = "a whole number";
    if (json.is_number_unsigned()) {
        const auto value = json.get<std::uint64_t>();
        if (!std::in_range<std::int64_t>(value)) return in.mustBe(what);
        return static_cast<std::int64_t>(value);
    }
    if (json.is_number_integer()) return json.get<std::int64_t>();
    if (!json.is_number()) return in.mustBe(what);
    const double value = json.get<double>(); // 3.0 is whole, too
    if (value != std::trunc(value) || !(value >= -0x1p63 && value < 0x1p63)) return in.mustBe(what);
    return static_cast<std::int64_t>(value);
}

Json FieldCodec<double>::encode(const double& value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    return value;
}

Decoded<double> FieldCodec<double>::decode(const Json& json, Decoder& in) {
    if (json.is_number()) return json.get<double>();
    if (json == "inf") return std::numeric_limits<double>::infinity();
    if (json == "-inf") return -std::numeric_limits<double>::infinity();
    if (json == "nan") return std::numeric_limits<double>::quiet_NaN();
    return in.mustBe("a number");
}

Json FieldCodec<float>::encode(const float& value) {
    if (!std::isfinite(value)) return FieldCodec<double>::encode(value);
    const double brief = std::strtod(fmt::format("{}", value).c_str(), nullptr);
    return static_cast<float>(brief) == value ? brief : static_cast<double>(value);
}

Decoded<float> FieldCodec<float>::decode(const Json& json, Decoder& in) {
    const Decoded<double> wide = FieldCodec<double>::decode(json, in);
    if (!wide) return std::unexpected(wide.error());
    if (std::isfinite(*wide) && std::abs(*wide) > std::numeric_limits<float>::max())
        return in.mustBe("a number that a 32-bit float can hold");
    return static_cast<float>(*wide);
}

Decoded<std::string> FieldCodec<std::string>::decode(const Json& json, Decoder& in) {
    if (!json.is_string()) return in.mustBe("a text");
    return json.get<std::string>();
}

Decoded<std::string> FieldCodec<std::string>::make(Decoder& in) {
    if (!in.pictureSize) return in.fault("is missing");
    return in.pictureName;
}

} // namespace ombrel
