#include "Engine/Kernels/ResampleRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/ResampleRows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/InterleavedPixels-inl.h"

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

template <typename Combine, std::size_t rowsAtOnce>
HWY_INLINE void columnsOfRows(const ResampleColumnsArguments& in, std::uint32_t firstRow) {
    const FloatTag d;
    const hn::CappedTag<float, 4> one;
    const WeightSpread spread;
    const ResampleTaps& taps = *in.taps;
    const float* const rows = in.rows + firstRow * in.rowStride;
    float* target = in.targets + firstRow * in.targetStride + std::size_t{taps.firstTarget} * 4;
    const float* weights = taps.weights.data();
    for (std::size_t i = 0; i < taps.starts.size(); ++i, weights += taps.tapCount, target += 4) {
        const float* pixels = rows + std::size_t{taps.starts[i]} * 4;
        FloatVector totals[rowsAtOnce];
        for (FloatVector& total : totals)
            total = hn::Zero(d);
        for (std::uint32_t tap = 0; tap < taps.tapCount; tap += tapsAtOnce) {
            const FloatVector four = hn::LoadDup128(d, weights + tap);
            for (std::size_t vector = 0; vector < WeightSpread::vectors; ++vector) {
                const FloatVector weight = spread.at(vector, four);
                const float* place = pixels + (tap + vector * pixelsOfVector()) * 4;
                for (std::size_t row = 0; row < rowsAtOnce; ++row)
                    totals[row] = Combine::weighted(hn::LoadU(d, place + row * in.rowStride),
                                                    weight, totals[row]);
            }
        }
        for (std::size_t row = 0; row < rowsAtOnce; ++row) {
            float* place = target + row * in.targetStride;
            auto pixel = joinedPixel<Combine>(d, totals[row]);
            if (in.adds) pixel = Combine::joined(pixel, hn::LoadU(one, place));
            hn::StoreU(pixel, one, place);
        }
    }
}

template <typename Combine>
void columns(const ResampleColumnsArguments& in) {
    std::uint32_t row = 0;
    for (; row + 4 <= in.rowCount; row += 4)
        columnsOfRows<Combine, 4>(in, row);
    for (; row < in.rowCount; ++row)
        columnsOfRows<Combine, 1>(in, row);
}

void columnsFor(const ResampleColumnsArguments& in) {
    return in.combine == ResampleCombine::sum ? columns<Sum>(in) : columns<Largest>(in);
}

template <typename Combine>
void row(const ResampleRowArguments& in) {
    const FloatTag d;
    constexpr std::size_t unrolled = 4; // independent sums hide the latency of one
    for (std::size_t x = 0; x < in.width; x += unrolled * laneCount()) {
        FloatVector totals[unrolled];
        for (std::size_t i = 0; i < unrolled; ++i)
            totals[i] = in.adds ? hn::LoadU(d, in.target + x + i * laneCount()) : hn::Zero(d);
        const float* place = in.rows + x;
        for (const float value : in.weights) {
            const FloatVector weight = hn::Set(d, value);
            for (std::size_t i = 0; i < unrolled; ++i)
                totals[i] =
                    Combine::weighted(hn::LoadU(d, place + i * laneCount()), weight, totals[i]);
            place += in.rowStride;
        }
        for (std::size_t i = 0; i < unrolled; ++i)
            hn::StoreU(totals[i], d, in.target + x + i * laneCount());
    }
}

void rowFor(const ResampleRowArguments& in) {
    return in.combine == ResampleCombine::sum ? row<Sum>(in) : row<Largest>(in);
}

/// The alpha of each pixel in all four channels.
HWY_INLINE FloatVector alphaOf(FloatVector pixels) {
    return hn::Broadcast<3>(pixels);
}

HWY_INLINE FloatVector finite(FloatVector value) {
    return hn::Min(hn::Max(value, constant(-65504.0f)), constant(65504.0f));
}

HWY_INLINE FloatVector sourceOf(FloatVector pixels, ResampleSource source) {
    switch (source) {
    case ResampleSource::belowZero:
        return hn::Neg(pixels);
    case ResampleSource::aboveAlpha:
        return hn::Sub(pixels, alphaOf(pixels));
    default:
        return pixels;
    }
}

ResampleRange load(const std::uint16_t* halves, std::size_t count, ResampleSource source,
                   float* out) {
    const FloatTag d;
    FloatVector least = hn::Zero(d);
    FloatVector excess = hn::Zero(d);
    const std::size_t total = count * 4;
    std::size_t i = 0;
    const auto step = [&](const std::uint16_t* from, float* to) HWY_ATTR {
        const FloatVector pixels = finite(floatFromHalf(hn::LoadU(HalfBitsTag(), from)));
        least = hn::Min(least, pixels);
        excess = hn::Max(excess, hn::Sub(pixels, alphaOf(pixels)));
        hn::StoreU(sourceOf(pixels, source), d, to);
    };
    for (; i + laneCount() <= total; i += laneCount())
        step(halves + i, out + i);
    if (i < total) {
        std::uint16_t from[laneCount()] = {};
        float to[laneCount()];
        std::memcpy(from, halves + i, (total - i) * sizeof(std::uint16_t));
        step(from, to);
        std::memcpy(out + i, to, (total - i) * sizeof(float));
    }
    const auto any = [&](FloatMask mask) HWY_ATTR { return !hn::AllFalse(d, mask); };
    return {any(hn::Lt(least, hn::Zero(d))), any(hn::Gt(excess, hn::Zero(d)))};
}

HWY_INLINE void storeVector(FloatVector pixels, std::uint16_t* halves) {
    hn::StoreU(halfFromFloat(pixels), HalfBitsTag(), halves);
}

void store(const float* pixels, std::size_t count, const ResampleLimits* limits,
           std::uint16_t* halves) {
    const FloatTag d;
    const FloatVector zero = hn::Zero(d);
    for (std::size_t i = 0; i < count * 4; i += laneCount()) {
        FloatVector value = hn::LoadU(d, pixels + i);
        if (limits != nullptr) {
            // Where alpha overshoots, the colour does too: brought back together they keep the hue.
            const FloatVector overshoot = hn::Max(alphaOf(value), constant(1));
            value = hn::Div(value, overshoot);
            const FloatVector alpha = hn::Max(alphaOf(value), zero);
            FloatVector least = zero;
            FloatVector most = alpha;
            if (limits->belowZero != nullptr) least = hn::Neg(hn::LoadU(d, limits->belowZero + i));
            if (limits->aboveAlpha != nullptr)
                most = hn::Add(most, hn::LoadU(d, limits->aboveAlpha + i));
            value = hn::Min(hn::Max(value, least), most);
        }
        storeVector(value, halves + i);
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(load);
HWY_EXPORT(columnsFor);
HWY_EXPORT(rowFor);
HWY_EXPORT(store);

ResampleRange loadHalves(const std::uint16_t* halves, std::size_t count, ResampleSource source,
                         float* out) {
    return HWY_DYNAMIC_DISPATCH(load)(halves, count, source, out);
}

void resampleColumns(const ResampleColumnsArguments& arguments) {
    HWY_DYNAMIC_DISPATCH(columnsFor)(arguments);
}

void resampleRow(const ResampleRowArguments& arguments) {
    HWY_DYNAMIC_DISPATCH(rowFor)(arguments);
}

void storeHalves(const float* pixels, std::size_t count, const ResampleLimits* limits,
                 std::uint16_t* halves) {
    HWY_DYNAMIC_DISPATCH(store)(pixels, count, limits, halves);
}

} // namespace ombrel::Kernels
#endif
