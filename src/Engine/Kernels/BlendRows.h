// The inner loop of the composite: one step of a program laid over a run of pixels. There is one
// instance a blend mode (and one each with and without encoding), so that no pixel meets a switch;
// the composite kernel picks the instance once a step. For each pixel:
//   c = source, encoded where asked; c = c * factor; acc = composite(mode, acc, c)
// exactly as BlendMath does it, operation by operation.
//
// The accumulator is made of blocks of as many pixels as a vector has lanes: all reds of the block,
// then greens, blues and alphas. Its layout belongs to one SIMD target; no target reads another's.
#pragma once

#include "Core/BlendMode.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace ombrel::Kernels {

enum class SourceKind : std::uint8_t {
    halves,  ///< pixels of a tile
    uniform, ///< one colour, encoded already where the program is perceptual
    planar,  ///< floats in the accumulator's own layout, encoded already
};

struct BlendRowsArguments {
    float* accumulator = nullptr;
    std::size_t pixelCount = 0; ///< whole rows of 256
    SourceKind kind = SourceKind::halves;
    const std::uint16_t* halves = nullptr;
    const float* planar = nullptr;
    std::array<float, 4> uniform{};
    float factor = 1;               ///< opacity, times the mask where that is one value
    const float* factors = nullptr; ///< opacity times mask of every pixel; overrules `factor`
    bool isClipped = false;
    bool isPrecise = false;  ///< encode to the last bit
    std::uint32_t index = 0; ///< of the step in its program: seeds the dissolve noise
    std::int32_t x = 0;      ///< canvas position of the first pixel
    std::int32_t y = 0;
};

using BlendRows = void (*)(const BlendRowsArguments&);

/// `encodes`: halves are taken through the perceptual curve first. For the chosen SIMD target.
BlendRows selectBlendRows(BlendMode mode, bool encodes);

/// The modes are spread over several files, for the time it takes to compile them. Each returns
/// null for a mode it does not hold.
BlendRows selectPlainBlendRows(BlendMode mode, bool encodes);
BlendRows selectContrastBlendRows(BlendMode mode, bool encodes);
BlendRows selectArithmeticBlendRows(BlendMode mode, bool encodes);
BlendRows selectColorBlendRows(BlendMode mode, bool encodes);

} // namespace ombrel::Kernels
