// The chance of brushes: SplitMix64 (S. Vigna, public domain; G. L. Steele, D. Lea, C. H. Flood,
// "Fast splittable pseudorandom number generators", 2014). A value: a copy goes on alike.
#pragma once

#include <cstdint>

namespace ombrel {

struct BrushRandom {
    static constexpr std::uint64_t increment = 0x9E3779B97F4A7C15;

    std::uint64_t state = 0;

    constexpr std::uint64_t nextBits() {
        state += increment;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }
    /// 0 to below 1, 53 bits.
    constexpr double next() { return static_cast<double>(nextBits() >> 11) * 0x1p-53; }

    bool operator==(const BrushRandom&) const = default;
};

} // namespace ombrel
