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

#include <hwy/cache_control.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

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

HWY_INLINE ColorVector cutToUnit(const PixelVector& c) {
    return {cutToUnit(c.red), cutToUnit(c.green), cutToUnit(c.blue)};
}

/// Straight colours by a reciprocal: within a place or two of straightened().
HWY_INLINE PixelVector nearlyStraightened(const PixelVector& c) {
    const FloatTag d;
    const auto reciprocal =
        hn::IfThenElseZero(hn::Gt(c.alpha, hn::Zero(d)), hn::Div(constant(1), c.alpha));
    return {hn::Mul(c.red, reciprocal), hn::Mul(c.green, reciprocal), hn::Mul(c.blue, reciprocal),
            c.alpha};
}

template <bool smooth>
HWY_INLINE ColorVector straightInUnit(const PixelVector& c, bool opaque) {
    if (opaque) return cutToUnit(c);
    return cutToUnit(smooth ? nearlyStraightened(c) : straightened(c));
}

/// `blended` over both premultiplied colours. Where both are opaque the products with 1 and 0 are
/// left out.
template <bool smooth>
HWY_INLINE PixelVector mixed(const ColorVector& blended, const PixelVector& b, const PixelVector& c,
                             bool backdropIsOpaque, bool sourceIsOpaque) {
    if (backdropIsOpaque && sourceIsOpaque)
        return {blended.red, blended.green, blended.blue, constant(1)};
    const auto besideBackdrop = hn::Sub(constant(1), b.alpha);
    const auto throughSource = hn::Sub(constant(1), c.alpha);
    const auto both = hn::Mul(b.alpha, c.alpha);
    const auto mix = [&](FloatVector backdrop, FloatVector source, FloatVector color) HWY_ATTR {
        const auto common =
            smooth ? hn::Mul(color, both) : hn::Mul(hn::Mul(color, b.alpha), c.alpha);
        return hn::Add(hn::Add(common, hn::Mul(source, besideBackdrop)),
                       hn::Mul(backdrop, throughSource));
    };
    return {mix(b.red, c.red, blended.red), mix(b.green, c.green, blended.green),
            mix(b.blue, c.blue, blended.blue), hn::Add(c.alpha, hn::Mul(b.alpha, throughSource))};
}

/// Takes back what fell beside the base, so that the layer shows only on its coverage.
HWY_INLINE PixelVector clipped(const PixelVector& result, const PixelVector& b,
                               const PixelVector& c) {
    const auto beside = hn::Sub(constant(1), b.alpha);
    return {hn::Sub(result.red, hn::Mul(c.red, beside)),
            hn::Sub(result.green, hn::Mul(c.green, beside)),
            hn::Sub(result.blue, hn::Mul(c.blue, beside)), b.alpha};
}

/// A source ready to be composited: premultiplied, and for smooth arithmetic straight too.
struct SourceVector {
    PixelVector color;
    PixelVector straight;
    bool isOpaque;
};

/// The next pixels of the source; false where nothing of them shows.
template <SourceArithmetic arithmetic>
HWY_INLINE bool loadSource(const BlendRowsArguments& in, std::size_t i, PixelVector& c) {
    const FloatTag d;
    if (HWY_LIKELY(in.kind == SourceKind::halves)) {
        c = loadPixels(in.halves + 4 * i);
        const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(d));
        if (hn::AllFalse(d, hasAlpha)) return false;
        if constexpr (arithmetic == SourceArithmetic::linear) {
            c = zeroUnless(hasAlpha, c);
        } else if constexpr (arithmetic == SourceArithmetic::perceptual) {
            c = in.isPrecise ? encodePrecisely(c) : encode(c);
        }
    } else if (in.kind == SourceKind::planar) {
        c = loadBlock(in.planar + 4 * i);
    }
    return true;
}

/// Smooth arithmetic keeps the straight colour beside the premultiplied one and multiplies by alpha
/// and factor once.
HWY_INLINE SourceVector smoothSource(const BlendRowsArguments& in, const PixelVector& loaded,
                                     bool hasFactor, FloatVector factor) {
    SourceVector source{.color = loaded, .straight = loaded, .isOpaque = isOpaque(loaded)};
    if (!source.isOpaque) source.straight = nearlyStraightened(loaded);
    if (in.kind == SourceKind::halves) {
        source.straight.alpha = hn::Max(loaded.alpha, hn::Zero(FloatTag()));
        encodeStraight(source.straight);
    }
    source.color = source.straight;
    if (hasFactor) {
        source.color.alpha = hn::Mul(source.color.alpha, factor);
        source.isOpaque = false;
    }
    if (!source.isOpaque) source.color = premultiplied(source.color);
    return source;
}

template <typename Function, SourceArithmetic arithmetic>
void blendRows(const BlendRowsArguments& in) {
    const FloatTag d;
    const std::size_t lanes = laneCount();
    constexpr bool smooth = arithmetic == SourceArithmetic::smooth;
    constexpr bool isPlain =
        std::is_same_v<Function, SourceOver> || std::is_same_v<Function, Dissolve>;
    const PixelVector uniform{constant(in.uniform[0]), constant(in.uniform[1]),
                              constant(in.uniform[2]), constant(in.uniform[3])};
    const bool hasFactor = in.factors != nullptr || in.factor != 1.0f;
    auto factor = constant(in.factor);
    float* HWY_RESTRICT block = in.accumulator;
    for (std::size_t i = 0; i < in.pixelCount; i += lanes, block += 4 * lanes) {
        // Tiles are streams of a few kilobytes each, too short for the hardware to run ahead.
        if (in.next != nullptr) hwy::Prefetch(in.next + 4 * i);
        PixelVector c = uniform;
        if (!loadSource<arithmetic>(in, i, c)) continue;
        if (in.factors != nullptr) factor = hn::LoadU(d, in.factors + i);
        SourceVector source{.color = c, .straight = c, .isOpaque = false};
        if constexpr (smooth) {
            source = smoothSource(in, c, hasFactor, factor);
        } else {
            if (hasFactor) source.color = scaled(c, factor);
            if constexpr (!isPlain) {
                // A group's colours may have no alpha; blending them is to leave the backdrop.
                if (in.kind == SourceKind::planar) {
                    source.color =
                        zeroUnless(hn::Gt(source.color.alpha, hn::Zero(d)), source.color);
                }
                source.isOpaque = isOpaque(source.color);
            }
        }
        const PixelVector b = loadBlock(block);
        PixelVector result;
        if constexpr (std::is_same_v<Function, SourceOver>) {
            result = sourceOver(b, source.color);
        } else if constexpr (std::is_same_v<Function, Dissolve>) {
            const auto column = static_cast<std::int32_t>(i % 256);
            const auto row = static_cast<std::int32_t>(i / 256);
            source.color =
                dissolved(source.color, dissolveNoise(in.x + column, in.y + row, in.index));
            result = sourceOver(b, source.color);
        } else {
            const bool backdropIsOpaque = isOpaque(b);
            const ColorVector straight =
                smooth ? cutToUnit(source.straight)
                       : straightInUnit<smooth>(source.color, source.isOpaque);
            const ColorVector blended =
                blend<Function>(straightInUnit<smooth>(b, backdropIsOpaque), straight);
            result = mixed<smooth>(blended, b, source.color, backdropIsOpaque, source.isOpaque);
        }
        if (in.isClipped) result = clipped(result, b, source.color);
        storeBlock(result, block);
    }
}

template <typename Function>
BlendRows exactInstance(SourceArithmetic arithmetic) {
    return arithmetic == SourceArithmetic::linear
               ? &blendRows<Function, SourceArithmetic::linear>
               : &blendRows<Function, SourceArithmetic::perceptual>;
}

template <typename Function>
BlendRows instance(SourceArithmetic arithmetic) {
    if (arithmetic == SourceArithmetic::smooth)
        return &blendRows<Function, SourceArithmetic::smooth>;
    return exactInstance<Function>(arithmetic);
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
