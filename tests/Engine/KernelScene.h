// Programs with the inputs of one tile, made at random, and what the judge says of their pixels.
#pragma once

#include "Core/BlendMath.h"
#include "Core/Tile.h"
#include "Engine/CompositeRecords.h"
#include "Engine/HalfDistance.h"

#include <array>
#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <vector>

namespace ombrel {

using PixelTile = std::vector<std::uint16_t>; ///< 65536 pixels of four halves
using MaskTile = std::vector<std::uint8_t>;   ///< 65536 bytes of coverage

/// Straight colours and alphas that hurt: none, all, the smallest half, equal channels and, where
/// asked for, colours below zero and above one.
class PixelMaker {
public:
    PixelMaker(std::uint64_t seed, bool outOfGamut) : random_(seed), outOfGamut_(outOfGamut) {}

    PixelHalves pixel();
    PixelTile tile();
    MaskTile mask();
    float unit() { return static_cast<float>(random_() >> 40) * 0x1p-24f; }
    std::uint64_t below(std::uint64_t n) { return random_() % n; }
    bool oneIn(std::uint64_t n) { return below(n) == 0; }

private:
    float alpha();
    float channel();

    std::mt19937_64 random_;
    bool outOfGamut_;
};

struct KernelScene {
    std::vector<GPUCompositeLayer> program;
    std::vector<GPULayerInput> inputs;
    std::deque<PixelTile> tiles;
    std::deque<MaskTile> masks;
    std::int32_t x = 512;
    std::int32_t y = -256;

    void add(const GPUCompositeLayer& layer, const GPULayerInput& input);
    GPUTileRef refTo(PixelTile tile);
    GPUTileRef refTo(MaskTile mask);
};

/// A bottom layer in normal mode and more above it in `mode`, all of pixels, without offsets.
KernelScene stackOf(BlendMode mode, PixelMaker& maker, int layers, bool clips);
/// Anything: groups of both kinds, clipping, masks, offsets, solid and absent tiles.
KernelScene randomScene(PixelMaker& maker, std::size_t steps);

/// The pixel (x, y) of the tile by BlendMath::evaluate.
PixelHalves judged(const KernelScene& scene, bool perceptual, int x, int y);
PixelTile composited(const KernelScene& scene, bool perceptual);

struct Comparison {
    int worst = 0;           ///< in halves
    std::size_t further = 0; ///< pixels more than one half away
    std::string where;       ///< the worst pixel, in words
};

/// Every `stride`th pixel of `output` against the judge.
Comparison compared(const KernelScene& scene, const PixelTile& output, bool perceptual, int stride);

} // namespace ombrel
