// The palette formats that are text.
#include "Base/Utf8.h"
#include "IO/SwatchReader.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <optional>

namespace ombrel {

namespace {

using ColorMath::DisplayRgb;
using Result = SwatchReader::Result;

std::unexpected<SwatchError> error(SwatchError::Kind kind) {
    return std::unexpected(SwatchError{kind});
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return trimmed(line);
}

std::string_view takeWord(std::string_view& line) {
    line = trimmed(line);
    std::size_t end = 0;
    while (end < line.size() && !isBlank(line[end]))
        ++end;
    const std::string_view word = line.substr(0, end);
    line = trimmed(line.substr(end));
    return word;
}

std::optional<int> numberOf(std::string_view word, int limit) {
    int value = 0;
    const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (code != std::errc{} || end != word.data() + word.size()) return std::nullopt;
    return value >= 0 && value <= limit ? std::optional(value) : std::nullopt;
}

/// Red, green and blue at the beginning of a line, which they are taken from.
std::optional<DisplayRgb> takeBytes(std::string_view& line) {
    const auto red = numberOf(takeWord(line), 255);
    const auto green = numberOf(takeWord(line), 255);
    const auto blue = numberOf(takeWord(line), 255);
    if (!red || !green || !blue) return std::nullopt;
    return DisplayRgb{*red / 255.0, *green / 255.0, *blue / 255.0};
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const Utf8::CodePoint next = Utf8::first(text);
        if (next.value == 0xFFFD && next.bytes != 3) return false;
        text.remove_prefix(next.bytes);
    }
    return true;
}

/// What is no UTF-8 is taken for Latin-1, which older palettes are in.
std::string nameOf(std::string_view text) {
    if (isUtf8(text)) return std::string(text);
    std::string name;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            name.push_back(c);
        } else {
            name.push_back(static_cast<char>(0xC0 | code >> 6));
            name.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    return name;
}

std::optional<DisplayRgb> takeCode(std::string_view& line) {
    std::string_view word = takeWord(line);
    while (!word.empty() && (word.back() == ',' || word.back() == ';'))
        word.remove_suffix(1);
    if (word.starts_with('#')) {
        word.remove_prefix(1);
    } else if (word.starts_with("0x")) {
        word.remove_prefix(2);
    }
    if (word.size() == 8) word.remove_prefix(2); // alpha first, as lists of the kind have it
    if (word.size() != 6) return std::nullopt;
    std::uint32_t code = 0;
    const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), code, 16);
    if (failure != std::errc{} || end != word.data() + word.size()) return std::nullopt;
    return DisplayRgb{(code >> 16) / 255.0, (code >> 8 & 0xFF) / 255.0, (code & 0xFF) / 255.0};
}

} // namespace

Result SwatchReader::readGimpPalette(std::string_view text) {
    takeLine(text);
    SwatchSet set;
    while (!text.empty()) {
        std::string_view line = takeLine(text);
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with("Name:")) {
            set.name = nameOf(trimmed(line.substr(5)));
            continue;
        }
        if (set.swatches.empty() && line.starts_with("Columns:")) continue;
        const auto color = takeBytes(line);
        if (!color) return error(SwatchError::Kind::damaged);
        if (set.swatches.size() >= mostSwatches) return error(SwatchError::Kind::tooLarge);
        set.swatches.push_back({line == "Untitled" ? std::string() : nameOf(line), *color});
    }
    return std::vector{std::move(set)};
}

Result SwatchReader::readJascPalette(std::string_view text) {
    takeLine(text);
    takeLine(text); // "0100"
    const auto count = numberOf(takeLine(text), static_cast<int>(mostSwatches));
    if (!count) return error(SwatchError::Kind::damaged);
    SwatchSet set;
    for (int i = 0; i < *count; ++i) {
        if (text.empty()) return error(SwatchError::Kind::truncated);
        std::string_view line = takeLine(text);
        const auto color = takeBytes(line);
        if (!color) return error(SwatchError::Kind::damaged);
        set.swatches.push_back({{}, *color});
    }
    return std::vector{std::move(set)};
}

Result SwatchReader::readHexList(std::string_view text) {
    SwatchSet set;
    while (!text.empty()) {
        std::string_view line = takeLine(text);
        if (line.empty() || line.starts_with(';') || line.starts_with("//")) continue;
        const auto color = takeCode(line);
        if (!color) return error(SwatchError::Kind::unknownFormat);
        if (set.swatches.size() >= mostSwatches) return error(SwatchError::Kind::tooLarge);
        set.swatches.push_back({nameOf(line), *color});
    }
    if (set.swatches.empty()) return error(SwatchError::Kind::unknownFormat);
    return std::vector{std::move(set)};
}

std::string SwatchWriter::gimpPalette(const SwatchSet& set) {
    const auto oneLine = [](std::string text) {
        for (char& c : text)
            if (c == '\n' || c == '\r') c = ' ';
        return text;
    };
    std::string text = fmt::format("GIMP Palette\nName: {}\nColumns: 0\n#\n", oneLine(set.name));
    for (const Swatch& swatch : set.swatches) {
        const auto byte = [](double value) { return std::lround(255 * value); };
        text += fmt::format("{:3} {:3} {:3}\t{}\n", byte(swatch.color.red),
                            byte(swatch.color.green), byte(swatch.color.blue),
                            swatch.name.empty() ? "Untitled" : oneLine(swatch.name));
    }
    return text;
}

} // namespace ombrel
