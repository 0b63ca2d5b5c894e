#include "Engine/Kernels/ProfileRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/ProfileRows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/PixelVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

void convert(const ProfileConversion& conversion, const std::uint16_t* from, std::size_t count,
             std::uint16_t* to) {
    const FloatTag d;
    const FloatVector zero = hn::Zero(d);
    const auto& columns = conversion.columns;
    for (std::size_t i = 0; i < count; i += laneCount()) {
        const PixelVector pixel = loadPixels(from + 4 * i);
        const FloatVector limit = hn::IfThenElseZero(hn::Gt(pixel.alpha, zero), pixel.alpha);
        const auto channel = [&](std::size_t row) HWY_ATTR {
            const FloatVector sum =
                hn::Add(hn::Add(hn::Mul(hn::Set(d, columns[0][row]), pixel.red),
                                hn::Mul(hn::Set(d, columns[1][row]), pixel.green)),
                        hn::Mul(hn::Set(d, columns[2][row]), pixel.blue));
            const FloatVector cut = hn::IfThenElse(hn::Lt(sum, limit), sum, limit);
            return hn::IfThenElseZero(hn::Gt(sum, zero), cut);
        };
        storePixels({channel(0), channel(1), channel(2), pixel.alpha}, to + 4 * i);
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(convert);

void convertProfile(const ProfileConversion& conversion, const std::uint16_t* from,
                    std::size_t count, std::uint16_t* to) {
    HWY_DYNAMIC_DISPATCH(convert)(conversion, from, count, to);
}

} // namespace ombrel::Kernels
#endif
