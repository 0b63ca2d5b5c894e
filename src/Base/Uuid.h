// 128-bit identifiers, random (version 4). Text is the usual 36 characters, upper case.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace ombrel {

struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    static Uuid make();                                      ///< any thread
    static std::optional<Uuid> parse(std::string_view text); ///< either case
    std::string text() const;

    auto operator<=>(const Uuid&) const = default;
};

} // namespace ombrel

template <>
struct std::hash<ombrel::Uuid> {
    std::size_t operator()(const ombrel::Uuid& uuid) const noexcept {
        std::uint64_t key = 0;
        for (const std::uint8_t byte : uuid.bytes)
            key = (key ^ byte) * 0x100000001B3ull;
        return static_cast<std::size_t>(key);
    }
};
