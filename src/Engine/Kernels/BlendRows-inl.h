// The template behind BlendRows: source, factor, dissolve, composite and clipping for a run of
// pixels, with the blend function compiled in. Reads the source once and the accumulator in place;
// reaches no further than its own pixels.

#if defined(OMBREL_BLEND_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_BLEND_ROWS_INL_H
#undef OMBREL_BLEND_ROWS_INL_H
#else
#define OMBREL_BLEND_ROWS_INL_H
#endif

#include "Engine/Kernels/BlendFunctions-inl.h"
#include "Engine/Kernels/BlendRows.h"
#include "Engine/Kernels/PixelVectors-inl.h"
#include "Engine/Kernels/TransferCurves-inl.h"

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// Plain source-over and its speckled form do not go through a blend function.
struct SourceOver {};
struct Dissolve {};

/// BlendMath::dissolveNoise for the pixels of a vector, which lie in one row.
HWY_INLINE FloatVector dissolveNoise(std::int32_t x, std::int32_t y, std::uint32_t index) {
    const WordTag du;
    const auto columns = hn::Iota(du, static_cast<std::uint32_t>(x));
    const std::uint32_t rest =
        (static_cast<std::uint32_t>(y) * 0xD8163841u) ^ (index * 0xCB1AB31Fu);
    auto h = hn::Xor(hn::Mul(columns, hn::Set(du, 0x8DA6B343u)), hn::Set(du, rest));
    h = hn::Mul(hn::Xor(h, hn::ShiftRight<16>(h)), hn::Set(du, 0x7FEB352Du));
    h = hn::Mul(hn::Xor(h, hn::ShiftRight<15>(h)), hn::Set(du, 0x846CA68Bu));
    const auto bits = hn::Xor(hn::ShiftRight<24>(h), hn::ShiftRight<8>(h));
    return hn::Mul(hn::ConvertTo(FloatTag(), hn::BitCast(IntTag(), bits)), constant(0x1p-24f));
}

HWY_INLINE PixelVector dissolved(const PixelVector& c, FloatVector noise) {
    const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(FloatTag()));
    const auto stays = hn::And(hasAlpha, hn::Lt(noise, c.alpha));
    const auto divisor = hn::IfThenElse(hasAlpha, c.alpha, constant(1));
    return zeroUnless(stays, {hn::Div(c.red, divisor), hn::Div(c.green, divisor),
                              hn::Div(c.blue, divisor), constant(1)});
}

HWY_INLINE PixelVector sourceOver(const PixelVector& b, const PixelVector& c) {
    const auto throughSource = hn::Sub(constant(1), c.alpha);
    return {hn::Add(c.red, hn::Mul(b.red, throughSource)),
            hn::Add(c.green, hn::Mul(b.green, throughSource)),
            hn::Add(c.blue, hn::Mul(b.blue, throughSource)),
            hn::Add(c.alpha, hn::Mul(b.alpha, throughSource))};
}

/// Straight colours cut to 0 and 1; black where alpha is not above 0.
HWY_INLINE ColorVector straightInUnit(const PixelVector& c) {
    const FloatTag d;
    if (hn::AllTrue(d, hn::Eq(c.alpha, constant(1)))) {
        return {cutToUnit(c.red), cutToUnit(c.green), cutToUnit(c.blue)};
    }
    const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(d));
    const auto divisor = hn::IfThenElse(hasAlpha, c.alpha, constant(1));
    const auto straight = [&](FloatVector channel) HWY_ATTR {
        return hn::IfThenElseZero(hasAlpha, cutToUnit(hn::Div(channel, divisor)));
    };
    return {straight(c.red), straight(c.green), straight(c.blue)};
}

template <typename Function>
HWY_INLINE PixelVector composite(const PixelVector& b, const PixelVector& c) {
    const ColorVector blended = blend<Function>(straightInUnit(b), straightInUnit(c));
    const auto besideBackdrop = hn::Sub(constant(1), b.alpha);
    const auto throughSource = hn::Sub(constant(1), c.alpha);
    const auto mix = [&](FloatVector backdrop, FloatVector source, FloatVector both) HWY_ATTR {
        const auto common = hn::Mul(hn::Mul(both, b.alpha), c.alpha);
        return hn::Add(hn::Add(common, hn::Mul(source, besideBackdrop)),
                       hn::Mul(backdrop, throughSource));
    };
    const PixelVector result{mix(b.red, c.red, blended.red), mix(b.green, c.green, blended.green),
                             mix(b.blue, c.blue, blended.blue),
                             hn::Add(c.alpha, hn::Mul(b.alpha, throughSource))};
    return select(hn::Gt(c.alpha, hn::Zero(FloatTag())), result, b);
}

/// Takes back what fell beside the base, so that the layer shows only on its coverage.
HWY_INLINE PixelVector clipped(const PixelVector& result, const PixelVector& b,
                               const PixelVector& c) {
    const auto beside = hn::Sub(constant(1), b.alpha);
    return {hn::Sub(result.red, hn::Mul(c.red, beside)),
            hn::Sub(result.green, hn::Mul(c.green, beside)),
            hn::Sub(result.blue, hn::Mul(c.blue, beside)), b.alpha};
}

template <typename Function, bool encodes>
void blendRows(const BlendRowsArguments& in) {
    const FloatTag d;
    const std::size_t lanes = laneCount();
    const PixelVector uniform{constant(in.uniform[0]), constant(in.uniform[1]),
                              constant(in.uniform[2]), constant(in.uniform[3])};
    const bool hasFactor = in.factors != nullptr || in.factor != 1.0f;
    float* HWY_RESTRICT block = in.accumulator;
    for (std::size_t i = 0; i < in.pixelCount; i += lanes, block += 4 * lanes) {
        PixelVector c = uniform;
        if (HWY_LIKELY(in.kind == SourceKind::halves)) {
            c = loadPixels(in.halves + 4 * i);
            const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(d));
            if (hn::AllFalse(d, hasAlpha)) continue;
            if constexpr (encodes) {
                c = in.isPrecise ? encodePrecisely(c) : encode(c);
            } else {
                c = zeroUnless(hasAlpha, c);
            }
        } else if (in.kind == SourceKind::planar) {
            c = loadBlock(in.planar + 4 * i);
        }
        if (hasFactor) {
            c = scaled(c,
                       in.factors != nullptr ? hn::LoadU(d, in.factors + i) : constant(in.factor));
        }
        const PixelVector b = loadBlock(block);
        PixelVector result;
        if constexpr (std::is_same_v<Function, SourceOver>) {
            result = sourceOver(b, c);
        } else if constexpr (std::is_same_v<Function, Dissolve>) {
            const auto column = static_cast<std::int32_t>(i % 256);
            const auto row = static_cast<std::int32_t>(i / 256);
            c = dissolved(c, dissolveNoise(in.x + column, in.y + row, in.index));
            result = sourceOver(b, c);
        } else {
            result = composite<Function>(b, c);
        }
        if (in.isClipped) result = clipped(result, b, c);
        storeBlock(result, block);
    }
}

template <typename Function>
BlendRows instance(bool encodes) {
    return encodes ? &blendRows<Function, true> : &blendRows<Function, false>;
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
