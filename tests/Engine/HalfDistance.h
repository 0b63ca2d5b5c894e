// How far apart two stored channels are, counted in halves: 1 is the smallest step a tile can hold.
#pragma once

#include "Base/Half.h"
#include "Core/PremultipliedColor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

namespace ombrel {

/// Numbers halves in their order; both zeros are 0. NaN of any kind is one number of its own.
inline int orderOf(Half half) {
    const int magnitude = half.bits & 0x7FFF;
    if (magnitude > 0x7C00) return 0x10000;
    return (half.bits & 0x8000) != 0 ? -magnitude : magnitude;
}

inline int halfDistance(Half a, Half b) {
    return std::abs(orderOf(a) - orderOf(b));
}

using PixelHalves = std::array<Half, 4>;

/// The largest distance of the four channels.
inline int halfDistance(const PixelHalves& a, const PixelHalves& b) {
    int distance = 0;
    for (std::size_t channel = 0; channel < 4; ++channel)
        distance = std::max(distance, halfDistance(a[channel], b[channel]));
    return distance;
}

} // namespace ombrel
