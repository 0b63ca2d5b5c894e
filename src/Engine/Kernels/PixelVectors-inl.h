// Vectors of pixels: four planes of as many pixels as a float vector has lanes, and the way from
// and to interleaved halves. Compiled once for every SIMD target.

#if defined(OMBREL_PIXEL_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_PIXEL_VECTORS_INL_H
#undef OMBREL_PIXEL_VECTORS_INL_H
#else
#define OMBREL_PIXEL_VECTORS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::ScalableTag<float>;
using FloatVector = hn::Vec<FloatTag>;
using FloatMask = hn::Mask<FloatTag>;
using IntTag = hn::RebindToSigned<FloatTag>;
using IntVector = hn::Vec<IntTag>;
using WordTag = hn::RebindToUnsigned<FloatTag>;
using HalfBitsTag = hn::Rebind<std::uint16_t, FloatTag>;
using HalfBitsVector = hn::Vec<HalfBitsTag>;

struct PixelVector {
    FloatVector red;
    FloatVector green;
    FloatVector blue;
    FloatVector alpha;
};

HWY_INLINE constexpr std::size_t laneCount() {
    return hn::MaxLanes(FloatTag());
}

HWY_INLINE FloatVector constant(float value) {
    return hn::Set(FloatTag(), value);
}

#undef OMBREL_OWN_HALF_CONVERSION
// The library's conversions of the older targets truncate and mangle infinities and NaN.
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SCALAR
#define OMBREL_OWN_HALF_CONVERSION 1
#else
#define OMBREL_OWN_HALF_CONVERSION 0
#endif

HWY_INLINE FloatVector floatFromHalf(HalfBitsVector bits) {
    const FloatTag d;
#if OMBREL_OWN_HALF_CONVERSION
    const WordTag du;
    const auto word = hn::PromoteTo(du, bits);
    const auto magnitude = hn::And(word, hn::Set(du, 0x7FFFu));
    const auto sign = hn::ShiftLeft<16>(hn::Xor(word, magnitude));
    // With the exponent field moved into place a float is 2^112 too small, for subnormals too.
    const auto shifted = hn::ShiftLeft<13>(magnitude);
    const auto scaled =
        hn::BitCast(du, hn::Mul(hn::BitCast(d, shifted), hn::Set(d, 5.192296858534828e33f)));
    const auto isFinite = hn::Lt(hn::BitCast(IntTag(), magnitude), hn::Set(IntTag(), 0x7C00));
    const auto special = hn::Or(shifted, hn::Set(du, 0x7F800000u));
    const auto value = hn::IfThenElse(hn::RebindMask(du, isFinite), scaled, special);
    return hn::BitCast(d, hn::Or(value, sign));
#else
    return hn::PromoteTo(d, hn::BitCast(hn::Rebind<hwy::float16_t, FloatTag>(), bits));
#endif
}

HWY_INLINE HalfBitsVector halfFromFloat(FloatVector value) {
#if OMBREL_OWN_HALF_CONVERSION
    const FloatTag d;
    const IntTag di;
    const auto bits = hn::BitCast(di, value);
    const auto magnitude = hn::And(bits, hn::Set(di, 0x7FFFFFFF));
    const auto sign =
        hn::ShiftLeft<15>(hn::BitCast(di, hn::ShiftRight<31>(hn::BitCast(WordTag(), bits))));
    // Rebias the exponent and add just below half a place, and the odd bit for ties to even.
    const auto odd = hn::And(hn::ShiftRight<13>(magnitude), hn::Set(di, 1));
    const auto normal =
        hn::ShiftRight<13>(hn::Add(hn::Add(magnitude, hn::Set(di, 0x0FFF - 0x38000000)), odd));
    // Adding 0.5 lines the last places up, so that the addition rounds.
    const auto tiny = hn::Sub(hn::BitCast(di, hn::Add(hn::BitCast(d, magnitude), hn::Set(d, 0.5f))),
                              hn::Set(di, 0x3F000000));
    auto half = hn::IfThenElse(hn::Lt(magnitude, hn::Set(di, 0x38800000)), tiny, normal);
    half = hn::IfThenElse(hn::Gt(magnitude, hn::Set(di, 0x477FEFFF)), hn::Set(di, 0x7C00), half);
    const auto payload =
        hn::Or(hn::Set(di, 0x7E00), hn::And(hn::ShiftRight<13>(magnitude), hn::Set(di, 0x1FF)));
    half = hn::IfThenElse(hn::Gt(magnitude, hn::Set(di, 0x7F800000)), payload, half);
    return hn::DemoteTo(HalfBitsTag(), hn::Or(half, sign));
#else
    return hn::BitCast(HalfBitsTag(), hn::DemoteTo(hn::Rebind<hwy::float16_t, FloatTag>(), value));
#endif
}

/// laneCount() pixels of four interleaved halves.
HWY_INLINE PixelVector loadPixels(const std::uint16_t* HWY_RESTRICT halves) {
    const FloatTag d;
#if HWY_TARGET == HWY_AVX2
    // Block k of vector i is to hold pixel i + 4k; then transposing within blocks is enough. Moving
    // whole pixels before the conversion costs four cheap shuffles.
    const hn::ScalableTag<std::uint16_t> dHalves;
    const hn::Repartition<std::uint64_t, decltype(dHalves)> dPixels;
    const hn::Half<decltype(dHalves)> dLower;
    const auto front = hn::BitCast(dPixels, hn::LoadU(dHalves, halves));
    const auto back = hn::BitCast(dPixels, hn::LoadU(dHalves, halves + 16));
    const auto even = hn::BitCast(dHalves, hn::InterleaveLower(dPixels, front, back));
    const auto odd = hn::BitCast(dHalves, hn::InterleaveUpper(dPixels, front, back));
    const auto pixels0 = floatFromHalf(hn::LowerHalf(dLower, even));
    const auto pixels1 = floatFromHalf(hn::LowerHalf(dLower, odd));
    const auto pixels2 = floatFromHalf(hn::UpperHalf(dLower, even));
    const auto pixels3 = floatFromHalf(hn::UpperHalf(dLower, odd));
    const hn::Repartition<double, FloatTag> dPairs;
    const auto redGreen01 = hn::BitCast(dPairs, hn::InterleaveLower(d, pixels0, pixels1));
    const auto blueAlpha01 = hn::BitCast(dPairs, hn::InterleaveUpper(d, pixels0, pixels1));
    const auto redGreen23 = hn::BitCast(dPairs, hn::InterleaveLower(d, pixels2, pixels3));
    const auto blueAlpha23 = hn::BitCast(dPairs, hn::InterleaveUpper(d, pixels2, pixels3));
    return {hn::BitCast(d, hn::InterleaveLower(dPairs, redGreen01, redGreen23)),
            hn::BitCast(d, hn::InterleaveUpper(dPairs, redGreen01, redGreen23)),
            hn::BitCast(d, hn::InterleaveLower(dPairs, blueAlpha01, blueAlpha23)),
            hn::BitCast(d, hn::InterleaveUpper(dPairs, blueAlpha01, blueAlpha23))};
#else
    const HalfBitsTag dh;
    const std::size_t lanes = laneCount();
    const auto pixels0 = floatFromHalf(hn::LoadU(dh, halves));
    const auto pixels1 = floatFromHalf(hn::LoadU(dh, halves + lanes));
    const auto pixels2 = floatFromHalf(hn::LoadU(dh, halves + 2 * lanes));
    const auto pixels3 = floatFromHalf(hn::LoadU(dh, halves + 3 * lanes));
    const auto redBlue0 = hn::ConcatEven(d, pixels1, pixels0);
    const auto redBlue1 = hn::ConcatEven(d, pixels3, pixels2);
    const auto greenAlpha0 = hn::ConcatOdd(d, pixels1, pixels0);
    const auto greenAlpha1 = hn::ConcatOdd(d, pixels3, pixels2);
    return {hn::ConcatEven(d, redBlue1, redBlue0), hn::ConcatEven(d, greenAlpha1, greenAlpha0),
            hn::ConcatOdd(d, redBlue1, redBlue0), hn::ConcatOdd(d, greenAlpha1, greenAlpha0)};
#endif
}

HWY_INLINE void storePixels(const PixelVector& pixels, std::uint16_t* HWY_RESTRICT halves) {
    hn::StoreInterleaved4(halfFromFloat(pixels.red), halfFromFloat(pixels.green),
                          halfFromFloat(pixels.blue), halfFromFloat(pixels.alpha), HalfBitsTag(),
                          halves);
}

/// A block of the planar layout: laneCount() reds, then greens, blues and alphas.
HWY_INLINE PixelVector loadBlock(const float* HWY_RESTRICT block) {
    const FloatTag d;
    const std::size_t lanes = laneCount();
    return {hn::Load(d, block), hn::Load(d, block + lanes), hn::Load(d, block + 2 * lanes),
            hn::Load(d, block + 3 * lanes)};
}

HWY_INLINE void storeBlock(const PixelVector& pixels, float* HWY_RESTRICT block) {
    const FloatTag d;
    const std::size_t lanes = laneCount();
    hn::Store(pixels.red, d, block);
    hn::Store(pixels.green, d, block + lanes);
    hn::Store(pixels.blue, d, block + 2 * lanes);
    hn::Store(pixels.alpha, d, block + 3 * lanes);
}

HWY_INLINE PixelVector scaled(const PixelVector& c, FloatVector factor) {
    return {hn::Mul(c.red, factor), hn::Mul(c.green, factor), hn::Mul(c.blue, factor),
            hn::Mul(c.alpha, factor)};
}

HWY_INLINE PixelVector zeroUnless(FloatMask mask, const PixelVector& c) {
    return {hn::IfThenElseZero(mask, c.red), hn::IfThenElseZero(mask, c.green),
            hn::IfThenElseZero(mask, c.blue), hn::IfThenElseZero(mask, c.alpha)};
}

HWY_INLINE PixelVector select(FloatMask mask, const PixelVector& yes, const PixelVector& no) {
    return {hn::IfThenElse(mask, yes.red, no.red), hn::IfThenElse(mask, yes.green, no.green),
            hn::IfThenElse(mask, yes.blue, no.blue), hn::IfThenElse(mask, yes.alpha, no.alpha)};
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
