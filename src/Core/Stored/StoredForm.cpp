#include "Core/Stored/StoredForm.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <limits>

namespace ombrel::Stored {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double wholeLimit = 0x1p53; ///< below it every whole double is written digit by digit

/// The double whose shortest text is the shortest text of the float.
double withFloatDigits(float value) {
    std::array<char, 32> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    double number = 0;
    std::from_chars(text.data(), written.ptr, number);
    // Rounded twice, it could lie just beyond the middle between two floats.
    return static_cast<float>(number) == value ? number : static_cast<double>(value);
}

} // namespace

std::string Error::text() const {
    return path.empty() ? words : path + ": " + words;
}

Error Error::inField(std::string_view key) && {
    const bool needsPoint = !path.empty() && path.front() != '[';
    return {fmt::format("{}{}{}", key, needsPoint ? "." : "", path), std::move(words)};
}

Error Error::inElement(std::size_t index) && {
    const bool needsPoint = !path.empty() && path.front() != '[';
    return {fmt::format("[{}]{}{}", index, needsPoint ? "." : "", path), std::move(words)};
}

std::unexpected<Error> fault(std::string words) {
    return std::unexpected(Error{.path = {}, .words = std::move(words)});
}

std::unexpected<Error> expected(std::string_view what) {
    return fault(fmt::format("{} was expected", what));
}

std::optional<double> numberNamed(std::string_view text) {
    if (text == "inf") return infinity;
    if (text == "-inf") return -infinity;
    if (text == "nan") return std::numeric_limits<double>::quiet_NaN();
    return std::nullopt;
}

std::optional<float> floatOf(double number) {
    // Halfway from the largest float to what would be the next one: from there on it rounds up.
    constexpr double limit = 0x1.ffffffp127;
    if (std::isfinite(number) && std::abs(number) >= limit) return std::nullopt;
    return static_cast<float>(number);
}

Result<bool> Form<bool>::decode(const Json& json) {
    if (!json.is_boolean()) return expected("true or false");
    return json.get<bool>();
}

Json Form<double>::encode(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    const bool isNegativeZero = value == 0 && std::signbit(value);
    if (!isNegativeZero && std::abs(value) < wholeLimit && value == std::trunc(value))
        return static_cast<std::int64_t>(value);
    return value;
}

Result<double> Form<double>::decode(const Json& json) {
    if (json.is_number()) return json.get<double>();
    const std::optional<double> named =
        json.is_string() ? numberNamed(json.get_ref<const std::string&>()) : std::nullopt;
    if (!named) return expected("a number");
    return *named;
}

Json Form<float>::encode(float value) {
    return Form<double>::encode(std::isfinite(value) ? withFloatDigits(value) : value);
}

Result<float> Form<float>::decode(const Json& json) {
    const Result<double> number = Form<double>::decode(json);
    if (!number) return std::unexpected(number.error());
    const std::optional<float> nearest = floatOf(*number);
    if (!nearest) return fault("the number is out of range");
    return *nearest;
}

Result<std::int64_t> Form<std::int64_t>::decode(const Json& json) {
    if (json.is_number_unsigned()) {
        const auto value = json.get<std::uint64_t>();
        if (!std::in_range<std::int64_t>(value)) return fault("the number is out of range");
        return static_cast<std::int64_t>(value);
    }
    if (json.is_number_integer()) return json.get<std::int64_t>();
    if (!json.is_number()) return expected("a whole number");
    const double value = json.get<double>();
    if (value != std::trunc(value)) return expected("a whole number");
    if (!(value >= -0x1p63 && value < 0x1p63)) return fault("the number is out of range");
    return static_cast<std::int64_t>(value);
}

Result<std::string> Form<std::string>::decode(const Json& json) {
    if (!json.is_string()) return expected("a text");
    return json.get<std::string>();
}

} // namespace ombrel::Stored
