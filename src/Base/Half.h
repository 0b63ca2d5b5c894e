// 16-bit floats (IEEE 754 binary16), the channel type of every stored pixel. Conversion from float
// rounds to nearest, ties to even; values from 65520 on become infinity; NaN stays NaN.
#pragma once

#include <bit>
#include <cstdint>

namespace ombrel {

struct Half {
    std::uint16_t bits = 0;

    bool operator==(const Half&) const = default; ///< by bits: tells +0 from -0
};

/// Exact: every half is a float.
constexpr float toFloat(Half half) {
    const std::uint32_t sign = static_cast<std::uint32_t>(half.bits & 0x8000u) << 16;
    const std::uint32_t magnitude = half.bits & 0x7FFFu;
    if (magnitude >= 0x7C00u) { // infinity and NaN keep their payload
        return std::bit_cast<float>(sign | 0x7F800000u | ((magnitude & 0x3FFu) << 13));
    }
    if (magnitude >= 0x0400u) return std::bit_cast<float>(sign | ((magnitude << 13) + 0x38000000u));
    // Subnormals are multiples of 2^-24, which a float holds exactly.
    const float value = static_cast<float>(magnitude) * 0x1p-24f;
    return std::bit_cast<float>(sign | std::bit_cast<std::uint32_t>(value));
}

constexpr Half toHalf(float value) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const auto sign = static_cast<std::uint16_t>((bits >> 16) & 0x8000u);
    const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
    if (magnitude > 0x7F800000u) { // NaN: quiet, upper payload kept
        return {static_cast<std::uint16_t>(sign | 0x7E00u | ((magnitude >> 13) & 0x1FFu))};
    }
    if (magnitude >= 0x477FF000u) return {static_cast<std::uint16_t>(sign | 0x7C00u)};
    if (magnitude < 0x38800000u) {
        // Adding 0.5 lines the half's last place up with the float's, so the addition rounds.
        const float shifted = std::bit_cast<float>(magnitude) + 0.5f;
        return {static_cast<std::uint16_t>(
            sign | (std::bit_cast<std::uint32_t>(shifted) - std::bit_cast<std::uint32_t>(0.5f)))};
    }
    const std::uint32_t odd = (magnitude >> 13) & 1u;
    const std::uint32_t rounded = magnitude + 0xC8000FFFu + odd; // exponent rebias, half a place
    return {static_cast<std::uint16_t>(sign | (rounded >> 13))};
}

} // namespace ombrel
