#include "Base/Json.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

std::unexpected<JsonError> fieldError(std::string_view name, std::string_view what) {
    return std::unexpected(JsonError{fmt::format("field \"{}\" {}", name, what)});
}

const Json* find(const Json& object, std::string_view name) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

/// The library's own message, without its prefix of exception names and codes.
JsonError parseError(std::string_view text, const Json::parse_error& error) {
    const std::size_t end = std::min(error.byte > 0 ? error.byte - 1 : 0, text.size());
    const std::string_view before = text.substr(0, end);
    const auto line = std::ranges::count(before, '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 where there is none
    return {fmt::format("line {}, column {}: not valid JSON", line, end - lineStart + 1)};
}

bool isDeeperThan(std::string_view text, int limit) {
    int depth = 0;
    bool isInString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (isInString) {
            if (c == '\\') ++i;
            if (c == '"') isInString = false;
        } else if (c == '"') {
            isInString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > limit) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

} // namespace

std::expected<Json, JsonError> parseJson(std::string_view text, int maximumDepth) {
    // Values are destroyed and written recursively, so depth is bounded before they are made.
    if (isDeeperThan(text, maximumDepth)) return std::unexpected(JsonError{"nested too deep"});
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        return std::unexpected(parseError(text, error));
    } catch (const Json::exception&) { // a number beyond every range
        return std::unexpected(JsonError{"not valid JSON"});
    }
}

std::string compactText(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string indentedText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::expected<bool, JsonError> boolField(const Json& object, std::string_view name) {
    const Json* field = find(object, name);
    if (field == nullptr) return fieldError(name, "is missing");
    if (!field->is_boolean()) return fieldError(name, "is neither true nor false");
    return field->get<bool>();
}

std::expected<std::int64_t, JsonError> integerField(const Json& object, std::string_view name) {
    const Json* field = find(object, name);
    if (field == nullptr) return fieldError(name, "is missing");
    if (field->is_number_unsigned()) {
        const auto value = field->get<std::uint64_t>();
        if (value > static_cast<std::uint64_t>(INT64_MAX)) return fieldError(name, "is too large");
        return static_cast<std::int64_t>(value);
    }
    if (field->is_number_integer()) return field->get<std::int64_t>();
    if (!field->is_number()) return fieldError(name, "is no number");
    const double value = field->get<double>();
    if (value != std::trunc(value)) return fieldError(name, "is no whole number");
    if (!(value >= -0x1p63 && value < 0x1p63)) return fieldError(name, "is too large");
    return static_cast<std::int64_t>(value);
}

std::expected<double, JsonError> numberField(const Json& object, std::string_view name) {
    const Json* field = find(object, name);
    if (field == nullptr) return fieldError(name, "is missing");
    if (!field->is_number()) return fieldError(name, "is no number");
    return field->get<double>();
}

std::expected<std::string, JsonError> stringField(const Json& object, std::string_view name) {
    const Json* field = find(object, name);
    if (field == nullptr) return fieldError(name, "is missing");
    if (!field->is_string()) return fieldError(name, "is no text");
    return field->get<std::string>();
}

std::expected<std::reference_wrapper<const Json>, JsonError> arrayField(const Json& object,
                                                                        std::string_view name) {
    const Json* field = find(object, name);
    if (field == nullptr) return fieldError(name, "is missing");
    if (!field->is_array()) return fieldError(name, "is no list");
    return std::cref(*field);
}

std::expected<std::reference_wrapper<const Json>, JsonError> objectField(const Json& object,
                                                                         std::string_view name) {
    const Json* field = find(object, name);
    if (field == nullptr) return fieldError(name, "is missing");
    if (!field->is_object()) return fieldError(name, "is no object");
    return std::cref(*field);
}

bool hasField(const Json& object, std::string_view name) {
    const Json* field = find(object, name);
    return field != nullptr && !field->is_null();
}

} // namespace ombrel
