// The stored form of values: the JSON that files hold. encode() never fails; decode() takes any
// JSON, trusts none of it, and says where it went wrong. What a value of type T looks like is told
// once: by Fields<T> (a struct, StoredRecord.h), Cases<T> (a tagged union) or Names<T> (an
// enumeration, both StoredUnion.h), or by a Form<T> of its own where it is none of these. The
// tables of the document's types are in ...Forms.h beside this. Any thread.
#pragma once

#include "Base/Json.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace ombrel::Stored {

/// Why a value could not be read.
struct Error {
    std::string path;  ///< of what was read: "nodes[0].properties.opacity"; empty at the top
    std::string words; ///< "a number was expected"

    std::string text() const; ///< both: "nodes[0].properties.opacity: a number was expected"
    /// The same fault seen from one level further out.
    Error inField(std::string_view key) &&;
    Error inElement(std::size_t index) &&;

    bool operator==(const Error&) const = default;
};

template <typename T>
using Result = std::expected<T, Error>;

std::unexpected<Error> fault(std::string words);
std::unexpected<Error> expected(std::string_view what); ///< "a number was expected"

/// Has static Json encode(const T&) and static Result<T> decode(const Json&).
template <typename T>
struct Form;

template <typename T>
Json encode(const T& value) {
    return Form<T>::encode(value);
}

template <typename T>
Result<T> decode(const Json& json) {
    return Form<T>::decode(json);
}

template <>
struct Form<bool> {
    static Json encode(bool value) { return value; }
    static Result<bool> decode(const Json& json);
};

/// What "inf", "-inf" and "nan" stand for: JSON has no numbers for these.
std::optional<double> numberNamed(std::string_view text);
/// The nearest float; nothing where a finite number is beyond the range of floats.
std::optional<float> floatOf(double number);

/// What is not finite is "inf", "-inf" or "nan"; a whole number is written without a point.
template <>
struct Form<double> {
    static Json encode(double value);
    static Result<double> decode(const Json& json);
};

/// With the fewest digits that read back to the same float. A finite number outside the range of
/// floats is refused.
template <>
struct Form<float> {
    static Json encode(float value);
    static Result<float> decode(const Json& json);
};

/// Whole numbers, as 3 or 3.0.
template <>
struct Form<std::int64_t> {
    static Json encode(std::int64_t value) { return value; }
    static Result<std::int64_t> decode(const Json& json);
};

/// Smaller whole numbers, in their own range.
template <typename T>
    requires(std::is_integral_v<T>)
struct Form<T> {
    static Json encode(T value) { return value; }
    static Result<T> decode(const Json& json) {
        const Result<std::int64_t> wide = Form<std::int64_t>::decode(json);
        if (!wide) return std::unexpected(wide.error());
        if (!std::in_range<T>(*wide)) return fault("the number is out of range");
        return static_cast<T>(*wide);
    }
};

template <>
struct Form<std::string> {
    static Json encode(const std::string& value) { return value; }
    static Result<std::string> decode(const Json& json);
};

template <typename T>
struct Form<std::vector<T>> {
    static Json encode(const std::vector<T>& values) {
        Json json = Json::array();
        for (const T& value : values)
            json.push_back(Form<T>::encode(value));
        return json;
    }
    static Result<std::vector<T>> decode(const Json& json) {
        if (!json.is_array()) return expected("a list");
        std::vector<T> values;
        values.reserve(json.size());
        for (std::size_t index = 0; index < json.size(); ++index) {
            Result<T> value = Form<T>::decode(json[index]);
            if (!value) return std::unexpected(std::move(value.error()).inElement(index));
            values.push_back(std::move(*value));
        }
        return values;
    }
};

template <typename T>
struct Form<std::map<std::string, T, std::less<>>> {
    using Map = std::map<std::string, T, std::less<>>;
    static Json encode(const Map& values) {
        Json json = Json::object();
        for (const auto& [key, value] : values)
            json[key] = Form<T>::encode(value);
        return json;
    }
    static Result<Map> decode(const Json& json) {
        if (!json.is_object()) return expected("an object");
        Map values;
        for (const auto& [key, each] : json.items()) {
            Result<T> value = Form<T>::decode(each);
            if (!value) return std::unexpected(std::move(value.error()).inField(key));
            values.emplace_hint(values.end(), key, std::move(*value));
        }
        return values;
    }
};

/// A list of exactly `count`: points, sizes, matrices.
template <typename T, std::size_t count>
struct Form<std::array<T, count>> {
    static Json encode(const std::array<T, count>& values) {
        Json json = Json::array();
        for (const T& value : values)
            json.push_back(Form<T>::encode(value));
        return json;
    }
    static Result<std::array<T, count>> decode(const Json& json) {
        if (!json.is_array() || json.size() != count)
            return expected("a list of " + std::to_string(count));
        std::array<T, count> values;
        for (std::size_t index = 0; index < count; ++index) {
            Result<T> value = Form<T>::decode(json[index]);
            if (!value) return std::unexpected(std::move(value.error()).inElement(index));
            values[index] = std::move(*value);
        }
        return values;
    }
};

} // namespace ombrel::Stored
