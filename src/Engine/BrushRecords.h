// The records that devices read to paint a batch of dabs, in the field order and layout of the
// kernels. Plain data without ownership; an address is a pointer on the CPU device. Whoever fills
// them keeps tiles pinned and masks alive until the device is done.
#pragma once

#include "Core/BlendMode.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace ombrel {

/// Kinds of GPUDab::aliased.
struct DabCode {
    static constexpr float smooth = 0;
    static constexpr float aliased = 1;
    static constexpr float speckle = 2; ///< hardness is the size of a grain, angle the seed
};

/// One dab as the accumulate kernel reads it.
struct GPUDab {
    std::array<float, 2> center{}; ///< pixels of the grid
    float radius = 0;
    float hardness = 0;
    float alpha = 0;   ///< above 0, to 1
    float aliased = 0; ///< a DabCode
    float angle = 0;   ///< radians
    float roundness = 1;
};

/// One tile of a batch with its range of the flat array of dabs.
struct GPUBrushTile {
    std::uint64_t mask = 0;               ///< address of 256 x 256 floats
    std::array<std::int32_t, 2> origin{}; ///< of the tile, pixels
    std::uint32_t dabStart = 0;
    std::uint32_t dabCount = 0;
};

/// The same tile as the apply kernel reads it.
struct GPUBrushApplyTile {
    std::uint64_t mask = 0;
    std::uint64_t source = 0;     ///< pixels of the original tile; 0 for a solid or empty one
    std::array<float, 4> solid{}; ///< the colour of a solid original; of a mask (v, v, v, 1)
    std::uint64_t output = 0;
    std::uint64_t selection = 0; ///< bytes of the selection tile; 0 where it is one value
    float selectionSolid = 1;    ///< that value
    std::int32_t originX = 0;
    std::int32_t originY = 0;
    float reserved2 = 0;
};

/// Values of BrushPassParams::effect.
struct BrushEffectCode {
    static constexpr std::uint32_t none = 0;
    static constexpr std::uint32_t dodge = 2;
    static constexpr std::uint32_t burn = 3;
    static constexpr std::uint32_t sponge = 4;
    static constexpr std::uint32_t blur = 5;
    static constexpr std::uint32_t sharpen = 6;
};

/// Values of BrushPassParams::paintSpecial.
struct PaintSpecialCode {
    static constexpr std::uint32_t none = 0;
    static constexpr std::uint32_t behind = 1;
    static constexpr std::uint32_t clear = 2;
};

/// What both kernels know of the stroke and the batch.
struct BrushPassParams {
    std::array<float, 4> color{};            ///< premultiplied, linear
    std::array<std::int32_t, 2> boundsMin{}; ///< painting lands from here
    std::array<std::int32_t, 2> boundsMax{}; ///< to here, exclusive
    float opacity = 1;
    std::uint32_t erase = 0;
    std::uint32_t perceptual = 0;
    std::uint32_t tileCount = 0;
    std::uint32_t hasSelection = 0;
    std::uint32_t cloning = 0;
    std::uint32_t effect = 0;       ///< a BrushEffectCode
    std::uint32_t effectOption = 0; ///< the ToneRange; of a sponge saturate + 2 * vibrance
    std::array<std::int32_t, 2> sourceOffset{};    ///< a clone reads at the pixel plus this
    std::array<std::int32_t, 2> neighbourOrigin{}; ///< of the neighbourhood window, in tiles
    std::array<std::int32_t, 2> neighbourSize{};   ///< in tiles; zero without a window
    float effectAmount = 0;                        ///< exposure or strength
    std::uint32_t reserved0 = 0;
    std::uint32_t paintSpecial = 0; ///< a PaintSpecialCode
    std::uint32_t blendCode = 0;    ///< see kernelBlendCode
    std::uint32_t hasTip = 0;
    float tipSize = 1;                   ///< the larger side of the tip image
    std::array<float, 2> tipScale{1, 1}; ///< width and height by tipSize
    float spacingFactor = 0;             ///< 0: dabs add up as they come
    std::uint32_t reserved1 = 0;
};

static_assert(sizeof(GPUDab) == 32 && offsetof(GPUDab, roundness) == 28);
static_assert(sizeof(GPUBrushTile) == 24 && offsetof(GPUBrushTile, dabStart) == 16);
static_assert(sizeof(GPUBrushApplyTile) == 64);
static_assert(offsetof(GPUBrushApplyTile, solid) == 16);
static_assert(offsetof(GPUBrushApplyTile, output) == 32);
static_assert(offsetof(GPUBrushApplyTile, selectionSolid) == 48);
static_assert(offsetof(GPUBrushApplyTile, originX) == 52);
static_assert(sizeof(BrushPassParams) == 128);
static_assert(offsetof(BrushPassParams, boundsMin) == 16);
static_assert(offsetof(BrushPassParams, opacity) == 32);
static_assert(offsetof(BrushPassParams, hasSelection) == 48);
static_assert(offsetof(BrushPassParams, effect) == 56);
static_assert(offsetof(BrushPassParams, sourceOffset) == 64);
static_assert(offsetof(BrushPassParams, neighbourSize) == 80);
static_assert(offsetof(BrushPassParams, effectAmount) == 88);
static_assert(offsetof(BrushPassParams, paintSpecial) == 96);
static_assert(offsetof(BrushPassParams, blendCode) == 100);
static_assert(offsetof(BrushPassParams, tipScale) == 112);
static_assert(offsetof(BrushPassParams, spacingFactor) == 120);

/// The kernels number the blend modes in an order of their own, by the index of BlendMode.
inline constexpr std::array<std::uint32_t, 24> kernelBlendCodes{
    0, 14, 1, 2, 3, 15, 4, 5, 6, 16, 7, 8, 17, 18, 19, 20, 9, 21, 22, 23, 10, 11, 12, 13};

/// A mode that has no number is painted as `normal`.
constexpr std::uint32_t kernelBlendCode(BlendMode mode) {
    const auto index = static_cast<std::size_t>(mode);
    return index < kernelBlendCodes.size() ? kernelBlendCodes[index] : 0;
}

constexpr BlendMode blendModeOfCode(std::uint32_t code) {
    for (std::size_t index = 0; index < kernelBlendCodes.size(); ++index) {
        if (kernelBlendCodes[index] == code) return static_cast<BlendMode>(index);
    }
    return BlendMode::normal;
}

} // namespace ombrel
