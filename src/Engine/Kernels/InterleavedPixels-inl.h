// Vectors of interleaved pixels, four channels each: a weight of its own for each pixel, and the
// pixels of a vector joined to one. Compiled once for every SIMD target.

#if defined(OMBREL_INTERLEAVED_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_INTERLEAVED_PIXELS_INL_H
#undef OMBREL_INTERLEAVED_PIXELS_INL_H
#else
#define OMBREL_INTERLEAVED_PIXELS_INL_H
#endif

#include "Engine/Kernels/PixelVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// Pixels in a vector of interleaved channels.
HWY_INLINE constexpr std::size_t pixelsOfVector() {
    return laneCount() / 4;
}

struct Sum {
    static HWY_INLINE FloatVector weighted(FloatVector value, FloatVector weight,
                                           FloatVector total) {
        return hn::MulAdd(value, weight, total);
    }
    template <typename V>
    static HWY_INLINE V joined(V a, V b) {
        return hn::Add(a, b);
    }
};

struct Largest {
    static HWY_INLINE FloatVector weighted(FloatVector value, FloatVector weight,
                                           FloatVector total) {
        return hn::Max(hn::Mul(value, weight), total);
    }
    template <typename V>
    static HWY_INLINE V joined(V a, V b) {
        return hn::Max(a, b);
    }
};

/// A vector of one to four pixels joined to one.
template <typename Combine, typename D, typename V>
HWY_INLINE auto joinedPixel(D d, V v) {
    if constexpr (hn::MaxLanes(D()) <= 4) {
        static_cast<void>(d);
        return v;
    } else {
        const hn::Half<D> half;
        return joinedPixel<Combine>(
            half, Combine::joined(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
    }
}

/// Byte shuffles that spread one vector of four weights, held in every block, over its pixels:
/// the first vector takes the first pixelsOfVector() weights, and so on.
class WeightSpread {
public:
    WeightSpread() {
        for (std::size_t vector = 0; vector < vectors; ++vector) {
            for (std::size_t i = 0; i < laneCount() * 4; ++i) {
                const std::size_t weight = vector * pixelsOfVector() + i / 16;
                shuffle_[vector][i] = static_cast<std::uint8_t>(weight * 4 + i % 4);
            }
        }
    }

    static constexpr std::size_t vectors = 4 / pixelsOfVector();

    HWY_INLINE FloatVector at(std::size_t vector, FloatVector weights) const {
        const hn::Repartition<std::uint8_t, FloatTag> bytes;
        const auto spread =
            hn::TableLookupBytes(hn::BitCast(bytes, weights), hn::Load(bytes, shuffle_[vector]));
        return hn::BitCast(FloatTag(), spread);
    }

private:
    alignas(64) std::uint8_t shuffle_[vectors][laneCount() * 4];
};

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
