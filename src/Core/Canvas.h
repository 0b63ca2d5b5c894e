// The frame of a document: its size, resolution and what its numbers mean.
#pragma once

#include "Core/ColorProfile.h"
#include "Core/Geometry.h"

#include <cstdint>
#include <string>

namespace ombrel {

/// What the document claims; stored pixels are always 16-bit floats.
enum class BitDepth : std::uint8_t { eight, sixteen, thirtyTwo };

constexpr int bitsPerChannel(BitDepth depth) {
    return 8 << static_cast<int>(depth);
}
std::string textOf(BitDepth depth); ///< "8 bits/channel"

/// What a user may ask for, in pixels.
inline constexpr std::int64_t largestCanvasSide = 300'000;

struct Canvas {
    PixelSize size;
    double resolution = 72; ///< pixels per inch
    ColorProfile profile;
    BitDepth bitDepth = BitDepth::eight;
    bool blendUsingGamma1 = false; ///< blend linear values; otherwise sRGB-encoded ones

    bool operator==(const Canvas&) const = default;
};

} // namespace ombrel
