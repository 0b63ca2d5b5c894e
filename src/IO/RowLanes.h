// Four floats at a time: what a premultiplied pixel is while it becomes halves. Compiles to the
// baseline's vector instructions on every compiler we use.
#pragma once

#include "Base/Half.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace ombrel::RowLanes {

using Floats = float __attribute__((vector_size(16)));
using Bits = std::uint32_t __attribute__((vector_size(16)));
using Halves = std::uint16_t __attribute__((vector_size(8)));

inline constexpr float largestHalf = 65504;

/// NaN becomes 0; what halves cannot hold becomes the largest they can.
inline Floats finite(Floats v) {
    const Floats largest{largestHalf, largestHalf, largestHalf, largestHalf};
    v = v == v ? v : Floats{}; // NOLINT(misc-redundant-expression): false for NaN
    v = v < largest ? v : largest;
    return v > -largest ? v : -largest;
}

inline float finite(float v) {
    if (!(v == v)) return 0;
    return v < largestHalf ? (v > -largestHalf ? v : -largestHalf) : largestHalf;
}

/// toHalf of four finite values within the range of halves, the first in the lowest bits.
inline std::uint64_t halfBits(Floats v) {
    const Bits bits = std::bit_cast<Bits>(v);
    const Bits sign = (bits >> 16) & 0x8000u;
    const Bits magnitude = bits & 0x7FFFFFFFu;
    const Floats half{0.5f, 0.5f, 0.5f, 0.5f};
    const Bits subnormal = std::bit_cast<Bits>(std::bit_cast<Floats>(magnitude) + half) -
                           std::bit_cast<std::uint32_t>(0.5f);
    const Bits normal = (magnitude + 0xC8000FFFu + ((magnitude >> 13) & 1u)) >> 13;
    const Bits result = sign | (magnitude < 0x38800000u ? subnormal : normal);
    return std::bit_cast<std::uint64_t>(__builtin_convertvector(result, Halves));
}

/// toFloat of a pixel's four halves.
inline Floats floatsOf(std::uint64_t pixel) {
    const Bits bits = __builtin_convertvector(std::bit_cast<Halves>(pixel), Bits);
    const Bits magnitude = bits & 0x7FFFu;
    const Bits shifted = magnitude << 13;
    const Bits normal = shifted + 0x38000000u;
    // A half's subnormals take the exponent of the smallest normal; what that adds goes again.
    const Floats smallest = std::bit_cast<Floats>(Bits{} + 0x38800000u);
    const Floats subnormal = std::bit_cast<Floats>(shifted + 0x38800000u) - smallest;
    const Bits finite = magnitude < 0x0400u ? std::bit_cast<Bits>(subnormal) : normal;
    const Bits value = magnitude >= 0x7C00u ? shifted | 0x7F800000u : finite;
    return std::bit_cast<Floats>(value | (bits & 0x8000u) << 16);
}

static_assert(std::endian::native == std::endian::little, "pixels are assembled in words");

inline void storePixel(Half* out, std::uint64_t bits) {
    std::memcpy(static_cast<void*>(out), &bits, sizeof bits);
}

inline std::uint64_t loadPixel(const Half* pixel) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, pixel, sizeof bits);
    return bits;
}

} // namespace ombrel::RowLanes
