#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsArithmetic.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findArithmetic(BlendMode mode, SourceArithmetic arithmetic) {
    switch (mode) {
    case BlendMode::linearBurn:
        return instance<LinearBurn>(arithmetic);
    case BlendMode::linearDodge:
        return instance<LinearDodge>(arithmetic);
    case BlendMode::difference:
        return instance<Difference>(arithmetic);
    case BlendMode::exclusion:
        return instance<Exclusion>(arithmetic);
    case BlendMode::subtract:
        return instance<Subtract>(arithmetic);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findArithmetic);

BlendRows selectArithmeticBlendRows(BlendMode mode, SourceArithmetic arithmetic) {
    return HWY_DYNAMIC_DISPATCH(findArithmetic)(mode, arithmetic);
}

} // namespace ombrel::Kernels
#endif
