#include "Engine/Kernels/CountTones.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/CountTones.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/PixelVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// Straight tones as halves, a plane a channel; the alphas as they were.
void straightTones(const std::uint16_t* halves, std::size_t vectors,
                   const LuminanceWeights& weights, std::uint16_t* planes, std::size_t stride) {
    const FloatTag d;
    const HalfBitsTag dh;
    for (std::size_t i = 0; i < vectors; ++i) {
        const PixelVector pixel = loadPixels(halves + 4 * i * laneCount());
        const FloatVector red = hn::Div(pixel.red, pixel.alpha);
        const FloatVector green = hn::Div(pixel.green, pixel.alpha);
        const FloatVector blue = hn::Div(pixel.blue, pixel.alpha);
        const FloatVector luminance = hn::Add(
            hn::Add(hn::Mul(hn::Set(d, weights[0]), red), hn::Mul(hn::Set(d, weights[1]), green)),
            hn::Mul(hn::Set(d, weights[2]), blue));
        std::uint16_t* out = planes + i * laneCount();
        hn::StoreU(halfFromFloat(red), dh, out);
        hn::StoreU(halfFromFloat(green), dh, out + stride);
        hn::StoreU(halfFromFloat(blue), dh, out + 2 * stride);
        hn::StoreU(halfFromFloat(luminance), dh, out + 3 * stride);
    }
}

std::size_t lanesOfVector() {
    return laneCount();
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>
#include <array>
#include <cstring>

namespace ombrel::Kernels {

HWY_EXPORT(straightTones);
HWY_EXPORT(lanesOfVector);

namespace {

constexpr std::size_t pixelsOfStep = 256;
constexpr std::uint16_t one = 0x3C00;

/// Its place among the counts of a channel.
std::size_t slotOf(std::uint16_t half) {
    if (half <= one) return half + std::size_t{1};
    const bool isAbove = half <= 0x7C00; // up to infinity; not a number and negatives follow
    if (half == 0x8000) return 1;        // the other zero
    return isAbove ? ToneCounts::tones + 1 : 0;
}

/// Not above 0, or not a number.
bool isNothing(std::uint16_t alpha) {
    return alpha == 0 || alpha > 0x7C00;
}

} // namespace

void countTones(const std::uint16_t* halves, std::size_t count, const std::uint8_t* coverage,
                const LuminanceWeights& weights, ToneCounts& counts, std::uint64_t times) {
    alignas(64) std::array<std::uint16_t, toneChannelCount * pixelsOfStep> planes;
    alignas(64) std::array<std::uint16_t, 4 * pixelsOfStep> rest;
    const std::size_t lanes = HWY_DYNAMIC_DISPATCH(lanesOfVector)();
    std::uint64_t* const totals = counts.counts();
    std::uint64_t counted = 0;
    for (std::size_t first = 0; first < count; first += pixelsOfStep) {
        const std::size_t step = std::min(pixelsOfStep, count - first);
        const std::uint16_t* pixels = halves + 4 * first;
        if (step % lanes != 0) { // vectors read whole
            rest.fill(0);
            std::memcpy(rest.data(), pixels, step * 4 * sizeof(std::uint16_t));
            pixels = rest.data();
        }
        HWY_DYNAMIC_DISPATCH(straightTones)
        (pixels, (step + lanes - 1) / lanes, weights, planes.data(), pixelsOfStep);
        for (std::size_t i = 0; i < step; ++i) {
            if (coverage != nullptr && coverage[first + i] < 128) continue;
            if (isNothing(pixels[4 * i + 3])) continue;
            ++counted;
            for (std::size_t channel = 0; channel < toneChannelCount; ++channel)
                totals[channel * ToneCounts::stride + slotOf(planes[channel * pixelsOfStep + i])] +=
                    times;
        }
    }
    counts.addPixels(counted * times);
}

} // namespace ombrel::Kernels
#endif
