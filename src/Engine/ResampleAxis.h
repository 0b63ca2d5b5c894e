// One axis of a change of size: which source pixels a target pixel is made of, and how much of
// each. Positions are computed from whole numbers on the canvas, so grids with different offsets
// keep their places relative to each other to the last bit. When shrinking, filters are widened by
// the scale. Values; any thread.
#pragma once

#include "Engine/Kernels/ResampleRows.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace ombrel {

enum class ResampleFilter : std::uint8_t {
    nearest,
    bilinear,
    /// Catmull-Rom: leaves a picture that keeps its size as it is, and keeps edges sharper than the
    /// blurring members of the family.
    bicubic,
    lanczos, ///< three lobes
};

/// Whether sums stay between the smallest and the largest pixel.
constexpr bool isConvex(ResampleFilter filter) {
    return filter == ResampleFilter::nearest || filter == ResampleFilter::bilinear;
}

/// Pixels from first to last, both inclusive.
struct PixelSpan {
    std::int64_t first = 0;
    std::int64_t last = -1;

    bool isEmpty() const { return last < first; }
    std::int64_t length() const { return last - first + 1; }
    bool operator==(const PixelSpan&) const = default;
};

/// What one stretch of source pixels adds to the targets of a tile.
struct TapStretch {
    std::int64_t source = 0;  ///< its first pixel
    std::uint32_t length = 0; ///< in pixels
    std::uint32_t firstTarget = 0;
    std::uint32_t tapCount = 0;          ///< of the target with most; a multiple of tapsAtOnce
    std::vector<std::uint32_t> starts{}; ///< of each target, counted from `source`
    std::vector<std::uint32_t> counts{}; ///< taps of each target; the rest of its weights is 0
    std::vector<float> weights{};        ///< tapCount for each target

    Kernels::ResampleTaps taps() const { return {firstTarget, tapCount, starts, weights}; }
    std::span<const float> weightsOf(std::size_t target) const {
        return std::span(weights).subspan(target * tapCount, counts[target]);
    }
    /// The same with 1 for every weight that is not 0.
    TapStretch footprint() const;
};

/// How source pixels are cut into stretches.
struct StretchCut {
    std::int64_t alignment = 1; ///< where the first one may begin
    std::int64_t length = 1;    ///< at most, a multiple of the alignment
};

struct ResampleAxis {
    ResampleFilter filter = ResampleFilter::lanczos;
    std::int64_t sourceLength = 1; ///< of the canvas, before
    std::int64_t targetLength = 1; ///< and after
    std::int64_t sourceOffset = 0; ///< where pixel 0 of the grid lies on the canvas, before
    std::int64_t targetOffset = 0; ///< and after
    /// Source pixels that there are: what lies beyond repeats the first and the last.
    PixelSpan source{std::numeric_limits<std::int64_t>::min() / 4,
                     std::numeric_limits<std::int64_t>::max() / 4};

    /// The source pixels that a span of targets may read.
    PixelSpan sourceOf(const PixelSpan& targets) const;
    /// The targets that a span of source pixels may reach.
    PixelSpan targetsOf(const PixelSpan& sources) const;
    /// The taps of `targets`, which are counted from `origin`.
    std::vector<TapStretch> stretches(const PixelSpan& targets, std::int64_t origin,
                                      const StretchCut& cut) const;
};

} // namespace ombrel
