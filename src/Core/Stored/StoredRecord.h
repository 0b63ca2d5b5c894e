// Structs as JSON objects by one table of their fields:
//   template <>
//   struct Fields<TextRun> {
//       static constexpr std::tuple list{field("location", &TextRun::location), ...};
//   };
// A member of std::optional is left out where it is absent, and absent where it is left out or
// null; any other must be there unless it has a default. Unknown keys are ignored.
#pragma once

#include "Core/Stored/StoredForm.h"

#include <tuple>

namespace ombrel::Stored {

template <typename Owner, typename Value>
struct Field {
    std::string_view key;
    Value Owner::* member;
    bool keepsDefault = false; ///< where it is left out, the member keeps what a new struct holds
};

template <typename Owner, typename Value>
constexpr Field<Owner, Value> field(std::string_view key, Value Owner::* member) {
    return {key, member};
}

template <typename Owner, typename Value>
constexpr Field<Owner, Value> fieldOrDefault(std::string_view key, Value Owner::* member) {
    return {key, member, true};
}

template <typename T>
struct Fields;

template <typename T>
concept HasFields = requires { Fields<T>::list; };

template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <typename Owner, typename Value>
void encodeField(const Field<Owner, Value>& field, const Owner& owner, Json& object) {
    const Value& value = owner.*field.member;
    if constexpr (isOptional<Value>) {
        if (value)
            object[std::string(field.key)] = Form<typename Value::value_type>::encode(*value);
    } else {
        object[std::string(field.key)] = Form<Value>::encode(value);
    }
}

/// Sets the member; nothing where that went well.
template <typename Owner, typename Value>
std::optional<Error> decodeField(const Field<Owner, Value>& field, const Json& object,
                                 Owner& owner) {
    const auto found = object.find(field.key);
    const bool isThere = found != object.end();
    if constexpr (isOptional<Value>) {
        if (!isThere || found->is_null()) return std::nullopt;
        Result<typename Value::value_type> value = Form<typename Value::value_type>::decode(*found);
        if (!value) return std::move(value.error()).inField(field.key);
        owner.*field.member = std::move(*value);
    } else {
        if (!isThere && field.keepsDefault) return std::nullopt;
        if (!isThere) return fault("a value is missing").error().inField(field.key);
        Result<Value> value = Form<Value>::decode(*found);
        if (!value) return std::move(value.error()).inField(field.key);
        owner.*field.member = std::move(*value);
    }
    return std::nullopt;
}

/// The form of a struct by its fields; apart from Form for types that read more than they write.
template <HasFields T>
struct RecordForm {
    static Json encode(const T& owner) {
        Json object = Json::object();
        std::apply([&](const auto&... fields) { (encodeField(fields, owner, object), ...); },
                   Fields<T>::list);
        return object;
    }
    static Result<T> decode(const Json& json) {
        if (!json.is_object()) return expected("an object");
        T owner{};
        std::optional<Error> error;
        // Up to the first error.
        std::apply(
            [&](const auto&... fields) {
                static_cast<void>((... && !(error = decodeField(fields, json, owner))));
            },
            Fields<T>::list);
        if (error) return std::unexpected(std::move(*error));
        return owner;
    }
};

template <HasFields T>
struct Form<T> : RecordForm<T> {};

} // namespace ombrel::Stored
