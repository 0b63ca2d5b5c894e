#include "Base/Base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ombrel {

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t noDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> digitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    return values;
}();

// How many padding characters end the text, at most two.
std::size_t paddingOf(std::string_view text) {
    if (text.ends_with("==")) return 2;
    return text.ends_with('=') ? 1 : 0;
}

} // namespace

std::string base64Text(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(bytes.size() - i, 3);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= count ? alphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::optional<std::vector<std::byte>> bytesOfBase64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    const std::size_t padding = paddingOf(text);
    std::vector<std::byte> bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPadding = i >= text.size() - padding;
        const std::uint8_t value =
            isPadding ? std::uint8_t{0} : digitValues[static_cast<unsigned char>(text[i])];
        if (value == noDigit) return std::nullopt;
        group = group << 6 | value;
        if (i % 4 != 3) continue;
        for (int shift = 16; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::byte>(group >> shift & 0xFF));
        group = 0;
    }
    // What the padding stands for must be zero, so that equal bytes have one text.
    const std::size_t loose = bytes.size() - padding;
    for (std::size_t i = loose; i < bytes.size(); ++i)
        if (bytes[i] != std::byte{0}) return std::nullopt;
    bytes.resize(loose);
    return bytes;
}

} // namespace ombrel
