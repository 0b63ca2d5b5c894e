#include "Base/Uuid.h"

#include <random>

namespace ombrel {

namespace {

constexpr std::string_view digits = "0123456789ABCDEF";

int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

bool isDashPosition(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

} // namespace

Uuid Uuid::make() {
    thread_local std::random_device device;
    Uuid uuid;
    for (std::size_t i = 0; i < 16; i += 4) {
        const std::uint32_t word = device();
        for (std::size_t k = 0; k < 4; ++k) {
            uuid.bytes[i + k] = static_cast<std::uint8_t>(word >> (8 * k));
        }
    }
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40); // version 4
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80); // RFC 9562 variant
    return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    Uuid uuid;
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isDashPosition(i)) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = digitValue(text[i]);
        if (value < 0) return std::nullopt;
        std::uint8_t& byte = uuid.bytes[nibble / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
        ++nibble;
    }
    return uuid;
}

std::string Uuid::text() const {
    std::string text;
    text.reserve(36);
    for (const std::uint8_t byte : bytes) {
        if (isDashPosition(text.size())) text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

} // namespace ombrel
