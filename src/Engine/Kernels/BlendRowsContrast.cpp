#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsContrast.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findContrast(BlendMode mode, bool encodes) {
    switch (mode) {
    case BlendMode::overlay:
        return instance<Overlay>(encodes);
    case BlendMode::softLight:
        return instance<SoftLight>(encodes);
    case BlendMode::hardLight:
        return instance<HardLight>(encodes);
    case BlendMode::vividLight:
        return instance<VividLight>(encodes);
    case BlendMode::linearLight:
        return instance<LinearLight>(encodes);
    case BlendMode::pinLight:
        return instance<PinLight>(encodes);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findContrast);

BlendRows selectContrastBlendRows(BlendMode mode, bool encodes) {
    return HWY_DYNAMIC_DISPATCH(findContrast)(mode, encodes);
}

} // namespace ombrel::Kernels
#endif
