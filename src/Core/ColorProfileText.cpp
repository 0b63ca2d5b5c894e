#include "Core/ColorProfileText.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace ombrel {

namespace {

constexpr std::size_t longestText = 255; // code units; more is no name

std::uint32_t bigEndian(std::span<const std::byte> bytes, std::size_t offset, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value = (value << 8) | std::to_integer<std::uint32_t>(bytes[offset + i]);
    return value;
}

constexpr std::uint32_t fourLetters(const char (&text)[5]) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = (value << 8) | static_cast<std::uint8_t>(text[i]);
    return value;
}

void appendUtf8(std::string& text, std::uint32_t codePoint) {
    const auto add = [&text](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto continueFrom = [&](int shift) {
        for (; shift >= 0; shift -= 6)
            add(0x80 | ((codePoint >> shift) & 0x3F));
    };
    if (codePoint < 0x80) {
        add(codePoint);
    } else if (codePoint < 0x800) {
        add(0xC0 | (codePoint >> 6));
        continueFrom(0);
    } else if (codePoint < 0x10000) {
        add(0xE0 | (codePoint >> 12));
        continueFrom(6);
    } else {
        add(0xF0 | (codePoint >> 18));
        continueFrom(12);
    }
}

// Surrogates that pair with nothing and controls are left out; the first zero ends the text.
std::string utf8Of(std::span<const std::uint16_t> units) {
    const auto isSurrogate = [](std::uint32_t unit) { return unit >= 0xD800 && unit < 0xE000; };
    const auto isLow = [](std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; };
    std::string text;
    for (std::size_t i = 0; i < units.size() && units[i] != 0; ++i) {
        std::uint32_t codePoint = units[i];
        if (isSurrogate(codePoint)) {
            if (isLow(codePoint) || i + 1 == units.size() || !isLow(units[i + 1])) continue;
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (units[++i] - 0xDC00u);
        }
        const bool isControl = codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
        if (!isControl) appendUtf8(text, codePoint);
    }
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string textOfSingleLine(std::span<const std::byte> tag) {
    const std::size_t length =
        std::min<std::size_t>({bigEndian(tag, 8, 4), tag.size() - 12, longestText});
    std::vector<std::uint16_t> units(length);
    for (std::size_t i = 0; i < length; ++i)
        units[i] = static_cast<std::uint16_t>(bigEndian(tag, 12 + i, 1));
    return utf8Of(units);
}

int preferenceFor(std::uint32_t languageAndCountry) {
    if (languageAndCountry == fourLetters("enUS")) return 2;
    return languageAndCountry >> 16 == fourLetters("enUS") >> 16 ? 1 : 0;
}

std::string textOfManyLanguages(std::span<const std::byte> tag) {
    constexpr std::size_t recordSize = 12; // language and country, length in bytes, offset
    const std::size_t count =
        std::min<std::size_t>(bigEndian(tag, 8, 4), (tag.size() - 16) / recordSize);
    if (bigEndian(tag, 12, 4) != recordSize) return {};
    std::string best;
    int bestPreference = -1;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t record = 16 + i * recordSize;
        const int preference = preferenceFor(bigEndian(tag, record, 4));
        const std::size_t offset = bigEndian(tag, record + 8, 4);
        if (preference <= bestPreference || offset > tag.size()) continue;
        const std::size_t bytes =
            std::min<std::size_t>(bigEndian(tag, record + 4, 4), tag.size() - offset);
        std::vector<std::uint16_t> units(std::min(bytes / 2, longestText));
        for (std::size_t unit = 0; unit < units.size(); ++unit)
            units[unit] = static_cast<std::uint16_t>(bigEndian(tag, offset + 2 * unit, 2));
        std::string text = utf8Of(units);
        if (text.empty()) continue;
        best = std::move(text);
        bestPreference = preference;
    }
    return best;
}

} // namespace

std::string textOfProfileTag(std::span<const std::byte> tag) {
    if (tag.size() < 16) return {};
    const std::uint32_t type = bigEndian(tag, 0, 4);
    if (type == fourLetters("mluc")) return textOfManyLanguages(tag);
    if (type == fourLetters("desc")) return textOfSingleLine(tag);
    return {};
}

} // namespace ombrel
