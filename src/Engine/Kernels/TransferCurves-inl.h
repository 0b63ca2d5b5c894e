// The sRGB curve and its inverse on vectors, as TransferFunction defines them. Relative error
// against double below 5e-7 for the encoding, 1e-6 for the decoding; 0 and 1 are encoded exactly.
// The polynomials are minimax fits of our own (Remez exchange, relative error). They alone may
// fuse a multiplication with an addition; all other arithmetic of the kernels rounds as BlendMath.

#if defined(OMBREL_TRANSFER_CURVES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_TRANSFER_CURVES_INL_H
#undef OMBREL_TRANSFER_CURVES_INL_H
#else
#define OMBREL_TRANSFER_CURVES_INL_H
#endif

#include "Core/TransferFunction.h"
#include "Engine/Kernels/PixelVectors-inl.h"

#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// x * (first + x * (second + ...)).
template <typename... Rest>
HWY_INLINE FloatVector polynomial(FloatVector x, float first, Rest... rest) {
    if constexpr (sizeof...(Rest) == 0) {
        return constant(first);
    } else {
        return hn::MulAdd(polynomial(x, rest...), x, constant(first));
    }
}

struct PowerVector {
    FloatVector value;
    FloatVector logarithm; ///< of the base, to base 2
};

/// x^exponent for finite x above 0; other lanes are undefined.
HWY_INLINE PowerVector powerWithLogarithm(FloatVector x, float exponent) {
    const FloatTag d;
    const IntTag di;
    // x = 2^e * m with m from sqrt(1/2) to sqrt(2).
    const auto bits = hn::BitCast(di, x);
    const auto e = hn::ShiftRight<23>(hn::Sub(bits, hn::Set(di, 0x3F3504F3)));
    const auto t = hn::Sub(hn::BitCast(d, hn::Sub(bits, hn::ShiftLeft<23>(e))), constant(1));
    const auto octaves = hn::ConvertTo(d, e);
    const auto logarithm =
        hn::Mul(t, polynomial(t, 1.442704447f, -0.7213510527f, 0.480181414f, -0.3598696364f,
                              0.3020743616f, -0.2655921516f, 0.1445207832f));
    const auto sum =
        hn::MulAdd(logarithm, constant(exponent), hn::Mul(octaves, constant(exponent)));
    const auto y = hn::Min(hn::Max(sum, constant(-125.0f)), constant(127.0f));
    const auto n = hn::NearestInt(y);
    const auto r = hn::Sub(y, hn::ConvertTo(d, n));
    const auto fraction = hn::MulAdd(r,
                                     polynomial(r, 0.693147215f, 0.2402265278f, 0.05550310551f,
                                                0.009617692976f, 0.001340664385f, 0.0001559467701f),
                                     constant(1));
    return {hn::BitCast(d, hn::Add(hn::BitCast(di, fraction), hn::ShiftLeft<23>(n))),
            hn::Add(logarithm, octaves)};
}

HWY_INLINE FloatVector power(FloatVector x, float exponent) {
    return powerWithLogarithm(x, exponent).value;
}

// 1.055 and 0.055 as floats differ by a trifle less than 1. These neighbours take 1 to exactly 1.
constexpr float encodingGain = 0x1.0e147cp+0f;
constexpr float encodingShift = 0x1.c28f60p-5f;
static_assert(encodingGain - encodingShift == 1.0f);

/// Any value, mirrored at zero.
HWY_INLINE FloatVector encodeAny(FloatVector x) {
    const auto magnitude = hn::Abs(x);
    const auto curve = hn::MulSub(power(magnitude, TransferFunction::encodingExponent),
                                  constant(encodingGain), constant(encodingShift));
    auto value = hn::IfThenElse(hn::Le(magnitude, constant(TransferFunction::linearThreshold)),
                                hn::Mul(magnitude, constant(12.92f)), curve);
    value = hn::IfThenElse(hn::Lt(magnitude, constant(HUGE_VALF)), value, magnitude);
    return hn::CopySign(value, x);
}

HWY_INLINE FloatVector decodeAny(FloatVector x) {
    const auto magnitude = hn::Abs(x);
    const auto base = hn::Mul(hn::Add(magnitude, constant(0.055f)), constant(1 / 1.055f));
    auto value = hn::IfThenElse(hn::Le(magnitude, constant(TransferFunction::encodedThreshold)),
                                hn::Mul(magnitude, constant(1 / 12.92f)), power(base, 2.4f));
    value = hn::IfThenElse(hn::Lt(magnitude, constant(HUGE_VALF)), value, magnitude);
    return hn::CopySign(value, x);
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET <= HWY_AVX3

// From 0 up to below 2, where nearly all channels lie, the power of the exponent comes from eight
// or sixteen values in a register, and one polynomial serves the mantissa: two thirds of the work.

#undef OMBREL_OCTAVES
#if HWY_TARGET == HWY_AVX2
#define OMBREL_OCTAVES 8
using OctaveIndices = hn::Indices256<float>;
#else
#define OMBREL_OCTAVES 16
using OctaveIndices = hn::Indices512<float>;
#endif

/// The mantissa of x, and the low exponent bits as an index.
struct SplitFloat {
    FloatVector mantissaMinusOne;
    OctaveIndices octave;
};

HWY_INLINE SplitFloat split(FloatVector x) {
    const FloatTag d;
    const IntTag di;
    const auto bits = hn::BitCast(di, x);
    const auto mantissa = hn::Or(hn::And(bits, hn::Set(di, 0x007FFFFF)), hn::Set(di, 0x3F800000));
    // The lookup reads as many of the lowest bits of each index as it needs.
    return {hn::Sub(hn::BitCast(d, mantissa), constant(1)),
            OctaveIndices{hn::ShiftRight<23>(bits).raw}};
}

HWY_INLINE FloatVector encodeBelowTwo(FloatVector x) {
    const FloatTag d;
    // 1.055 * 2^(5/12 * e) for e up to 0, at the index that their biased exponents end in.
#if OMBREL_OCTAVES == 8
    alignas(32) static constexpr float gains[8] = {0.1397166956f, 0.1864994135f, 0.24894685f,
                                                   0.3323041769f, 0.443572859f,  0.5920987305f,
                                                   0.7903569831f, encodingGain};
#else
    alignas(64) static constexpr float gains[16] = {
        0.01386165185f, 0.01850308533f, 0.02469865572f, 0.03296875f,
        0.04400800144f, 0.05874363423f, 0.07841334415f, 0.1046692569f,
        0.1397166956f,  0.1864994135f,  0.24894685f,    0.3323041769f,
        0.443572859f,   0.5920987305f,  0.7903569831f,  encodingGain};
#endif
    const SplitFloat parts = split(x);
    const auto t = parts.mantissaMinusOne;
    const auto powered =
        hn::MulAdd(t,
                   polynomial(t, 0.416664328f, -0.121460753f, 0.0634837353f, -0.0382931421f,
                              0.0212033854f, -0.00836082637f, 0.00160316084f),
                   constant(1));
    auto gain = hn::TableLookupLanes(hn::Load(d, gains), parts.octave);
#if OMBREL_OCTAVES == 8
    // The two octaves below 2^-7 share an index with the two highest: eight octaves further down.
    gain = hn::Mul(gain, hn::IfThenElse(hn::Lt(x, constant(0.0078125f)), constant(0.09921256575f),
                                        constant(1)));
#endif
    const auto curve = hn::MulSub(powered, gain, constant(encodingShift));
    return hn::IfThenElse(hn::Le(x, constant(TransferFunction::linearThreshold)),
                          hn::Mul(x, constant(12.92f)), curve);
}

HWY_INLINE FloatVector decodeBelowTwo(FloatVector x) {
    const FloatTag d;
    // 2^(2.4 * e) for e up to 0.
#if OMBREL_OCTAVES == 8
    alignas(32) static constexpr float gains[8] = {8.763869118411094e-06f,  4.6255980123532936e-05f,
                                                   0.00024414053768850863f, 0.0012885816395282745f,
                                                   0.006801174953579903f,   0.035896819084882736f,
                                                   0.18946455419063568f,    1.0f};
#else
    alignas(64) static constexpr float gains[16] = {
        1.455191523e-11f, 7.680546904e-11f, 4.05381696e-10f,  2.139617419e-09f,
        1.129296844e-08f, 5.960464478e-08f, 3.145952012e-07f, 1.660443427e-06f,
        8.763872948e-06f, 4.625599873e-05f, 0.000244140625f,  0.001288581944f,
        0.006801176276f,  0.03589682359f,   0.1894645708f,    1.0f};
#endif
    const SplitFloat parts = split(hn::Mul(hn::Add(x, constant(0.055f)), constant(1 / 1.055f)));
    const auto t = parts.mantissaMinusOne;
    const auto powered = hn::MulAdd(t,
                                    polynomial(t, 2.39999793f, 1.68005147f, 0.223585867f,
                                               -0.0320651328f, 0.00773786639f, -0.0012764826f),
                                    constant(1));
    const auto curve = hn::Mul(powered, hn::TableLookupLanes(hn::Load(d, gains), parts.octave));
    return hn::IfThenElse(hn::Le(x, constant(TransferFunction::encodedThreshold)),
                          hn::Mul(x, constant(1 / 12.92f)), curve);
}

/// Lanes from 0 up to below 2; -0 does not count.
HWY_INLINE FloatMask isBelowTwo(FloatVector bits) {
    const FloatTag d;
    const IntTag di;
    const auto high = hn::And(hn::BitCast(di, bits), hn::Set(di, static_cast<int>(0xC0000000u)));
    return hn::RebindMask(d, hn::Eq(high, hn::Zero(di)));
}

/// Decides lane by lane, so that a value does not depend on its neighbours.
HWY_INLINE void encodeStraight(PixelVector& c) {
    const FloatTag d;
    const bool isCommon = hn::AllTrue(d, isBelowTwo(hn::Or(hn::Or(c.red, c.green), c.blue)));
    const PixelVector x = c;
    c = {encodeBelowTwo(x.red), encodeBelowTwo(x.green), encodeBelowTwo(x.blue), x.alpha};
    if (HWY_LIKELY(isCommon)) return;
    c.red = hn::IfThenElse(isBelowTwo(x.red), c.red, encodeAny(x.red));
    c.green = hn::IfThenElse(isBelowTwo(x.green), c.green, encodeAny(x.green));
    c.blue = hn::IfThenElse(isBelowTwo(x.blue), c.blue, encodeAny(x.blue));
}

HWY_INLINE void decodeStraight(PixelVector& c) {
    const FloatTag d;
    const bool isCommon = hn::AllTrue(d, isBelowTwo(hn::Or(hn::Or(c.red, c.green), c.blue)));
    const PixelVector x = c;
    c = {decodeBelowTwo(x.red), decodeBelowTwo(x.green), decodeBelowTwo(x.blue), x.alpha};
    if (HWY_LIKELY(isCommon)) return;
    c.red = hn::IfThenElse(isBelowTwo(x.red), c.red, decodeAny(x.red));
    c.green = hn::IfThenElse(isBelowTwo(x.green), c.green, decodeAny(x.green));
    c.blue = hn::IfThenElse(isBelowTwo(x.blue), c.blue, decodeAny(x.blue));
}

#else

HWY_INLINE void encodeStraight(PixelVector& c) {
    c = {encodeAny(c.red), encodeAny(c.green), encodeAny(c.blue), c.alpha};
}

HWY_INLINE void decodeStraight(PixelVector& c) {
    c = {decodeAny(c.red), decodeAny(c.green), decodeAny(c.blue), c.alpha};
}

#endif

/// Both halves of a float vector by a function of double vectors.
template <typename Function>
HWY_INLINE FloatVector inDouble(Function function, FloatVector x, FloatVector y) {
    const FloatTag d;
    const hn::Half<FloatTag> dHalf;
    const hn::Repartition<double, FloatTag> dDouble;
    const auto half = [&](auto xs, auto ys) HWY_ATTR {
        return hn::DemoteTo(
            dHalf, function(dDouble, hn::PromoteTo(dDouble, xs), hn::PromoteTo(dDouble, ys)));
    };
    return hn::Combine(d, half(hn::UpperHalf(dHalf, x), hn::UpperHalf(dHalf, y)),
                       half(hn::LowerHalf(dHalf, x), hn::LowerHalf(dHalf, y)));
}

inline constexpr float preciseLimit = 0x1p20f;

/// From 0 up to below preciseLimit. A power good to single precision becomes one good to fourteen
/// digits: the equation y^12 = x^5, whose residual alone needs double precision, gives what it
/// lacks for the exponent 5/12, and the logarithm what the true exponent lacks.
HWY_INLINE FloatVector encodePreciselyBelowLimit(FloatVector x) {
    const PowerVector powered = powerWithLogarithm(x, TransferFunction::encodingExponent);
    const auto y = powered.value;
    const auto toTwelfth = [](auto z) HWY_ATTR {
        const auto cube = hn::Mul(hn::Mul(z, z), z);
        const auto sixth = hn::Mul(cube, cube);
        return hn::Mul(sixth, sixth);
    };
    const auto residual = inDouble(
        [&](auto, auto xs, auto ys) HWY_ATTR {
            const auto square = hn::Mul(xs, xs);
            return hn::Sub(hn::Mul(hn::Mul(square, square), xs), toTwelfth(ys));
        },
        x, y);
    const auto error = hn::Div(residual, toTwelfth(y));
    // (1 + error)^(1/12), to the second order.
    const auto lacking =
        hn::Mul(error, hn::MulAdd(error, constant(-11.0f / 288.0f), constant(1.0f / 12.0f)));
    constexpr double exponentRest = double{TransferFunction::encodingExponent} - 5.0 / 12.0;
    const auto correction = hn::Mul(
        y, hn::MulAdd(powered.logarithm,
                      constant(static_cast<float>(exponentRest * 0.6931471805599453)), lacking));
    const auto curve = inDouble(
        [](auto dDouble, auto ys, auto corrections) HWY_ATTR {
            return hn::Sub(hn::Mul(hn::Set(dDouble, 1.055), hn::Add(ys, corrections)),
                           hn::Set(dDouble, 0.055));
        },
        y, correction);
    const auto line = inDouble([](auto dDouble, auto xs, auto)
                                   HWY_ATTR { return hn::Mul(hn::Set(dDouble, 12.92), xs); },
                               x, x);
    return hn::IfThenElse(hn::Le(x, constant(TransferFunction::linearThreshold)), line, curve);
}

/// As TransferFunction::encode, to the last bit but for about one value in a million. For programs
/// that make much of little (see CompositePlan): there the last bit decides a hue.
HWY_INLINE FloatVector encodePrecisely(FloatVector x) {
    const FloatTag d;
    const auto magnitude = hn::Abs(x);
    if (HWY_LIKELY(hn::AllTrue(d, hn::Lt(magnitude, constant(preciseLimit)))))
        return hn::CopySign(encodePreciselyBelowLimit(magnitude), x);
    HWY_ALIGN float values[hn::MaxLanes(d)];
    hn::Store(x, d, values);
    for (float& value : values)
        value = TransferFunction::encode(value);
    return hn::Load(d, values);
}

/// The straight colours of premultiplied ones; lanes with an alpha not above 0 become 0.
HWY_INLINE PixelVector straightened(const PixelVector& c) {
    const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(FloatTag()));
    const auto divisor = hn::IfThenElse(hasAlpha, c.alpha, constant(1));
    const PixelVector visible = zeroUnless(hasAlpha, c);
    return {hn::Div(visible.red, divisor), hn::Div(visible.green, divisor),
            hn::Div(visible.blue, divisor), visible.alpha};
}

HWY_INLINE PixelVector premultiplied(const PixelVector& c) {
    return {hn::Mul(c.red, c.alpha), hn::Mul(c.green, c.alpha), hn::Mul(c.blue, c.alpha), c.alpha};
}

HWY_INLINE bool isOpaque(const PixelVector& c) {
    return hn::AllTrue(FloatTag(), hn::Eq(c.alpha, constant(1)));
}

HWY_INLINE PixelVector encode(const PixelVector& c) {
    const bool skipsAlpha = isOpaque(c); // dividing by 1 changes nothing
    PixelVector straight = c;
    if (!skipsAlpha) straight = straightened(c);
    encodeStraight(straight);
    return skipsAlpha ? straight : premultiplied(straight);
}

inline HWY_NOINLINE PixelVector encodePrecisely(const PixelVector& c) {
    const PixelVector x = straightened(c);
    return premultiplied(
        {encodePrecisely(x.red), encodePrecisely(x.green), encodePrecisely(x.blue), x.alpha});
}

HWY_INLINE PixelVector decode(const PixelVector& c) {
    const bool skipsAlpha = isOpaque(c);
    PixelVector straight = c;
    if (!skipsAlpha) straight = straightened(c);
    decodeStraight(straight);
    return skipsAlpha ? straight : premultiplied(straight);
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
