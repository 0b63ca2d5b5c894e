// The inner loops of resampling. Pixels are four interleaved floats; a stretch of source pixels is
// spread over targets by weights, first along rows, then across them. Reads what the taps name and
// up to `tapsAtOnce` - 1 pixels beyond, which must be there and finite. No allocation, no threads.
//
// Sums may fuse a multiplication with an addition and run in the order that suits the vectors, so
// results may differ between SIMD targets by one half, never between runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ombrel::Kernels {

/// Columns are weighted in groups of this many.
inline constexpr std::uint32_t tapsAtOnce = 4;

/// What a stretch of source pixels adds to consecutive targets: target i of the span takes
/// `tapCount` pixels from starts[i] on, weighted by the row i of `weights`.
struct ResampleTaps {
    std::uint32_t firstTarget = 0;
    std::uint32_t tapCount = 0;
    std::span<const std::uint32_t> starts;
    std::span<const float> weights;
};

/// How weighted pixels become one.
enum class ResampleCombine : std::uint8_t {
    sum,
    largest, ///< the largest of the weighted values and 0
};

/// What halves are turned into on loading; infinities become the largest half, NaN a number.
enum class ResampleSource : std::uint8_t {
    channels,
    belowZero,  ///< how far below 0
    aboveAlpha, ///< channel less alpha
};

/// What rows of pixels hold that filters with negative weights must be told.
struct ResampleRange {
    bool reachesBelowZero = false;
    bool exceedsAlpha = false;
};

/// `count` pixels of halves to floats.
ResampleRange loadHalves(const std::uint16_t* halves, std::size_t count, ResampleSource source,
                         float* out);

/// For each row the targets become (or, with `adds`, take in addition) the weighted pixels of the
/// row. tapCount is a multiple of tapsAtOnce. Strides in floats.
struct ResampleColumnsArguments {
    const float* rows = nullptr;
    std::size_t rowStride = 0;
    std::uint32_t rowCount = 0;
    const ResampleTaps* taps = nullptr;
    ResampleCombine combine = ResampleCombine::sum;
    bool adds = false;
    float* targets = nullptr;
    std::size_t targetStride = 0;
};
void resampleColumns(const ResampleColumnsArguments& arguments);

/// One target row becomes (or takes in addition) weighted rows of `width` floats, a multiple of 64.
struct ResampleRowArguments {
    const float* rows = nullptr;
    std::size_t rowStride = 0;
    std::span<const float> weights; ///< one for each row
    ResampleCombine combine = ResampleCombine::sum;
    bool adds = false;
    float* target = nullptr;
    std::size_t width = 0;
};
void resampleRow(const ResampleRowArguments& arguments);

/// How far a row's pixels may leave 0..alpha.
struct ResampleLimits {
    const float* belowZero = nullptr;  ///< null: not at all
    const float* aboveAlpha = nullptr; ///< null: not at all
};

/// `count` pixels to halves. With limits a pixel whose alpha is above 1 is divided by it, alpha cut
/// to 0 and channels to what the limits allow; without, as they are. `count` is a multiple of 16.
void storeHalves(const float* pixels, std::size_t count, const ResampleLimits* limits,
                 std::uint16_t* halves);

} // namespace ombrel::Kernels
