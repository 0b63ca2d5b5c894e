// Tagged unions as JSON objects with one key, the case's name, and enumerations as that name alone:
//   template <>
//   struct Cases<TextContent::Kind> {
//       static constexpr std::array list{Case{"paragraph", Payload::unlabelled}, Case{"point"}};
//   };
//   template <>
//   struct Names<FillRule> {
//       static constexpr std::array<std::string_view, 2> list{"nonZero", "evenOdd"};
//   };
// A union is a struct whose member `value` is a std::variant; cases stand in its order. A case
// holds {"_0": payload}, the payload's own fields, or an empty object.
#pragma once

#include "Core/Stored/StoredRecord.h"

#include <span>
#include <variant>

namespace ombrel::Stored {

enum class Payload : std::uint8_t { none, unlabelled, labelled };

struct Case {
    std::string_view name;
    Payload payload = Payload::none;
};

template <typename T>
struct Cases;
template <typename T>
struct Names;

template <typename T>
concept HasCases = requires { Cases<T>::list; };
template <typename T>
concept HasNames = requires { Names<T>::list; };

/// The one key of a union and what it holds.
struct Tagged {
    std::string_view name; ///< of the JSON's lifetime, as `content`
    const Json& content;
};
/// Refuses what is no object, or has not exactly one key.
Result<Tagged> decodeTag(const Json& json);
std::unexpected<Error> unknownCase(std::string_view name);
/// The name of a case, alone or as the key of an empty object.
Result<std::string_view> decodeName(const Json& json);

template <HasCases T>
struct Form<T> {
    using Variant = decltype(T::value);
    static constexpr auto& cases = Cases<T>::list;
    static_assert(std::size(cases) == std::variant_size_v<Variant>, "a name for each case");

    static Json encode(const T& value) {
        return encodeCase(value, std::make_index_sequence<std::size(cases)>());
    }
    static Result<T> decode(const Json& json) {
        const Result<Tagged> tagged = decodeTag(json);
        if (!tagged) return std::unexpected(tagged.error());
        Result<T> value = decodeCase(*tagged, std::make_index_sequence<std::size(cases)>());
        if (!value) return std::unexpected(std::move(value.error()).inField(tagged->name));
        return value;
    }

private:
    template <std::size_t index>
    using Alternative = std::variant_alternative_t<index, Variant>;

    template <std::size_t index>
    static Json encodePayload([[maybe_unused]] const Alternative<index>& payload) {
        Json content = Json::object();
        if constexpr (cases[index].payload == Payload::labelled)
            content = Form<Alternative<index>>::encode(payload);
        else if constexpr (cases[index].payload == Payload::unlabelled)
            content["_0"] = Form<Alternative<index>>::encode(payload);
        return content;
    }
    template <std::size_t... indices>
    static Json encodeCase(const T& value, std::index_sequence<indices...>) {
        Json json = Json::object();
        const auto encodeIf = [&]<std::size_t index>() {
            if (const auto* payload = std::get_if<index>(&value.value))
                json[std::string(cases[index].name)] = encodePayload<index>(*payload);
        };
        (encodeIf.template operator()<indices>(), ...);
        return json;
    }

    template <std::size_t index>
    static Result<T> decodePayload(const Json& content) {
        if (!content.is_object()) return expected("an object");
        if constexpr (cases[index].payload == Payload::none) {
            return T{Variant(std::in_place_index<index>)};
        } else {
            const bool isLabelled = cases[index].payload == Payload::labelled;
            const auto found = isLabelled ? content.end() : content.find("_0");
            if (!isLabelled && found == content.end())
                return std::unexpected(fault("a value is missing").error().inField("_0"));
            Result<Alternative<index>> payload =
                Form<Alternative<index>>::decode(isLabelled ? content : *found);
            if (payload) return T{Variant(std::in_place_index<index>, std::move(*payload))};
            if (isLabelled) return std::unexpected(std::move(payload.error()));
            return std::unexpected(std::move(payload.error()).inField("_0"));
        }
    }
    template <std::size_t... indices>
    static Result<T> decodeCase(const Tagged& tagged, std::index_sequence<indices...>) {
        Result<T> result = unknownCase(tagged.name);
        const auto decodeIf = [&]<std::size_t index>() {
            if (cases[index].name != tagged.name) return false;
            result = decodePayload<index>(tagged.content);
            return true;
        };
        static_cast<void>((... || decodeIf.template operator()<indices>()));
        return result;
    }
};

template <HasNames E>
    requires(std::is_enum_v<E>)
struct Form<E> {
    static Json encode(E value) { return Names<E>::list[static_cast<std::size_t>(value)]; }
    static Result<E> decode(const Json& json) {
        const Result<std::string_view> name = decodeName(json);
        if (!name) return std::unexpected(name.error());
        for (std::size_t index = 0; index < std::size(Names<E>::list); ++index) {
            if (Names<E>::list[index] == *name) return static_cast<E>(index);
        }
        return unknownCase(*name);
    }
};

} // namespace ombrel::Stored
