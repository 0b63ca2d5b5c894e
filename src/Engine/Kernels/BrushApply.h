// The kernel "brush_apply": writes rows of a new tile from the original, the stroke's mask and its
// style. With o the original pixel, c the colour of the stroke or the sample of its clone source,
// both premultiplied, and
//   m = min(mask, 1) * opacity * selection, and 0 outside the bounds:
//   erase, clear   o (1 - m)
//   behind         o + c m (1 - alpha of o)
//   blend          BlendMath::composite(mode, o, c m); dissolve speckles by the pixel's place
// all on encoded values where the stroke is perceptual. Effects take no colour and keep alpha;
// dodge, burn and sponge work on straight encoded channels e with the luma y of Rec. 709:
//   dodge          e + g max(1 - e, 0), g = m / 2 * exposure * w(y)
//   burn           e - g max(e, 0)
//                  w: shadows 1 - smoothstep(y), midtones 16 y^2 (1 - y)^2, highlights smoothstep
//   sponge         y + (e - y) (1 + m v) to saturate, stopping where a channel would leave 0 to 1;
//                  y + (e - y) (1 - m v) to take saturation away. v is 1; with vibrance it spares
//                  what is saturated when saturating, what is grey when not (s = 1 - min / max)
//   blur           o + (b - o) m strength; b is the mean of 5 x 5 pixels with binomial weights,
//                  premultiplied and linear. Alpha is mixed with the colour
//   sharpen        straight linear channels x + (x - b) m strength, kept within what the 3 x 3
//                  pixels around have, so that no halo comes and nothing leaves the gamut
// Where m is 0 the bits of the original stay. Blur and sharpen have a halo of 2 pixels; beyond the
// bounds their border goes on.
//
// Of a mask (r8) a value v is the opaque grey (v, v, v, 1), always linear, and a colour or sample
// is the grey of its Rec. 709 luminance; results are rounded to the nearest byte.
#pragma once

#include "Engine/BrushBatch.h"
#include "Engine/Kernels/BlendRows.h"
#include "Engine/Kernels/ColumnSpan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ombrel::Kernels {

/// What all tiles of a batch have in common, worked out once. The batch outlives it.
struct BrushApplyPlan {
    enum class Operation : std::uint8_t {
        blend,
        behind,
        fade,
        dodge,
        burn,
        sponge,
        blur,
        sharpen,
    };

    explicit BrushApplyPlan(const BrushBatch& batch);

    const BrushBatch* batch;
    Operation operation = Operation::blend;
    bool isGrey = false;       ///< the target is a mask
    bool isPerceptual = false; ///< blending runs on encoded values
    bool isPrecise = false;    ///< which have to be right to the last bit
    BlendRows blendRows = nullptr;
    std::array<float, 4> color{}; ///< as the operation wants it
};

struct BrushApplyArguments {
    const BrushApplyPlan* plan = nullptr;
    const GPUBrushApplyTile* tile = nullptr;
    const std::byte* previous = nullptr; ///< of the tile, after its last batch; may be null
    std::uint32_t firstRow = 0;
    /// Where the mask has changed since, a span a row in whole vectors; the rest is copied.
    std::span<const ColumnSpan> touched;
};

void applyRows(const BrushApplyArguments& arguments);

} // namespace ombrel::Kernels
