#include "Engine/Kernels/Downsample.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/Downsample.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/PixelVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// Sums of neighbours in two vectors of a plane that follow each other.
HWY_INLINE FloatVector meanOfPairs(FloatVector first, FloatVector second) {
    const FloatTag d;
    const FloatVector sum =
        hn::Add(hn::ConcatEven(d, second, first), hn::ConcatOdd(d, second, first));
    return hn::Mul(sum, constant(0.25f));
}

HWY_INLINE PixelVector sum(const PixelVector& a, const PixelVector& b) {
    return {hn::Add(a.red, b.red), hn::Add(a.green, b.green), hn::Add(a.blue, b.blue),
            hn::Add(a.alpha, b.alpha)};
}

void halve(const std::uint16_t* HWY_RESTRICT child, std::uint16_t* HWY_RESTRICT output) {
    constexpr std::size_t rowHalves = 256 * 4;
    const std::size_t lanes = laneCount();
    for (std::size_t y = 0; y < 128; ++y) {
        const std::uint16_t* upper = child + 2 * y * rowHalves;
        const std::uint16_t* lower = upper + rowHalves;
        std::uint16_t* out = output + y * rowHalves;
        for (std::size_t x = 0; x < 128; x += lanes, upper += 8 * lanes, lower += 8 * lanes) {
            const PixelVector first = sum(loadPixels(upper), loadPixels(lower));
            const PixelVector second =
                sum(loadPixels(upper + 4 * lanes), loadPixels(lower + 4 * lanes));
            storePixels({meanOfPairs(first.red, second.red), meanOfPairs(first.green, second.green),
                         meanOfPairs(first.blue, second.blue),
                         meanOfPairs(first.alpha, second.alpha)},
                        out + 4 * x);
        }
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

#include "Base/Half.h"

#include <algorithm>

namespace ombrel::Kernels {

HWY_EXPORT(halve);

namespace {

void fillQuadrant(const std::array<float, 4>& color, std::uint16_t* output) {
    std::array<std::uint16_t, 4> pixel{};
    std::ranges::transform(color, pixel.begin(), [](float value) { return toHalf(value).bits; });
    for (std::size_t y = 0; y < 128; ++y) {
        std::uint16_t* row = output + y * 1024;
        for (std::size_t x = 0; x < 128; ++x)
            std::ranges::copy(pixel, row + 4 * x);
    }
}

} // namespace

void downsampleQuadrant(const DownsampleArguments& arguments) {
    const std::size_t firstPixel =
        (arguments.quadrant / 2) * 128 * std::size_t{256} + (arguments.quadrant % 2) * 128;
    std::uint16_t* output = arguments.output + 4 * firstPixel;
    const GPUTileRef& child = *arguments.child;
    if (child.pixels == 0) {
        fillQuadrant(child.solid, output);
    } else {
        HWY_DYNAMIC_DISPATCH(halve)(reinterpret_cast<const std::uint16_t*>(child.pixels), output);
    }
}

} // namespace ombrel::Kernels
#endif
