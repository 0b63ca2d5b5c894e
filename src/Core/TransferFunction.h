// The sRGB curve (IEC 61966-2-1) that makes up perceptual blending. It works on straight values;
// negative and above-one channels, which float tiles can hold, follow the same curve mirrored at
// zero and continued above one. Pure functions; any thread.
#pragma once

#include "Core/PremultipliedColor.h"

namespace ombrel {

/// Evaluated in double and rounded to float once, so that 0 and 1 map to 0 and 1 exactly and
/// vector polynomials have an exact target. NaN stays NaN.
namespace TransferFunction {

/// |x| up to linearThreshold is scaled by 12.92, above that 1.055 |x|^(1/2.4) - 0.055; the
/// sign of x is put back. The exponent is the float nearest below 1/2.4, as in the kernels.
float encode(float linear);
/// The way back: |x| up to encodedThreshold over 12.92, above ((|x| + 0.055) / 1.055)^2.4.
float decode(float encoded);

/// On straight channels (channel / alpha), multiplied by alpha again; alpha stays. Nothing where
/// alpha is not above 0.
PremultipliedColor encode(const PremultipliedColor& linear);
PremultipliedColor decode(const PremultipliedColor& encoded);

inline constexpr float linearThreshold = 0.0031308f;
inline constexpr float encodedThreshold = 0.04045f;
inline constexpr float encodingExponent = 0.41666666f;

} // namespace TransferFunction

} // namespace ombrel
