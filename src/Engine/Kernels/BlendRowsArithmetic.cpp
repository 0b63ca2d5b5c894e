#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsArithmetic.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findArithmetic(BlendMode mode, bool encodes) {
    switch (mode) {
    case BlendMode::colorBurn:
        return instance<ColorBurn>(encodes);
    case BlendMode::linearBurn:
        return instance<LinearBurn>(encodes);
    case BlendMode::colorDodge:
        return instance<ColorDodge>(encodes);
    case BlendMode::linearDodge:
        return instance<LinearDodge>(encodes);
    case BlendMode::difference:
        return instance<Difference>(encodes);
    case BlendMode::exclusion:
        return instance<Exclusion>(encodes);
    case BlendMode::subtract:
        return instance<Subtract>(encodes);
    case BlendMode::divide:
        return instance<Divide>(encodes);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findArithmetic);

BlendRows selectArithmeticBlendRows(BlendMode mode, bool encodes) {
    return HWY_DYNAMIC_DISPATCH(findArithmetic)(mode, encodes);
}

} // namespace ombrel::Kernels
#endif
