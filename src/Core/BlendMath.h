// The pixel arithmetic that everything else must agree on: 25 blend functions, compositing of one
// premultiplied source over a backdrop, and the stack machine that runs a whole layer program for
// one pixel. Scalar and plain on purpose: every device and kernel is judged against `evaluate`.
#pragma once

#include "Core/BlendMode.h"
#include "Core/PremultipliedColor.h"

#include <array>
#include <cstdint>
#include <span>
#include <variant>

namespace ombrel {

namespace BlendMath {

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

/// Straight RGB in and out.
Rgb blend(BlendMode mode, const Rgb& backdrop, const Rgb& source);
/// Premultiplied in and out.
PremultipliedColor composite(BlendMode mode, const PremultipliedColor& backdrop,
                             const PremultipliedColor& source);
/// Uniform in 0 up to 1, fixed for a pixel and the index of its op.
float dissolveNoise(std::int32_t x, std::int32_t y, std::uint32_t index);
/// The straight colour, opaque, where the noise is below alpha; otherwise nothing.
PremultipliedColor dissolve(const PremultipliedColor& source, std::int32_t x, std::int32_t y,
                            std::uint32_t index);

/// Ops nest at most this deep; a deeper begin is ignored.
inline constexpr std::size_t maximumStackDepth = 10;

/// Runs a program for the pixel (x, y) of the canvas; the result is premultiplied and linear.
/// With `perceptual` the stack works on sRGB-encoded values and the result is decoded.
PremultipliedColor evaluate(std::span<const Op> ops, bool perceptual, std::int32_t x,
                            std::int32_t y);

} // namespace BlendMath

/// The sRGB curve on premultiplied colours; negative and above-one channels keep their symmetry.
namespace TransferFunction {

float encode(float linear);
float decode(float encoded);
PremultipliedColor encode(const PremultipliedColor& linear);
PremultipliedColor decode(const PremultipliedColor& encoded);

} // namespace TransferFunction

/// How a fill lays colour on existing pixels.
struct FillComposite {
    BlendMode blend = BlendMode::normal;
    float opacity = 1;
    bool perceptual = true;

    PremultipliedColor apply(const PremultipliedColor& source, const PremultipliedColor& backdrop,
                             float coverage, std::int32_t x, std::int32_t y) const;
    bool operator==(const FillComposite&) const = default;
};

} // namespace ombrel
