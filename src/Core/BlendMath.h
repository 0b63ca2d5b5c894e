// The pixel arithmetic that everything else must agree on: 25 blend functions, compositing of one
// premultiplied source over a backdrop, and the stack machine that runs a whole layer program for
// one pixel. Scalar and plain on purpose: every device and kernel is judged against `evaluate`.
//
// Arithmetic is IEEE single precision, each operation rounded, never fused; sums and products run
// from left to right as the formulas in BlendMath.cpp are written, and a quotient is a division,
// not a product with a reciprocal. Cutting to 0 and 1 turns NaN into 0. Pure functions; any thread.
#pragma once

#include "Core/BlendMode.h"
#include "Core/PremultipliedColor.h"
#include "Core/TransferFunction.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

namespace ombrel::BlendMath {

using Rgb = std::array<float, 3>;

struct LayerOp {
    PremultipliedColor color; ///< linear
    float opacity = 1;
    BlendMode blendMode = BlendMode::normal;
    float mask = 1; ///< the layer's mask value at this pixel, 1 without a mask
    bool clipped = false;
};
struct BeginOp {
    bool isolated = true;
};
struct EndOp {
    bool isolated = true;
    float opacity = 1;
    BlendMode blendMode = BlendMode::normal;
    float mask = 1;
};
using Op = std::variant<LayerOp, BeginOp, EndOp>;

/// A layer of a flat stack: no mask, not clipped.
struct FlatLayer {
    PremultipliedColor color; ///< linear
    float opacity = 1;
    BlendMode blendMode = BlendMode::normal;
};

/// Straight RGB in and out. The functions expect 0 to 1, as `composite` hands them in.
Rgb blend(BlendMode mode, const Rgb& backdrop, const Rgb& source);

/// Premultiplied in and out. `normal` is a plain source-over and keeps any values; other modes cut
/// the straight colours they blend to 0 and 1.
PremultipliedColor composite(BlendMode mode, const PremultipliedColor& backdrop,
                             const PremultipliedColor& source);

/// Uniform in 0 up to 1, a multiple of 2^-24, fixed for a pixel and the index of its op.
float dissolveNoise(std::int32_t x, std::int32_t y, std::uint32_t index);

/// The straight colour, opaque, where the noise is below alpha; otherwise nothing.
PremultipliedColor dissolve(const PremultipliedColor& source, std::int32_t x, std::int32_t y,
                            std::uint32_t index);

/// Ops nest at most this deep; a deeper begin is ignored, its end then closes an outer level.
inline constexpr std::size_t maximumStackDepth = 10;

/// Below this a divisor is replaced by it.
inline constexpr float smallestDivisor = 0x1.0c6f7ap-20f; // 0.000001

/// Runs a program for the pixel (x, y) of the canvas; the result is premultiplied and linear.
/// With `perceptual` the stack works on sRGB-encoded values and the result is decoded. Unmatched
/// begins and ends are allowed: what is open at the end is left as it stands, and an end without a
/// begin is ignored. A pass-through level that is fully opaque leaves its content bit for bit.
PremultipliedColor evaluate(std::span<const Op> ops, bool perceptual, std::int32_t x,
                            std::int32_t y);
PremultipliedColor evaluate(std::span<const FlatLayer> layers, bool perceptual, std::int32_t x,
                            std::int32_t y);

} // namespace ombrel::BlendMath
