// What layers hold besides pixels, in JSON as documents store it: shapes, text, instances, effects.
#pragma once

#include "Commands/Coding/FieldCodec.h"
#include "Core/CowPtr.h"
#include "Core/Stored/BoardForms.h"
#include "Core/Stored/EffectForms.h"
#include "Core/Stored/ShapeForms.h"
#include "Core/Stored/TextForms.h"

namespace ombrel {

/// For types whose stored form is the only one.
template <typename T>
struct StoredCodec {
    static Json encode(const T& value) { return Stored::encode(value); }
    static Decoded<T> decode(const Json& json, Decoder& in) {
        Stored::Result<T> value = Stored::decode<T>(json);
        if (!value) return in.fault("is no such value: " + value.error().text());
        return std::move(*value);
    }
    static std::string describe(ValueKinds&) { return "object, as documents store it"; }
};

template <>
struct FieldCodec<ShapeContent> : StoredCodec<ShapeContent> {};
template <>
struct FieldCodec<TextContent> : StoredCodec<TextContent> {};
template <>
struct FieldCodec<InstanceContent> : StoredCodec<InstanceContent> {};
template <>
struct FieldCodec<Effect> : StoredCodec<Effect> {};

template <typename T>
inline constexpr bool isOptional<CowOptional<T>> = true;

template <typename T>
struct FieldCodec<CowOptional<T>> {
    static Json encode(const CowOptional<T>& value) { return FieldCodec<T>::encode(*value); }
    static Decoded<CowOptional<T>> decode(const Json& json, Decoder& in) {
        Decoded<T> value = FieldCodec<T>::decode(json, in);
        if (!value) return std::unexpected(std::move(value.error()));
        return CowOptional<T>(std::move(*value));
    }
    static std::string describe(ValueKinds& kinds) { return FieldCodec<T>::describe(kinds); }
};

template <typename T>
struct FieldCodec<CowList<T>> {
    using List = FieldCodec<std::vector<T>>;

    static Json encode(const CowList<T>& values) { return List::encode(*values); }
    static Decoded<CowList<T>> decode(const Json& json, Decoder& in) {
        Decoded<std::vector<T>> values = List::decode(json, in);
        if (!values) return std::unexpected(std::move(values.error()));
        return CowList<T>(std::move(*values));
    }
    static std::string describe(ValueKinds& kinds) { return List::describe(kinds); }
};

} // namespace ombrel
