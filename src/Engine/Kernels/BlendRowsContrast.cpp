#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsContrast.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findContrast(BlendMode mode, SourceArithmetic arithmetic) {
    switch (mode) {
    case BlendMode::overlay:
        return instance<Overlay>(arithmetic);
    case BlendMode::softLight:
        return instance<SoftLight>(arithmetic);
    case BlendMode::hardLight:
        return instance<HardLight>(arithmetic);
    case BlendMode::linearLight:
        return instance<LinearLight>(arithmetic);
    case BlendMode::pinLight:
        return instance<PinLight>(arithmetic);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findContrast);

BlendRows selectContrastBlendRows(BlendMode mode, SourceArithmetic arithmetic) {
    return HWY_DYNAMIC_DISPATCH(findContrast)(mode, arithmetic);
}

} // namespace ombrel::Kernels
#endif
