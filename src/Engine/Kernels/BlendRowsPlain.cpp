#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsPlain.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findPlain(BlendMode mode, SourceArithmetic arithmetic) {
    switch (mode) {
    case BlendMode::normal:
        return instance<SourceOver>(arithmetic);
    case BlendMode::dissolve:
        return instance<Dissolve>(arithmetic);
    case BlendMode::passThrough:
        return instance<SourceOnly>(arithmetic);
    case BlendMode::darken:
        return instance<Darken>(arithmetic);
    case BlendMode::multiply:
        return instance<Multiply>(arithmetic);
    case BlendMode::lighten:
        return instance<Lighten>(arithmetic);
    case BlendMode::screen:
        return instance<Screen>(arithmetic);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findPlain);

BlendRows selectPlainBlendRows(BlendMode mode, SourceArithmetic arithmetic) {
    return HWY_DYNAMIC_DISPATCH(findPlain)(mode, arithmetic);
}

} // namespace ombrel::Kernels
#endif
