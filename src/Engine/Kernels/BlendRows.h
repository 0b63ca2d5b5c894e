// The inner loop of the composite: one step of a program laid over a run of pixels. There is one
// instance a blend mode (and one each for the kinds of arithmetic), so that no pixel meets a
// switch; the composite kernel picks the instance once a step. For each pixel:
//   c = source, encoded where asked; c = c * factor; acc = composite(mode, acc, c)
// as BlendMath does it, operation by operation (see SourceArithmetic for where not).
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

/// How halves become the source, decided for a whole program.
enum class SourceArithmetic : std::uint8_t {
    linear,     ///< as they are: every operation is BlendMath's
    perceptual, ///< encoded; every other operation is BlendMath's
    /// Encoded, with straight colours by a reciprocal instead of quotients: a few last places off,
    /// which no mode that isSmooth() makes more of.
    smooth,
};

/// Whether a mode is continuous and stretches no difference, so that a change of last places in
/// what it blends stays one of last places.
constexpr bool isSmooth(BlendMode mode) {
    switch (mode) {
    case BlendMode::colorBurn:
    case BlendMode::colorDodge:
    case BlendMode::vividLight:
    case BlendMode::divide:
    case BlendMode::hue:
    case BlendMode::saturation:
    case BlendMode::color:
    case BlendMode::luminosity:
        return false;
    default:
        return true;
    }
}

/// Whether a mode can make a large difference of a last place: hue and saturation stretch the
/// channels of a nearly grey colour apart, burning and dodging divide by differences from 1.
constexpr bool magnifies(BlendMode mode) {
    switch (mode) {
    case BlendMode::colorBurn:
    case BlendMode::colorDodge:
    case BlendMode::vividLight:
    case BlendMode::hue:
    case BlendMode::saturation:
        return true;
    default:
        return false;
    }
}

struct BlendRowsArguments {
    float* accumulator = nullptr;
    std::size_t pixelCount = 0; ///< whole rows of 256
    SourceKind kind = SourceKind::halves;
    const std::uint16_t* halves = nullptr;
    const float* planar = nullptr;
    const std::uint16_t* next = nullptr; ///< halves that will be read after these, or null
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

/// For the chosen SIMD target. Smooth arithmetic only for modes that are.
BlendRows selectBlendRows(BlendMode mode, SourceArithmetic arithmetic);

/// The modes are spread over several files, for the time it takes to compile them. Each returns
/// null for a mode it does not hold.
BlendRows selectPlainBlendRows(BlendMode mode, SourceArithmetic arithmetic);
BlendRows selectContrastBlendRows(BlendMode mode, SourceArithmetic arithmetic);
BlendRows selectArithmeticBlendRows(BlendMode mode, SourceArithmetic arithmetic);
BlendRows selectQuotientBlendRows(BlendMode mode, SourceArithmetic arithmetic);
BlendRows selectColorBlendRows(BlendMode mode, SourceArithmetic arithmetic);

} // namespace ombrel::Kernels
