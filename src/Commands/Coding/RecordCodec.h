// Structs in JSON by the list of their fields (Fields.h): objects with a key a field. Unknown keys
// are refused. What is there is read before what is absent is made up, so that a size may follow
// from a picture that is listed after it.
#pragma once

#include "Commands/Coding/FieldCodec.h"
#include "Commands/Coding/Fields.h"
#include "Commands/Coding/ScalarCodecs.h"

#include <concepts>
#include <tuple>
#include <type_traits>

namespace ombrel {

/// Whether fields that are left out keep what the struct held before.
enum class Completion { byField, allKept };

namespace FieldWalk {

template <typename Owner, typename Value>
void encode(const Field<Owner, Value>& field, const Owner& owner, Json& object) {
    const Value& value = owner.*field.member;
    if constexpr (isOptional<Value>) {
        if (!value) return;
    }
    object[std::string(field.name)] = FieldCodec<Value>::encode(value);
}

template <typename Owner, typename Value>
void encode(const EmbeddedFields<Owner, Value>& embedded, const Owner& owner, Json& object) {
    const auto each = [&](const auto&... fields) {
        (encode(fields, owner.*embedded.member, object), ...);
    };
    std::apply(each, Record<Value>::fields());
}

template <typename Owner, typename Value>
void addNames(const Field<Owner, Value>& field, std::vector<std::string_view>& names) {
    names.push_back(field.name);
}

template <typename Owner, typename Value>
void addNames(const EmbeddedFields<Owner, Value>&, std::vector<std::string_view>& names) {
    std::apply([&](const auto&... fields) { (addNames(fields, names), ...); },
               Record<Value>::fields());
}

template <typename Value>
Decoded<Value> decodeValue(const Json& json, Decoder& in, const Value& present, Absence absence) {
    using Codec = FieldCodec<Value>;
    if constexpr (requires { Codec::decodeNew(json, in); }) {
        if (absence == Absence::made) return Codec::decodeNew(json, in);
    }
    if constexpr (requires { Codec::decodeOver(json, in, present); }) {
        return Codec::decodeOver(json, in, present);
    } else {
        return Codec::decode(json, in);
    }
}

template <typename Owner, typename Value>
std::optional<JsonError> decodePresent(const Field<Owner, Value>& field, const Json& object,
                                       Decoder& in, Owner& owner) {
    const Json* json = fieldOf(object, field.name);
    if (json == nullptr) return std::nullopt;
    const Decoder::Place place(in, field.name);
    Decoded<Value> value = decodeValue<Value>(*json, in, owner.*field.member, field.absence);
    if (!value) return std::move(value.error());
    if constexpr (std::is_arithmetic_v<Value>) {
        const auto number = static_cast<double>(*value);
        if (field.isBounded() && !(number >= field.least && number <= field.most))
            return in.mustBe(fmt::format("from {} to {}", field.least, field.most)).error();
    }
    owner.*field.member = std::move(*value);
    return std::nullopt;
}

template <typename Owner, typename Value>
std::optional<JsonError> fillAbsent(const Field<Owner, Value>& field, const Json& object,
                                    Decoder& in, Owner& owner) {
    if (isOptional<Value> || field.absence == Absence::byDefault) return std::nullopt;
    if (fieldOf(object, field.name) != nullptr) return std::nullopt;
    const Decoder::Place place(in, field.name);
    if constexpr (requires { FieldCodec<Value>::make(in); }) {
        if (field.absence == Absence::made) {
            Decoded<Value> value = FieldCodec<Value>::make(in);
            if (!value) return std::move(value.error());
            owner.*field.member = std::move(*value);
            return std::nullopt;
        }
    }
    return in.fault("is missing").error();
}

template <typename Owner, typename Value>
std::optional<JsonError> decodePresent(const EmbeddedFields<Owner, Value>& embedded,
                                       const Json& object, Decoder& in, Owner& owner) {
    std::optional<JsonError> error;
    const auto each = [&](const auto&... fields) {
        ((error = decodePresent(fields, object, in, owner.*embedded.member)) || ...);
    };
    std::apply(each, Record<Value>::fields());
    return error;
}

template <typename Owner, typename Value>
std::optional<JsonError> fillAbsent(const EmbeddedFields<Owner, Value>& embedded,
                                    const Json& object, Decoder& in, Owner& owner) {
    std::optional<JsonError> error;
    const auto each = [&](const auto&... fields) {
        ((error = fillAbsent(fields, object, in, owner.*embedded.member)) || ...);
    };
    std::apply(each, Record<Value>::fields());
    return error;
}

template <typename Owner, typename Value>
void describe(const Field<Owner, Value>& field, ValueKinds& kinds,
              std::vector<FieldDescription>& out) {
    constexpr bool canBeNew =
        requires(const Json& json, Decoder& in) { FieldCodec<Value>::decodeNew(json, in); };
    std::string kind =
        canBeNew && field.absence == Absence::made ? "UUID" : FieldCodec<Value>::describe(kinds);
    if (field.isBounded()) kind += fmt::format(" from {} to {}", field.least, field.most);
    out.push_back({std::string(field.name), std::move(kind), std::string(field.description),
                   isOptional<Value> || field.absence != Absence::refused});
}

template <typename Owner, typename Value>
void describe(const EmbeddedFields<Owner, Value>&, ValueKinds& kinds,
              std::vector<FieldDescription>& out) {
    std::apply([&](const auto&... fields) { (describe(fields, kinds, out), ...); },
               Record<Value>::fields());
}

} // namespace FieldWalk

/// Adds the fields of `value` to the object.
template <typename T, typename... Fields>
void encodeFields(const std::tuple<Fields...>& fields, const T& value, Json& object) {
    std::apply([&](const auto&... each) { (FieldWalk::encode(each, value, object), ...); }, fields);
}

/// Reads the fields over `value`; `key` is allowed beside them.
template <typename T, typename... Fields>
std::optional<JsonError>
decodeFields(const std::tuple<Fields...>& fields, const Json& json, Decoder& in, T& value,
             Completion completion = Completion::byField, std::string_view key = {}) {
    std::vector<std::string_view> names;
    std::apply([&](const auto&... each) { (FieldWalk::addNames(each, names), ...); }, fields);
    if (!key.empty()) names.push_back(key);
    std::optional<JsonError> error = in.refuseOtherFields(json, names);
    if (error) return error;
    const auto decodeEach = [&](const auto&... each) {
        static_cast<void>(((error = FieldWalk::decodePresent(each, json, in, value)) || ...));
    };
    std::apply(decodeEach, fields);
    if (error || completion == Completion::allKept) return error;
    const auto fillEach = [&](const auto&... each) {
        static_cast<void>(((error = FieldWalk::fillAbsent(each, json, in, value)) || ...));
    };
    std::apply(fillEach, fields);
    return error;
}

template <typename... Fields>
std::vector<FieldDescription> describeFields(const std::tuple<Fields...>& fields,
                                             ValueKinds& kinds) {
    std::vector<FieldDescription> descriptions;
    std::apply([&](const auto&... each) { (FieldWalk::describe(each, kinds, descriptions), ...); },
               fields);
    return descriptions;
}

template <typename T>
concept HasRecord = requires { Record<T>::fields(); };

/// What a struct with a Record has; a codec of its own may build on it.
template <HasRecord T>
struct RecordCodec {
    static Json encode(const T& value) {
        Json object = Json::object();
        encodeFields(Record<T>::fields(), value, object);
        return object;
    }
    static Decoded<T> decode(const Json& json, Decoder& in) { return decodeOnto(T{}, json, in); }
    static Decoded<T> decodeOnto(T value, const Json& json, Decoder& in,
                                 Completion completion = Completion::byField) {
        std::optional<JsonError> error =
            decodeFields(Record<T>::fields(), json, in, value, completion);
        if (error) return std::unexpected(std::move(*error));
        return value;
    }
    static std::string describe(ValueKinds& kinds) {
        std::string name(Record<T>::name);
        // Entered before its fields are walked: groups hold groups.
        if (kinds.try_emplace(name, ValueKind{std::string(Record<T>::description), {}}).second) {
            std::vector<FieldDescription> fields = describeFields(Record<T>::fields(), kinds);
            kinds[name].fields = std::move(fields);
        }
        return name;
    }
};

template <HasRecord T>
struct FieldCodec<T> : RecordCodec<T> {};

} // namespace ombrel
