#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsColor.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findColor(BlendMode mode, bool encodes) {
    switch (mode) {
    case BlendMode::hue:
        return instance<Hue>(encodes);
    case BlendMode::saturation:
        return instance<Saturation>(encodes);
    case BlendMode::color:
        return instance<Color>(encodes);
    case BlendMode::luminosity:
        return instance<Luminosity>(encodes);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findColor);

BlendRows selectColorBlendRows(BlendMode mode, bool encodes) {
    return HWY_DYNAMIC_DISPATCH(findColor)(mode, encodes);
}

} // namespace ombrel::Kernels
#endif
