#include "Engine/Kernels/BlendRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BlendRowsPlain.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BlendRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

BlendRows findPlain(BlendMode mode, bool encodes) {
    switch (mode) {
    case BlendMode::normal:
        return instance<SourceOver>(encodes);
    case BlendMode::dissolve:
        return instance<Dissolve>(encodes);
    case BlendMode::passThrough:
        return instance<SourceOnly>(encodes);
    case BlendMode::darken:
        return instance<Darken>(encodes);
    case BlendMode::multiply:
        return instance<Multiply>(encodes);
    case BlendMode::lighten:
        return instance<Lighten>(encodes);
    case BlendMode::screen:
        return instance<Screen>(encodes);
    default:
        return nullptr;
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(findPlain);

BlendRows selectPlainBlendRows(BlendMode mode, bool encodes) {
    return HWY_DYNAMIC_DISPATCH(findPlain)(mode, encodes);
}

} // namespace ombrel::Kernels
#endif
