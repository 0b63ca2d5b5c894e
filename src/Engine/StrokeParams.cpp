#include "Engine/StrokeParams.h"

#include <algorithm>
#include <limits>

namespace ombrel {

namespace {

std::int32_t cutTo32Bits(std::int64_t value) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

struct EffectRecord {
    std::uint32_t code = BrushEffectCode::none;
    std::uint32_t option = 0;
    float amount = 0;
};

EffectRecord recordOf(const BrushEffect::Dodge& dodge) {
    return {BrushEffectCode::dodge, static_cast<std::uint32_t>(dodge.range), dodge.exposure};
}
EffectRecord recordOf(const BrushEffect::Burn& burn) {
    return {BrushEffectCode::burn, static_cast<std::uint32_t>(burn.range), burn.exposure};
}
EffectRecord recordOf(const BrushEffect::Sponge& sponge) {
    return {BrushEffectCode::sponge, (sponge.saturate ? 1u : 0u) + (sponge.vibrance ? 2u : 0u), 0};
}
EffectRecord recordOf(const BrushEffect::Blur& blur) {
    return {BrushEffectCode::blur, 0, blur.strength};
}
EffectRecord recordOf(const BrushEffect::Sharpen& sharpen) {
    return {BrushEffectCode::sharpen, 0, sharpen.strength};
}

bool readsNeighbours(const StrokeStyle& style) {
    return style.effect && (std::holds_alternative<BrushEffect::Blur>(style.effect->value) ||
                            std::holds_alternative<BrushEffect::Sharpen>(style.effect->value));
}

void setBlend(BrushPassParams& params, const PaintBlend& blend) {
    if (const auto* mode = std::get_if<PaintBlend::Blend>(&blend.value)) {
        params.blendCode = kernelBlendCode(mode->mode);
    } else if (std::holds_alternative<PaintBlend::Behind>(blend.value)) {
        params.paintSpecial = PaintSpecialCode::behind;
    } else {
        params.paintSpecial = PaintSpecialCode::clear;
    }
}

void setTip(BrushPassParams& params, const BrushTipImage& tip) {
    const auto width = static_cast<float>(tip.width);
    const auto height = static_cast<float>(tip.height);
    params.hasTip = 1;
    params.tipSize = std::max(width, height);
    params.tipScale = {width / params.tipSize, height / params.tipSize};
}

} // namespace

TileRange neighbourhoodWindow(const DabBuckets& buckets, const StrokeStyle& style) {
    constexpr std::int64_t haloOfEffects = 2;
    if (!style.clone && !readsNeighbours(style)) return {};
    PixelRect area;
    for (const auto& [coord, dabs] : buckets)
        area = unionOf(area, PixelRect::ofTile(coord));
    if (style.clone) return area.offsetBy({style.clone->dx, style.clone->dy}).tileRange();
    return PixelRect{area.x - haloOfEffects, area.y - haloOfEffects, area.width + 2 * haloOfEffects,
                     area.height + 2 * haloOfEffects}
        .tileRange();
}

BrushPassParams brushPassParams(const StrokeRenderer::Target& target, const StrokeStyle& style,
                                std::size_t tileCount, const TileRange& window) {
    const EffectRecord effect =
        style.effect
            ? std::visit([](const auto& value) { return recordOf(value); }, style.effect->value)
            : EffectRecord{};
    BrushPassParams params{
        .color = {style.color.red, style.color.green, style.color.blue, style.color.alpha},
        .boundsMin = {cutTo32Bits(target.bounds.x), cutTo32Bits(target.bounds.y)},
        .boundsMax = {cutTo32Bits(target.bounds.maxX()), cutTo32Bits(target.bounds.maxY())},
        .opacity = style.opacity,
        .erase = style.mode == StrokeStyle::Mode::erase ? 1u : 0u,
        .perceptual = target.perceptual ? 1u : 0u,
        .tileCount = static_cast<std::uint32_t>(tileCount),
        .hasSelection = target.selection ? 1u : 0u,
        .cloning = style.clone ? 1u : 0u,
        .effect = effect.code,
        .effectOption = effect.option,
        .effectAmount = effect.amount};
    if (style.clone)
        params.sourceOffset = {cutTo32Bits(style.clone->dx), cutTo32Bits(style.clone->dy)};
    if (!window.isEmpty()) {
        params.neighbourOrigin = {cutTo32Bits(window.minX), cutTo32Bits(window.minY)};
        params.neighbourSize = {cutTo32Bits(window.maxX - window.minX + 1),
                                cutTo32Bits(window.maxY - window.minY + 1)};
    }
    setBlend(params, style.blend);
    if (style.tip != nullptr) setTip(params, *style.tip);
    if (style.spacing) params.spacingFactor = std::clamp(*style.spacing * 4, 0.02f, 4.0f);
    return params;
}

} // namespace ombrel
