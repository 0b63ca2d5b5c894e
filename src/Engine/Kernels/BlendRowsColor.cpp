#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsColor.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findColor(BlendMode mode, SourceArithmetic arithmetic) {
    switch (mode) {
    case BlendMode::hue:
        return exactInstance<Hue>(arithmetic);
    case BlendMode::saturation:
        return exactInstance<Saturation>(arithmetic);
    case BlendMode::color:
        return exactInstance<Color>(arithmetic);
    case BlendMode::luminosity:
        return exactInstance<Luminosity>(arithmetic);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findColor);

BlendRows selectColorBlendRows(BlendMode mode, SourceArithmetic arithmetic) {
    return HWY_DYNAMIC_DISPATCH(findColor)(mode, arithmetic);
}

} // namespace ombrel::Kernels
#endif
