// How a value of one type is written in JSON and read back: a trait, specialised in small files
// by subject (ScalarCodecs.h, LayerCodecs.h, ...). A specialisation has
//   static Json encode(const T&);
//   static Decoded<T> decode(const Json&, Decoder&);
//   static std::string describe(ValueKinds&);          // its name in the reference
// and may have
//   static Decoded<T> decodeOver(const Json&, Decoder&, const T& present); // instead of decode
//   static Decoded<T> decodeNew(const Json&, Decoder&);  // instead of decode, for orMade() fields
//   static Decoded<T> make(Decoder&);                    // for orMade() fields that are left out
// Structs with a Record get theirs from its fields, enumerations from EnumNames.
// What encode gives, decode reads back to the same value; tiles become new ones with equal pixels.
#pragma once

#include "Commands/Coding/Decoder.h"
#include "Commands/Coding/ValueKinds.h"

#include <fmt/core.h>

#include <optional>
#include <string>
#include <vector>

namespace ombrel {

template <typename T>
struct FieldCodec;

template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

/// Left out where absent: encode is called with a value only.
template <typename T>
struct FieldCodec<std::optional<T>> {
    static Json encode(const std::optional<T>& value) { return FieldCodec<T>::encode(*value); }
    static Decoded<std::optional<T>> decode(const Json& json, Decoder& in) {
        Decoded<T> value = FieldCodec<T>::decode(json, in);
        if (!value) return std::unexpected(value.error());
        return std::optional<T>(std::move(*value));
    }
    static std::string describe(ValueKinds& kinds) { return FieldCodec<T>::describe(kinds); }
};

template <typename T>
struct FieldCodec<std::vector<T>> {
    static Json encode(const std::vector<T>& values) {
        Json json = Json::array();
        for (const T& value : values)
            json.push_back(FieldCodec<T>::encode(value));
        return json;
    }
    static Decoded<std::vector<T>> decode(const Json& json, Decoder& in) {
        if (!json.is_array()) return in.mustBe("a list");
        std::vector<T> values;
        for (std::size_t index = 0; index < json.size(); ++index) {
            const Decoder::Place place(in, index);
            Decoded<T> value = FieldCodec<T>::decode(json[index], in);
            if (!value) return std::unexpected(value.error());
            values.push_back(std::move(*value));
        }
        return values;
    }
    static std::string describe(ValueKinds& kinds) {
        return fmt::format("[{}, ...]", FieldCodec<T>::describe(kinds));
    }
};

} // namespace ombrel
