#include "Engine/CompositeJob.h"

namespace ombrel {

GPUTileRef tileRefOf(const GPUTileSource& source) {
    GPUTileRef ref;
    if (const auto* color = std::get_if<PremultipliedColor>(&source)) {
        ref.solid = {color->red, color->green, color->blue, color->alpha};
    } else if (const auto* pixels = std::get_if<const std::byte*>(&source)) {
        ref.pixels = reinterpret_cast<std::uintptr_t>(*pixels);
    }
    return ref;
}

bool LayerSource::hasContent() const {
    for (const GPUTileSource& source : quad) {
        if (!std::holds_alternative<NoTile>(source)) return true;
    }
    return false;
}

GPULayerInput LayerSource::record() const {
    GPULayerInput input;
    for (std::size_t i = 0; i < quad.size(); ++i) {
        input.quad[i] = tileRefOf(quad[i]);
        input.mask[i] = tileRefOf(mask[i]);
    }
    input.phase = phase;
    input.shifted = phase != std::array<std::int32_t, 2>{} ? 1 : 0;
    input.empty = hasContent() ? 0 : 1;
    input.maskPhase = maskPhase;
    return input;
}

} // namespace ombrel
