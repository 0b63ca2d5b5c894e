// Rows on their way to a display: two rows of a tile mixed into one, and premultiplied linear light
// over nothing that shows turned into bytes. For each value
//   mixed = upper + (lower - upper) * part
//   byte = table[floor(sqrt(min(light, 1)) * (steps - 1) + 0.5)]
// Light is neither negative nor NaN. They read and write no further than they are told.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ombrel::Kernels {

/// The bytes of red, green and blue by the root of light; tables may be one and the same.
struct DisplayTables {
    std::array<const std::int32_t*, 3> bytes{};
    int steps = 0;
};

/// `count` halves of each row.
void mixRows(const std::uint16_t* upper, const std::uint16_t* lower, float part, std::size_t count,
             float* mixed);

/// Interleaved pixels of four floats, the last of which is passed over, to 0xFFRRGGBB.
void encodeForDisplay(const float* pixels, std::size_t count, const DisplayTables& tables,
                      std::uint32_t* rgb);

} // namespace ombrel::Kernels
