#include "Core/TransferFunction.h"
#include "Engine/Kernels/BrushApply.h"

namespace ombrel::Kernels {

namespace {

using Operation = BrushApplyPlan::Operation;

Operation operationOf(const BrushPassParams& params) {
    if (params.erase != 0) return Operation::fade;
    switch (params.effect) {
    case BrushEffectCode::dodge:
        return Operation::dodge;
    case BrushEffectCode::burn:
        return Operation::burn;
    case BrushEffectCode::sponge:
        return Operation::sponge;
    case BrushEffectCode::blur:
        return Operation::blur;
    case BrushEffectCode::sharpen:
        return Operation::sharpen;
    default:
        break;
    }
    if (params.paintSpecial == PaintSpecialCode::clear) return Operation::fade;
    if (params.paintSpecial == PaintSpecialCode::behind) return Operation::behind;
    return Operation::blend;
}

} // namespace

BrushApplyPlan::BrushApplyPlan(const BrushBatch& work)
    : batch(&work), operation(operationOf(work.params)), isGrey(work.format == TileFormat::r8),
      isPerceptual(work.params.perceptual != 0 && !isGrey) {
    const BlendMode mode = blendModeOfCode(work.params.blendCode);
    isPrecise = operation == Operation::blend && magnifies(mode);
    const SourceArithmetic arithmetic = !isPerceptual    ? SourceArithmetic::linear
                                        : isSmooth(mode) ? SourceArithmetic::smooth
                                                         : SourceArithmetic::perceptual;
    blendRows = selectBlendRows(mode, arithmetic);
    const auto& [red, green, blue, alpha] = work.params.color;
    PremultipliedColor source{red, green, blue, alpha};
    if (isGrey) {
        const float grey = 0.2126f * red + 0.7152f * green + 0.0722f * blue;
        source = {grey, grey, grey, alpha};
    }
    if (isPerceptual) source = TransferFunction::encode(source);
    color = {source.red, source.green, source.blue, source.alpha};
}

} // namespace ombrel::Kernels
