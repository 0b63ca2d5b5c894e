// Rows on their way to a display: a tile looked at along any line, two rows of a tile mixed into
// one, and linear light turned into bytes. For each value
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

/// A line over a tile of 256 x 256 pixels of halves: pixel i of the row looks at
///   x = ((i + 0.5) * along[0] + start[0] - corner[0]) * factor[0] + offset[0]
/// and likewise y, and shows the texel that holds this place, or if smooth, with the place kept
/// within the limits, a mixture of the four texels around it: of columns first, then of rows.
struct TexelLine {
    const std::uint16_t* texels = nullptr;
    std::array<float, 2> along{};
    std::array<float, 2> start{};
    std::array<float, 2> corner{};
    std::array<float, 2> factor{};
    std::array<float, 2> offset{};
    std::array<float, 4> limits{}; ///< left, top, right, bottom
    bool isSmooth = false;
};

/// `count` pixels of four floats, from pixel `first` of the row on.
void sampleTexels(const TexelLine& line, int first, std::size_t count, float* pixels);

/// `count` halves of each row.
void mixRows(const std::uint16_t* upper, const std::uint16_t* lower, float part, std::size_t count,
             float* mixed);

/// Interleaved pixels of four floats, the last of which is passed over, to 0xFFRRGGBB.
void encodeForDisplay(const float* pixels, std::size_t count, const DisplayTables& tables,
                      std::uint32_t* rgb);

} // namespace ombrel::Kernels
