#include "Engine/KernelScene.h"

#include "Engine/Kernels/CompositeKernel.h"

#include <cmath>
#include <cstdio>

namespace ombrel {

using namespace Kernels;

namespace {

std::uint64_t addressOf(const void* bytes) {
    return reinterpret_cast<std::uintptr_t>(bytes);
}

// The pixel of a quad, told differently from how the kernel reads it: on the plane of the four
// tiles the output begins at minus the phase.
const GPUTileRef& refAt(const std::array<GPUTileRef, 4>& quad, std::array<std::int32_t, 2> phase,
                        int x, int y, std::size_t& pixel) {
    const int planeX = phase[0] == 0 ? x : 256 - phase[0] + x;
    const int planeY = phase[1] == 0 ? y : 256 - phase[1] + y;
    pixel = static_cast<std::size_t>(planeY % 256 * 256 + planeX % 256);
    return quad[static_cast<std::size_t>(planeY / 256 * 2 + planeX / 256)];
}

PremultipliedColor colorAt(const GPULayerInput& input, int x, int y) {
    std::size_t pixel = 0;
    const GPUTileRef& ref = refAt(input.quad, input.phase, x, y, pixel);
    const auto* halves = reinterpret_cast<const std::uint16_t*>(ref.pixels);
    if (halves == nullptr) return {ref.solid[0], ref.solid[1], ref.solid[2], ref.solid[3]};
    halves += 4 * pixel;
    return {toFloat(Half{halves[0]}), toFloat(Half{halves[1]}), toFloat(Half{halves[2]}),
            toFloat(Half{halves[3]})};
}

float maskAt(const GPUCompositeLayer& layer, const std::array<GPUTileRef, 4>& quad,
             std::array<std::int32_t, 2> phase, int x, int y) {
    if (layer.masked == 0) return 1;
    std::size_t pixel = 0;
    const GPUTileRef& ref = refAt(quad, phase, x, y, pixel);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(ref.pixels);
    const float m = bytes != nullptr ? static_cast<float>(bytes[pixel]) / 255.0f : ref.solid[0];
    const float a = bytes != nullptr ? 1 : ref.solid[3];
    return std::min(std::max(m + (1 - a) * layer.maskBackground, 0.0f), 1.0f);
}

std::string textOf(const PixelHalves& p) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "(%.8g %.8g %.8g %.8g)", toFloat(p[0]), toFloat(p[1]),
                  toFloat(p[2]), toFloat(p[3]));
    return text.data();
}

GPUTileRef randomRef(KernelScene& scene, PixelMaker& maker) {
    GPUTileRef ref;
    switch (maker.below(5)) {
    case 0:
        break;
    case 1: { // not a half
        const float alpha = maker.oneIn(2) ? 1 : maker.unit();
        ref.solid = {maker.unit() * alpha, maker.unit() * alpha, maker.unit() * alpha, alpha};
        break;
    }
    default:
        ref = scene.refTo(maker.tile());
    }
    return ref;
}

GPUTileRef randomMaskRef(KernelScene& scene, PixelMaker& maker) {
    GPUTileRef ref;
    switch (maker.below(4)) {
    case 0:
        break;
    case 1: {
        const float coverage = maker.unit();
        ref.solid = {coverage, coverage, coverage, maker.oneIn(2) ? 1 : coverage};
        break;
    }
    default:
        ref = scene.refTo(maker.mask());
    }
    return ref;
}

std::array<std::int32_t, 2> randomPhase(PixelMaker& maker) {
    std::array<std::int32_t, 2> phase{};
    for (std::int32_t& p : phase)
        p = maker.oneIn(2) ? 0 : static_cast<std::int32_t>(maker.below(256));
    return phase;
}

std::array<GPUTileRef, 4> randomQuad(KernelScene& scene, PixelMaker& maker,
                                     GPUTileRef (*ref)(KernelScene&, PixelMaker&)) {
    std::array<GPUTileRef, 4> quad{};
    for (GPUTileRef& corner : quad)
        corner = ref(scene, maker);
    return quad;
}

bool hasContent(const GPULayerInput& input) {
    for (const GPUTileRef& ref : input.quad) {
        if (ref.pixels != 0 || ref.solid[3] != 0) return true;
    }
    return false;
}

} // namespace

PixelHalves PixelMaker::pixel() {
    const float alpha = this->alpha();
    std::array<float, 3> color{channel(), channel(), channel()};
    if (oneIn(8)) color[1] = color[2] = color[0];
    return {toHalf(color[0] * alpha), toHalf(color[1] * alpha), toHalf(color[2] * alpha),
            toHalf(alpha)};
}

PixelTile PixelMaker::tile() {
    constexpr std::size_t run = 32;
    PixelTile tile(4 * pixelsPerTile);
    for (std::size_t first = 0; first < pixelsPerTile; first += run) {
        const bool isOpaque = oneIn(4);
        const bool isEmpty = oneIn(8);
        for (std::size_t i = first; i < first + run; ++i) {
            PixelHalves p = isEmpty ? PixelHalves{} : pixel();
            if (isOpaque) p = {toHalf(channel()), toHalf(channel()), toHalf(channel()), toHalf(1)};
            for (std::size_t c = 0; c < 4; ++c)
                tile[4 * i + c] = p[c].bits;
        }
    }
    return tile;
}

MaskTile PixelMaker::mask() {
    MaskTile bytes(pixelsPerTile);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(oneIn(4) ? below(2) * 255 : below(256));
    return bytes;
}

float PixelMaker::alpha() {
    switch (below(8)) {
    case 0:
        return 0;
    case 1:
        return 1;
    case 2: // down to the smallest half
        return std::exp2(-24.0f * unit());
    default:
        return unit();
    }
}

float PixelMaker::channel() {
    switch (below(16)) {
    case 0:
        return 0;
    case 1:
        return 1;
    case 2:
        return 0.5f;
    case 3:
        return 0.25f;
    case 4:
        return unit() * 0.01f;
    case 5:
    case 6:
        return outOfGamut_ ? 4 * unit() - 2 : unit();
    default:
        return unit();
    }
}

void KernelScene::add(const GPUCompositeLayer& layer, const GPULayerInput& input) {
    program.push_back(layer);
    inputs.push_back(input);
}

GPUTileRef KernelScene::refTo(PixelTile tile) {
    tiles.push_back(std::move(tile));
    return {.pixels = addressOf(tiles.back().data())};
}

GPUTileRef KernelScene::refTo(MaskTile mask) {
    masks.push_back(std::move(mask));
    return {.pixels = addressOf(masks.back().data())};
}

KernelScene stackOf(BlendMode mode, PixelMaker& maker, int layers, bool clips) {
    KernelScene scene;
    for (int i = 0; i < layers; ++i) {
        GPUCompositeLayer layer;
        layer.blendMode = static_cast<std::uint32_t>(i == 0 ? BlendMode::normal : mode);
        if (i == 2) layer.opacity = 0.7f;
        if (i > 0 && clips) layer.flags = CompositeFlags::clipped;
        GPULayerInput input;
        input.quad[0] = scene.refTo(maker.tile());
        scene.add(layer, input);
    }
    return scene;
}

KernelScene randomScene(PixelMaker& maker, std::size_t steps) {
    KernelScene scene;
    std::vector<std::uint32_t> open; // isolation of the begins without an end yet
    while (scene.program.size() < steps) {
        GPUCompositeLayer layer;
        layer.blendMode = static_cast<std::uint32_t>(maker.below(blendModeCount));
        layer.opacity = maker.oneIn(2) ? 1 : maker.unit();
        layer.masked = maker.oneIn(3) ? 1 : 0;
        layer.maskBackground = maker.oneIn(2) ? 1 : 0;
        GPULayerInput input;
        switch (maker.below(6)) {
        case 0: // also more of them than ends
            layer.flags = CompositeFlags::begin;
            layer.isolated = maker.oneIn(2) ? 1 : 0;
            open.push_back(layer.isolated);
            break;
        case 1:
            layer.flags = CompositeFlags::end;
            layer.isolated = maker.oneIn(2) ? 1 : 0;
            if (!open.empty()) { // a level ends as it began
                layer.isolated = open.back();
                open.pop_back();
            }
            input.quad = randomQuad(scene, maker, randomMaskRef);
            input.phase = randomPhase(maker);
            break;
        default:
            if (maker.oneIn(4)) layer.flags = CompositeFlags::clipped;
            input.quad = randomQuad(scene, maker, randomRef);
            input.phase = randomPhase(maker);
            input.mask = randomQuad(scene, maker, randomMaskRef);
            input.maskPhase = randomPhase(maker);
            input.empty = hasContent(input) ? 0 : 1;
        }
        input.shifted = input.phase != std::array<std::int32_t, 2>{} ? 1 : 0;
        scene.add(layer, input);
    }
    return scene;
}

PixelHalves judged(const KernelScene& scene, bool perceptual, int x, int y) {
    std::vector<BlendMath::Op> ops;
    for (std::size_t i = 0; i < scene.program.size(); ++i) {
        const GPUCompositeLayer& layer = scene.program[i];
        const GPULayerInput& input = scene.inputs[i];
        const auto mode = static_cast<BlendMode>(layer.blendMode);
        if ((layer.flags & CompositeFlags::begin) != 0) {
            ops.emplace_back(BlendMath::BeginOp{layer.isolated != 0});
        } else if ((layer.flags & CompositeFlags::end) != 0) {
            ops.emplace_back(BlendMath::EndOp{layer.isolated != 0, layer.opacity, mode,
                                              maskAt(layer, input.quad, input.phase, x, y)});
        } else {
            ops.emplace_back(BlendMath::LayerOp{colorAt(input, x, y), layer.opacity, mode,
                                                maskAt(layer, input.mask, input.maskPhase, x, y),
                                                (layer.flags & CompositeFlags::clipped) != 0});
        }
    }
    return BlendMath::evaluate(ops, perceptual, scene.x + x, scene.y + y).halves();
}

PixelTile composited(const KernelScene& scene, bool perceptual) {
    const CompositePlan plan(scene.program, perceptual);
    const std::vector<std::uint32_t> live = plan.liveSteps(scene.inputs);
    CompositeScratch scratch;
    PixelTile output(4 * pixelsPerTile, 0xABCD);
    compositeRows({.plan = &plan,
                   .liveSteps = live,
                   .inputs = scene.inputs,
                   .x = scene.x,
                   .y = scene.y,
                   .output = output.data(),
                   .scratch = &scratch});
    return output;
}

Comparison compared(const KernelScene& scene, const PixelTile& output, bool perceptual,
                    int stride) {
    Comparison result;
    for (int i = 0; i < 65536; i += stride) {
        const std::uint16_t* p = output.data() + 4 * static_cast<std::size_t>(i);
        const PixelHalves is{Half{p[0]}, Half{p[1]}, Half{p[2]}, Half{p[3]}};
        const PixelHalves expected = judged(scene, perceptual, i % 256, i / 256);
        const int distance = halfDistance(is, expected);
        if (distance > 1) ++result.further;
        if (distance <= result.worst) continue;
        result.worst = distance;
        result.where = "pixel (" + std::to_string(i % 256) + ", " + std::to_string(i / 256) +
                       ") is " + textOf(is) + " where the judge says " + textOf(expected);
    }
    return result;
}

} // namespace ombrel
