// The effects that a brush has on the pixels it passes over, on vectors (see BrushApply.h).

#if defined(OMBREL_BRUSH_EFFECTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_BRUSH_EFFECTS_INL_H
#undef OMBREL_BRUSH_EFFECTS_INL_H
#else
#define OMBREL_BRUSH_EFFECTS_INL_H
#endif

#include "Engine/BrushRecords.h"
#include "Engine/Kernels/TransferCurves-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

HWY_INLINE FloatVector rec709(const PixelVector& c) {
    return hn::MulAdd(c.red, constant(0.2126f),
                      hn::MulAdd(c.green, constant(0.7152f), hn::Mul(c.blue, constant(0.0722f))));
}

HWY_INLINE FloatVector withinUnit(FloatVector x) {
    return hn::Min(hn::Max(x, hn::Zero(FloatTag())), constant(1));
}

/// How much a tone belongs to a range; `range` is the index of the ToneRange.
HWY_INLINE FloatVector toneWeight(FloatVector luma, std::uint32_t range) {
    const auto y = withinUnit(luma);
    const auto rest = hn::Sub(constant(1), y);
    if (range == 1) {
        const auto product = hn::Mul(y, rest);
        return hn::Mul(hn::Mul(product, product), constant(16));
    }
    const auto tone = range == 0 ? rest : y;
    return hn::Mul(hn::Mul(tone, tone), hn::MulAdd(tone, constant(-2), constant(3)));
}

/// Straight encoded channels; alpha is carried along.
HWY_INLINE PixelVector toned(const PixelVector& c, FloatVector amount,
                             const BrushPassParams& params) {
    const auto weight = toneWeight(rec709(c), params.effectOption);
    const auto gain = hn::Mul(hn::Mul(amount, weight), constant(0.5f * params.effectAmount));
    const bool dodges = params.effect == BrushEffectCode::dodge;
    const auto channel = [&](FloatVector e) HWY_ATTR {
        const auto zero = hn::Zero(FloatTag());
        if (dodges) return hn::MulAdd(gain, hn::Max(hn::Sub(constant(1), e), zero), e);
        return hn::NegMulAdd(gain, hn::Max(e, zero), e);
    };
    return {channel(c.red), channel(c.green), channel(c.blue), c.alpha};
}

/// Straight encoded channels.
HWY_INLINE PixelVector sponged(const PixelVector& c, FloatVector amount,
                               const BrushPassParams& params) {
    const bool saturates = (params.effectOption & 1u) != 0;
    const bool vibrance = (params.effectOption & 2u) != 0;
    const auto luma = rec709(c);
    const auto high = hn::Max(hn::Max(c.red, c.green), c.blue);
    const auto low = hn::Min(hn::Min(c.red, c.green), c.blue);
    const auto tiny = constant(1e-6f);
    if (vibrance) {
        const auto saturation = withinUnit(hn::Div(hn::Sub(high, low), hn::Max(high, tiny)));
        amount = hn::Mul(amount, saturates ? hn::Sub(constant(1), saturation) : saturation);
    }
    auto factor = hn::Sub(constant(1), amount);
    if (saturates) {
        // The furthest that keeps the highest channel below 1 and the lowest above 0.
        const auto roomAbove =
            hn::Div(hn::Sub(constant(1), luma), hn::Max(hn::Sub(high, luma), tiny));
        const auto roomBelow = hn::Div(luma, hn::Max(hn::Sub(luma, low), tiny));
        const auto most = hn::Max(hn::Min(roomAbove, roomBelow), constant(1));
        factor = hn::Min(hn::Add(constant(1), amount), most);
    }
    const auto channel = [&](FloatVector e)
                             HWY_ATTR { return hn::MulAdd(hn::Sub(e, luma), factor, luma); };
    return {channel(c.red), channel(c.green), channel(c.blue), c.alpha};
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
