// Booleans, numbers, texts and enumerations in JSON. Numbers that JSON has none for are the texts
// "inf", "-inf" and "nan"; an enumeration is the name of its case, from one table each.
#pragma once

#include "Commands/Coding/EnumNames.h"
#include "Commands/Coding/FieldCodec.h"

#include <fmt/core.h>

#include <cstdint>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>

namespace ombrel {

template <>
struct FieldCodec<bool> {
    static Json encode(const bool& value) { return value; }
    static Decoded<bool> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "true or false"; }
};

template <>
struct FieldCodec<std::int64_t> {
    static Json encode(const std::int64_t& value) { return value; }
    static Decoded<std::int64_t> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "whole number"; }
};

template <>
struct FieldCodec<double> {
    static Json encode(const double& value);
    static Decoded<double> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "number"; }
};

/// Written with the fewest digits that give the float back.
template <>
struct FieldCodec<float> {
    static Json encode(const float& value);
    static Decoded<float> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "number"; }
};

template <>
struct FieldCodec<std::string> {
    static Json encode(const std::string& value) { return value; }
    static Decoded<std::string> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "text"; }
    /// The name of the picture that was read.
    static Decoded<std::string> make(Decoder& in);
};

/// Smaller whole numbers, by the rules of the largest.
template <typename T>
    requires(std::is_integral_v<T>)
struct FieldCodec<T> {
    static Json encode(const T& value) { return value; }
    static Decoded<T> decode(const Json& json, Decoder& in) {
        const Decoded<std::int64_t> wide = FieldCodec<std::int64_t>::decode(json, in);
        if (!wide) return std::unexpected(wide.error());
        if (!std::in_range<T>(*wide))
            return in.mustBe(fmt::format("from {} to {}", +std::numeric_limits<T>::min(),
                                         +std::numeric_limits<T>::max()));
        return static_cast<T>(*wide);
    }
    static std::string describe(ValueKinds&) { return "whole number"; }
};

template <typename E>
    requires(std::is_enum_v<E>)
struct FieldCodec<E> {
    static Json encode(const E& value) {
        for (const EnumCase<E>& each : EnumNames<E>::cases)
            if (each.value == value) return each.name;
        return nullptr; // no case at all: read back as absent
    }
    static Decoded<E> decode(const Json& json, Decoder& in) {
        if (json.is_string()) {
            const std::string_view text = json.get_ref<const std::string&>();
            for (const EnumCase<E>& each : EnumNames<E>::cases)
                if (each.name == text) return each.value;
        }
        return in.mustBe("one of " + listOfCases());
    }
    static std::string describe(ValueKinds& kinds) {
        kinds[std::string(EnumNames<E>::name)].description = "One of " + listOfCases() + ".";
        return std::string(EnumNames<E>::name);
    }

private:
    static std::string listOfCases() {
        std::string list;
        for (const EnumCase<E>& each : EnumNames<E>::cases)
            list += (list.empty() ? "\"" : ", \"") + std::string(each.name) + "\"";
        return list;
    }
};

} // namespace ombrel
