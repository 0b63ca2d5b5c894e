#include "IO/SwatchReader.h"

#include <algorithm>

namespace ombrel {

namespace {

using Result = SwatchReader::Result;

constexpr std::size_t colorTableBytes = 768;

bool startsWith(std::span<const std::byte> bytes, std::string_view mark) {
    if (bytes.size() < mark.size()) return false;
    return std::ranges::equal(mark, bytes.first(mark.size()), [](char a, std::byte b) {
        return static_cast<unsigned char>(a) == std::to_integer<unsigned char>(b);
    });
}

/// Without a UTF-8 mark at the beginning.
std::string_view textOf(std::span<const std::byte> bytes) {
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    return text;
}

/// An Adobe Color file has no mark: it begins with its version, as no text does.
bool isAdobeColor(std::span<const std::byte> bytes) {
    if (bytes.size() < 4) return false;
    const auto word = [&](std::size_t at) {
        return std::to_integer<std::size_t>(bytes[at]) << 8 |
               std::to_integer<std::size_t>(bytes[at + 1]);
    };
    return word(0) == 1 || word(0) == 2;
}

Result readByContent(std::span<const std::byte> bytes) {
    if (startsWith(bytes, "ASEF")) return SwatchReader::readSwatchExchange(bytes);
    const std::string_view text = textOf(bytes);
    if (text.starts_with("GIMP Palette")) return SwatchReader::readGimpPalette(text);
    if (text.starts_with("JASC-PAL")) return SwatchReader::readJascPalette(text);
    // A color table has no mark, only a size; one of text would be no list of codes.
    if (bytes.size() == colorTableBytes || bytes.size() == colorTableBytes + 4) {
        if (auto list = SwatchReader::readHexList(text)) return list;
        return SwatchReader::readColorTable(bytes);
    }
    if (isAdobeColor(bytes)) return SwatchReader::readAdobeColor(bytes);
    return SwatchReader::readHexList(text);
}

} // namespace

std::string SwatchError::text() const {
    switch (kind) {
    case Kind::unknownFormat:
        return "This is no palette of a kind that can be read.";
    case Kind::truncated:
        return "The palette ends too early.";
    case Kind::damaged:
        return "The palette is damaged.";
    case Kind::empty:
        return "The palette holds no colors that can be used.";
    case Kind::tooLarge:
        return "The palette is too large.";
    }
    return {};
}

Result SwatchReader::read(std::span<const std::byte> bytes, std::string_view fallbackName) {
    if (bytes.size() > mostBytes) return std::unexpected(SwatchError{SwatchError::Kind::tooLarge});
    Result sets = readByContent(bytes);
    if (!sets) return sets;
    std::erase_if(*sets, [](const SwatchSet& set) { return set.swatches.empty(); });
    if (sets->empty()) return std::unexpected(SwatchError{SwatchError::Kind::empty});
    for (SwatchSet& set : *sets)
        if (set.name.empty()) set.name = fallbackName;
    return sets;
}

} // namespace ombrel
