// JSON as values: parsing without exceptions, getters that say what is wrong and where, and the one
// way in which the program writes it (keys sorted, UTF-8, a line break at the end of files).
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <expected>
#include <functional>
#include <string>
#include <string_view>

namespace ombrel {

/// Objects keep their keys sorted.
using Json = nlohmann::json;

struct JsonError {
    std::string message; ///< "line 3, column 7: ...", or "field \"opacity\" is no number"

    bool operator==(const JsonError&) const = default;
};

/// Strict JSON, valid UTF-8, nested at most `maximumDepth` deep.
std::expected<Json, JsonError> parseJson(std::string_view text, int maximumDepth = 256);

/// On one line, or indented by two spaces. What is no valid UTF-8 in a string is replaced by
/// U+FFFD; numbers that are not finite become null.
std::string compactText(const Json& json);
std::string indentedText(const Json& json);

/// The field of an object by name; an error names the field that is missing or of another kind.
/// Integers must be whole and in range, as 3 or 3.0.
std::expected<bool, JsonError> boolField(const Json& object, std::string_view name);
std::expected<std::int64_t, JsonError> integerField(const Json& object, std::string_view name);
std::expected<double, JsonError> numberField(const Json& object, std::string_view name);
std::expected<std::string, JsonError> stringField(const Json& object, std::string_view name);
/// References to the field inside `object`.
std::expected<std::reference_wrapper<const Json>, JsonError> arrayField(const Json& object,
                                                                        std::string_view name);
std::expected<std::reference_wrapper<const Json>, JsonError> objectField(const Json& object,
                                                                         std::string_view name);
/// Whether the field is there and not null.
bool hasField(const Json& object, std::string_view name);

} // namespace ombrel
