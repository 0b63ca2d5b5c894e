// The records that devices read: what a composite program is made of, in the field order and layout
// of the kernels. Plain data without ownership; an address is a pointer on the CPU device. Whoever
// fills them keeps the tiles pinned until the device is done.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ombrel {

/// One tile as a kernel sees it: pixels, or one colour, or nothing (both zero).
struct GPUTileRef {
    std::uint64_t pixels = 0; ///< address of a tile buffer, 0 when there is none
    std::uint64_t reserved = 0;
    std::array<float, 4> solid{}; ///< premultiplied and linear; all zero when there is nothing
};

/// What one step of a program reads for one output tile. A quad holds the two by two tiles around
/// the output in row order, beginning with the one under the output's upper left corner; with a
/// phase of zero in a direction the second of a pair is unused.
struct GPULayerInput {
    std::array<GPUTileRef, 4> quad{};
    std::array<std::int32_t, 2> phase{}; ///< the layer's offset within the tile, 0 to 255
    std::uint32_t shifted = 0;           ///< whether `phase` is not zero
    std::uint32_t empty = 0;             ///< no content at all: the step does nothing here
    std::array<GPUTileRef, 4> mask{};
    std::array<std::int32_t, 2> maskPhase{}; ///< as `phase`: a mask has an offset of its own
    std::array<std::uint32_t, 2> reserved{};
};

/// Bits of GPUCompositeLayer::flags. Without begin and end the step is a layer.
struct CompositeFlags {
    static constexpr std::uint32_t begin = 1;
    static constexpr std::uint32_t end = 2;
    static constexpr std::uint32_t clipped = 4; ///< a layer limited to the alpha below it
};

/// One step of a program, the same for every tile.
struct GPUCompositeLayer {
    float opacity = 1;
    std::uint32_t blendMode = 0; ///< index of the BlendMode
    std::uint32_t flags = 0;     ///< CompositeFlags
    std::uint32_t isolated = 0;  ///< of begin and end
    std::uint32_t masked = 0;    ///< a layer's mask is in `mask`, that of an end in `quad`
    float maskBackground = 1;    ///< the mask's value where it has no tile
    std::array<std::uint32_t, 2> reserved{};
};

static_assert(sizeof(GPUTileRef) == 32);
static_assert(offsetof(GPULayerInput, phase) == 128);
static_assert(offsetof(GPULayerInput, mask) == 144);
static_assert(sizeof(GPULayerInput) == 288);
static_assert(sizeof(GPUCompositeLayer) == 32);

} // namespace ombrel
