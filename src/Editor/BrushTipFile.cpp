#include "Editor/BrushTipFile.h"

#include <charconv>
#include <fmt/format.h>

namespace ombrel::BrushTipFile {

namespace {

constexpr std::int64_t largestSide = 2048;
constexpr std::string_view spaces = " \t\r\n";

/// Takes a number and the white space before it off the text.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
    const std::size_t start = text.find_first_not_of(spaces);
    if (start == 0 || start == std::string_view::npos) return std::nullopt;
    std::int64_t number = 0;
    const auto [end, error] =
        std::from_chars(text.data() + start, text.data() + text.size(), number);
    if (error != std::errc{}) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

} // namespace

std::string textOf(const BrushTipImage& tip) {
    std::string text = fmt::format("P5\n{} {}\n255\n", tip.width, tip.height);
    text.append(tip.bytes.begin(), tip.bytes.end());
    return text;
}

std::optional<BrushTipImage> parse(std::string_view text, const Uuid& id) {
    if (!text.starts_with("P5")) return std::nullopt;
    text.remove_prefix(2);
    const auto width = takeNumber(text);
    const auto height = takeNumber(text);
    const auto most = takeNumber(text);
    if (!width || !height || most != 255 || text.empty()) return std::nullopt;
    text.remove_prefix(1);
    if (*width < 1 || *width > largestSide || *height < 1 || *height > largestSide)
        return std::nullopt;
    if (text.size() != static_cast<std::size_t>(*width * *height)) return std::nullopt;
    return BrushTipImage{id, *width, *height, {text.begin(), text.end()}};
}

} // namespace ombrel::BrushTipFile
