#include "Commands/Coding/ScalarCodecs.h"

#include "Core/Stored/StoredForm.h"

namespace ombrel {

namespace {

/// By the rules of files, in the words of scripts.
template <typename T>
Decoded<T> decodeStored(const Json& json, const Decoder& in, std::string_view what) {
    const Stored::Result<T> value = Stored::decode<T>(json);
    if (!value) return in.mustBe(what);
    return *value;
}

} // namespace

Decoded<bool> FieldCodec<bool>::decode(const Json& json, Decoder& in) {
    return decodeStored<bool>(json, in, "true or false");
}

Decoded<std::int64_t> FieldCodec<std::int64_t>::decode(const Json& json, Decoder& in) {
    return decodeStored<std::int64_t>(json, in, "a whole number");
}

Json FieldCodec<double>::encode(const double& value) {
    return Stored::encode(value);
}

Decoded<double> FieldCodec<double>::decode(const Json& json, Decoder& in) {
    return decodeStored<double>(json, in, "a number");
}

Json FieldCodec<float>::encode(const float& value) {
    return Stored::encode(value);
}

Decoded<float> FieldCodec<float>::decode(const Json& json, Decoder& in) {
    const Decoded<double> number = FieldCodec<double>::decode(json, in);
    if (!number) return std::unexpected(number.error());
    return decodeStored<float>(json, in, "a number that a 32-bit float can hold");
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
