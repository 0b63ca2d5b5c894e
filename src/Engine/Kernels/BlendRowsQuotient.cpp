#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsQuotient.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findQuotient(BlendMode mode, SourceArithmetic arithmetic) {
    switch (mode) {
    case BlendMode::colorBurn:
        return exactInstance<ColorBurn>(arithmetic);
    case BlendMode::colorDodge:
        return exactInstance<ColorDodge>(arithmetic);
    case BlendMode::vividLight:
        return exactInstance<VividLight>(arithmetic);
    case BlendMode::divide:
        return exactInstance<Divide>(arithmetic);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findQuotient);

BlendRows selectQuotientBlendRows(BlendMode mode, SourceArithmetic arithmetic) {
    return HWY_DYNAMIC_DISPATCH(findQuotient)(mode, arithmetic);
}

} // namespace ombrel::Kernels
#endif
