// Counts the tones of pixels. Each channel of a pixel with alpha a above 0 is taken straight,
//   tone = half(channel / a),  luminance = half(wr r/a + wg g/a + wb b/a), sums from red to blue,
// and counts at its half: below 0 (and what is no number) first, then 0 to 1, then above 1.
// Pixels without alpha do not count. The same counts on every target.
#pragma once

#include "Engine/ToneCounts.h"

#include <cstddef>
#include <cstdint>

namespace ombrel::Kernels {

/// `halves`: four a pixel, premultiplied. `coverage`: a byte a pixel, of which those below 128
/// leave their pixel out altogether; null: all count. Each counts so many `times`.
void countTones(const std::uint16_t* halves, std::size_t count, const std::uint8_t* coverage,
                const LuminanceWeights& weights, ToneCounts& counts, std::uint64_t times = 1);

} // namespace ombrel::Kernels
