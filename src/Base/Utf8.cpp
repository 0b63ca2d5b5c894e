#include "Base/Utf8.h"

#include <algorithm>
#include <array>

namespace ombrel::Utf8 {

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr char32_t zeroWidthJoiner = 0x200D;

struct Range {
    char32_t first;
    char32_t last;
};

// Marks that lie on the character before them, variation selectors, skin tones, tags.
constexpr std::array<Range, 16> extenders{{
    {0x0300, 0x036F},
    {0x0483, 0x0489},
    {0x0591, 0x05BD},
    {0x0610, 0x061A},
    {0x064B, 0x065F},
    {0x093A, 0x094F},
    {0x0E31, 0x0E3A},
    {0x0E47, 0x0E4E},
    {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF},
    {zeroWidthJoiner, zeroWidthJoiner},
    {0x20D0, 0x20FF},
    {0xFE00, 0xFE0F},
    {0xFE20, 0xFE2F},
    {0x1F3FB, 0x1F3FF},
    {0xE0020, 0xE01EF},
}};

bool extends(char32_t value) {
    return std::ranges::any_of(
        extenders, [&](const Range& range) { return value >= range.first && value <= range.last; });
}

bool isRegional(char32_t value) {
    return value >= 0x1F1E6 && value <= 0x1F1FF;
}

// How many bytes a sequence has by its first one; 0 where none begins so.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead < 0xE0) return 2;
    if (lead >= 0xE0 && lead < 0xF0) return 3;
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

bool isScalar(char32_t value, std::size_t length) {
    constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = value >= 0xD800 && value < 0xE000;
    return value >= least[length] && value <= 0x10FFFF && !isSurrogate;
}

} // namespace

CodePoint first(std::string_view text) {
    if (text.empty()) return {};
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = sequenceLength(lead);
    if (length == 1) return {lead, 1};
    if (length == 0 || length > text.size()) return {replacement, 1};
    char32_t value = lead & (0x7Fu >> length);
    for (const char each : text.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(each);
        if ((byte & 0xC0) != 0x80) return {replacement, 1};
        value = value << 6 | (byte & 0x3F);
    }
    if (!isScalar(value, length)) return {replacement, 1};
    return {value, length};
}

std::int64_t utf16Length(std::string_view text) {
    std::int64_t units = 0;
    while (!text.empty()) {
        const CodePoint next = first(text);
        units += next.value >= 0x10000 ? 2 : 1;
        text.remove_prefix(next.bytes);
    }
    return units;
}

std::size_t prefixLength(std::string_view text, std::size_t count) {
    std::size_t length = 0;
    std::size_t characters = 0;
    char32_t before = 0;
    bool pairsFlag = false; // the character so far is half of a flag
    while (length < text.size()) {
        const CodePoint next = first(text.substr(length));
        const bool isSecondHalf = pairsFlag && isRegional(next.value);
        const bool continues =
            length > 0 && (extends(next.value) || before == zeroWidthJoiner || isSecondHalf);
        if (!continues && characters++ == count) return length;
        pairsFlag = isRegional(next.value) && !isSecondHalf;
        before = next.value;
        length += next.bytes;
    }
    return length;
}

} // namespace ombrel::Utf8
