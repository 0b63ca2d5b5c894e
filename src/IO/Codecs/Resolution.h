// Resolutions as files hold them, and the small Exif block that carries one (with the orientation
// "upright") into the formats that have no field of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ombrel {

/// An unsigned fraction as TIFF and Exif store it: exact for whole numbers, else to 1/10000.
struct ResolutionFraction {
    std::uint32_t numerator = 72;
    std::uint32_t denominator = 1;
};

/// `pixelsPerInch` outside what the field holds, NaN included, becomes the nearest it does.
ResolutionFraction resolutionFraction(double pixelsPerInch);

/// To the nearest whole pixel a metre, 1 to 2^31 - 1.
std::uint32_t pixelsPerMetre(double pixelsPerInch);

/// A little-endian TIFF block with orientation 1 and the resolution in inches, without any prefix
/// that a container wants before it.
std::vector<std::byte> exifOfResolution(double pixelsPerInch);

} // namespace ombrel
