#include "Engine/Kernels/SamplePixels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/SamplePixels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/InterleavedPixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

template <typename Combine>
void sample(const SamplePixelsArguments& in) {
    const FloatTag d;
    const hn::CappedTag<float, 4> one;
    const WeightSpread spread;
    const bool isSum = in.combine == ResampleCombine::sum;
    for (std::size_t i = 0; i < in.count; ++i) {
        const float* pixels = in.patch + in.places[i];
        const FloatVector columns =
            isSum ? hn::LoadDup128(d, in.columnWeights + 4 * i) : hn::Set(d, 1.0f);
        FloatVector total = hn::Zero(d);
        for (std::size_t vector = 0; vector < WeightSpread::vectors; ++vector) {
            const float* place = pixels + vector * laneCount();
            FloatVector column = hn::Zero(d);
            for (std::size_t row = 0; row < 4; ++row) {
                const float weight = isSum ? in.rowWeights[4 * i + row] : 1.0f;
                column = Combine::weighted(hn::LoadU(d, place + row * in.stride),
                                           hn::Set(d, weight), column);
            }
            total = Combine::weighted(column, spread.at(vector, columns), total);
        }
        hn::StoreU(joinedPixel<Combine>(d, total), one, in.targets + 4 * i);
    }
}

void sampleFor(const SamplePixelsArguments& in) {
    return in.combine == ResampleCombine::sum ? sample<Sum>(in) : sample<Largest>(in);
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(sampleFor);

void samplePixels(const SamplePixelsArguments& arguments) {
    HWY_DYNAMIC_DISPATCH(sampleFor)(arguments);
}

} // namespace ombrel::Kernels
#endif
