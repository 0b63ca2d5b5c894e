#include "IO/Native/ManifestWalk.h"

#include <cmath>
#include <fmt/core.h>
#include <utility>

namespace ombrel::NativeFormat {

std::optional<ManifestElement> ManifestWalk::find(ManifestElement object, std::string_view key) {
    simdjson::dom::object fields;
    if (object.get(fields) != simdjson::SUCCESS) return std::nullopt;
    ManifestElement value;
    if (fields.at_key(key).get(value) != simdjson::SUCCESS || value.is_null()) return std::nullopt;
    return value;
}

FromManifest<std::int64_t> ManifestWalk::integer(ManifestElement element) {
    std::int64_t whole = 0;
    if (element.get(whole) == simdjson::SUCCESS) return whole;
    double number = 0; // 3.0 is whole too
    constexpr double limit = 0x1p53;
    if (element.get(number) == simdjson::SUCCESS && std::fabs(number) <= limit &&
        number == std::trunc(number))
        return static_cast<std::int64_t>(number);
    return wanted("a whole number");
}

FromManifest<std::int32_t> ManifestWalk::integer32(ManifestElement element) {
    const FromManifest<std::int64_t> whole = integer(element);
    if (!whole || !std::in_range<std::int32_t>(*whole)) return wanted("a whole number of 32 bits");
    return static_cast<std::int32_t>(*whole);
}

FromManifest<float> ManifestWalk::number32(ManifestElement element) {
    double number = 0;
    std::string_view word;
    if (element.get(word) == simdjson::SUCCESS) {
        const std::optional<double> named = Stored::numberNamed(word);
        if (!named) return wanted("a number");
        number = *named;
    } else if (element.get(number) != simdjson::SUCCESS) {
        return wanted("a number");
    }
    const std::optional<float> nearest = Stored::floatOf(number);
    if (!nearest) return fault("the number is out of range");
    return *nearest;
}

FromManifest<bool> ManifestWalk::boolean(ManifestElement element) {
    bool value = false;
    if (element.get(value) == simdjson::SUCCESS) return value;
    return wanted("true or false");
}

FromManifest<std::string> ManifestWalk::text(ManifestElement element) {
    std::string_view value;
    if (element.get(value) == simdjson::SUCCESS) return std::string(value);
    return wanted("a text");
}

std::string ManifestWalk::path() const {
    std::string path;
    for (const Step& step : steps_) {
        if (step.key.empty()) {
            path += fmt::format("[{}]", step.index);
        } else {
            if (!path.empty()) path += ".";
            path += step.key;
        }
    }
    return path;
}

std::unexpected<std::string> ManifestWalk::wanted(std::string_view what) const {
    return fault(fmt::format("{} was expected", what));
}

std::unexpected<std::string> ManifestWalk::fault(std::string_view words) const {
    const std::string place = path();
    return std::unexpected(place.empty() ? std::string(words)
                                         : fmt::format("{}: {}", place, words));
}

std::unexpected<std::string> ManifestWalk::fault(const Stored::Error& error) const {
    std::string place = path();
    if (!place.empty() && !error.path.empty() && error.path.front() != '[') place += '.';
    place += error.path;
    return std::unexpected(place.empty() ? error.words : fmt::format("{}: {}", place, error.words));
}

Json jsonOf(ManifestElement element) {
    switch (element.type()) {
    case simdjson::dom::element_type::ARRAY: {
        const simdjson::dom::array elements = element.get_array().value_unsafe();
        Json list = Json::array();
        for (const ManifestElement each : elements)
            list.push_back(jsonOf(each));
        return list;
    }
    case simdjson::dom::element_type::OBJECT: {
        const simdjson::dom::object fields = element.get_object().value_unsafe();
        Json object = Json::object();
        for (const auto& [key, value] : fields)
            object[std::string(key)] = jsonOf(value);
        return object;
    }
    case simdjson::dom::element_type::INT64:
        return element.get_int64().value_unsafe();
    case simdjson::dom::element_type::UINT64:
        return element.get_uint64().value_unsafe();
    case simdjson::dom::element_type::DOUBLE:
        return element.get_double().value_unsafe();
    case simdjson::dom::element_type::STRING:
        return std::string(element.get_string().value_unsafe());
    case simdjson::dom::element_type::BOOL:
        return element.get_bool().value_unsafe();
    case simdjson::dom::element_type::NULL_VALUE:
        break;
    }
    return nullptr;
}

} // namespace ombrel::NativeFormat
