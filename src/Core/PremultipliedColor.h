// The colour value of a document: premultiplied by alpha, linear light, in the document's profile.
// 32-bit floats in arithmetic, 16-bit floats in tiles.
#pragma once

#include "Base/Half.h"

#include <array>
#include <bit>
#include <string>

namespace ombrel {

struct PremultipliedColor {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 0;

    static constexpr PremultipliedColor transparent() { return {}; }
    static constexpr PremultipliedColor white() { return {1, 1, 1, 1}; }
    static constexpr PremultipliedColor black() { return {0, 0, 0, 1}; }

    /// Alpha 0 of either sign: nothing to store, whatever the channels hold.
    constexpr bool isTransparent() const {
        return (std::bit_cast<std::uint32_t>(alpha) & 0x7FFFFFFFu) == 0;
    }
    constexpr std::array<Half, 4> halves() const {
        return {toHalf(red), toHalf(green), toHalf(blue), toHalf(alpha)};
    }
    std::string text() const; ///< "rgba(0.2500, 0.5000, 0.0000, 1.0000)"

    bool operator==(const PremultipliedColor&) const = default;
};

} // namespace ombrel
