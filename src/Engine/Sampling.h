// Single pixels of the merged picture, for the eyedropper: BlendMath::evaluate on the program's
// steps. For probes, not for loops. Any thread.
#pragma once

#include "Core/DocumentState.h"

#include <cstdint>

namespace ombrel {

/// A mask's value at a pixel of the canvas, 0 to 1: m + (1 - a) * background, cut, where m and a
/// are what its grid holds at the pixel minus the mask's offset. A stored byte is m = byte / 255
/// with a = 1, a solid cell gives its red and alpha, an absent one 0 and 0. Whether the mask is
/// enabled is the caller's matter.
float maskValueAt(const LayerMask& mask, std::int64_t x, std::int64_t y);

/// One pixel of a compiled program.
PremultipliedColor evaluateAt(const CompositeProgram& program, bool perceptual, std::int64_t x,
                              std::int64_t y);

/// The plain mean of the premultiplied pixels in the square of side 2 * radius + 1 around (x, y),
/// cut to the canvas; all zero where nothing of it lies on the canvas.
PremultipliedColor sampleMerged(const DocumentState& state, std::int64_t x, std::int64_t y,
                                std::int64_t radius);
/// The same of one layer's own pixels, without its mask, opacity and what lies below.
PremultipliedColor sampleLayer(const PixelLayer& layer, PixelSize canvas, std::int64_t x,
                               std::int64_t y, std::int64_t radius);

} // namespace ombrel
