// Colours as the processor draws them: a pixel of premultiplied linear light is one vector of four
// floats; conversion to the display's light, and encoding to bytes by tables. Values; used by the
// parts of RasterPresenter. What is computed here the shaders compute in the same order.
#pragma once

#include "App/Canvas/DisplayColors.h"
#include "Engine/Kernels/DisplayRows.h"

#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace ombrel {

/// Red, green, blue, alpha.
using Float4 = float __attribute__((vector_size(16)));

/// Exact for every finite half. Four halves in the order of memory.
inline Float4 lightOf(std::uint64_t texel) {
    using Words = std::uint32_t __attribute__((vector_size(16)));
    using Shorts = std::uint16_t __attribute__((vector_size(8)));
    const Words words = __builtin_convertvector(std::bit_cast<Shorts>(texel), Words);
    const auto magnitude = std::bit_cast<Float4>((words & 0x7FFFu) << 13) * 0x1p112f;
    return std::bit_cast<Float4>(std::bit_cast<Words>(magnitude) | ((words & 0x8000u) << 16));
}

/// `color` over what lies below it.
inline Float4 laidOver(Float4 color, Float4 ground) {
    return color + ground * (1 - color[3]);
}

/// The largest whole number that is not above `value`.
inline int wholePart(float value) {
    const int integer = static_cast<int>(value);
    return integer - (static_cast<float>(integer) > value ? 1 : 0);
}

/// A conversion as rows use it.
struct RasterConversion {
    explicit RasterConversion(const ProfileConversion& conversion);

    Float4 apply(Float4 color) const {
        if (isIdentity) return cut(color);
        Float4 converted = columns[0] * color[0] + columns[1] * color[1] + columns[2] * color[2];
        converted[3] = color[3];
        return cut(converted);
    }

    /// Nothing below 0 and no NaN, alpha up to 1, colours up to alpha.
    static Float4 cut(Float4 color) {
        const Float4 positive = color > 0.0f ? color : Float4{};
        const float alpha = positive[3] < 1.0f ? positive[3] : 1.0f;
        const Float4 limit{alpha, alpha, alpha, alpha};
        return positive < limit ? positive : limit;
    }

    bool isIdentity;
    std::array<Float4, 3> columns;
};

/// From the display's light to 0xFFRRGGBB.
class RasterEncoding {
public:
    explicit RasterEncoding(const DisplayColors& colors);
    /// That of sRGB, made once: small pictures are drawn with a presenter each.
    static std::shared_ptr<const RasterEncoding> forSRGB();

    void encode(std::span<const Float4> pixels, std::uint32_t* rgb) const {
        Kernels::encodeForDisplay(reinterpret_cast<const float*>(pixels.data()), pixels.size(),
                                  tables(), rgb);
    }
    std::uint32_t encoded(Float4 color) const;
    /// The same for four halves whose alpha is 1 and that need no conversion.
    std::uint32_t encodedOpaque(std::uint64_t texel) const {
        return 0xFF000000u | std::uint32_t{byteOf(0, texel)} << 16 |
               std::uint32_t{byteOf(1, texel >> 16)} << 8 | byteOf(2, texel >> 32);
    }

private:
    std::uint8_t byteOf(std::size_t channel, std::uint64_t half) const {
        return halves_[tableOf_[channel]][half & 0xFFFF];
    }
    Kernels::DisplayTables tables() const;

    std::array<std::size_t, 3> tableOf_{};           ///< channels of one curve share a table
    std::array<std::vector<std::int32_t>, 3> bytes_; ///< by step
    std::array<std::vector<std::uint8_t>, 3> halves_;
};

} // namespace ombrel
