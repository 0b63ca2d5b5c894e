// The few things import wants from Exif data: which way is up and how large a pixel is. Reads the
// first directory of the block and nothing else; damaged data gives empty fields, never an error.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace ombrel {

struct ExifMetadata {
    int orientation = 1;              ///< 1 to 8
    std::optional<double> resolution; ///< pixels per inch

    bool operator==(const ExifMetadata&) const = default;
};

/// `block` begins with the byte-order mark, or with "Exif\0\0" before it.
ExifMetadata readExif(std::span<const std::byte> block);

/// A resolution in pixels per `unit` as Exif and TIFF count units (2 inch, 3 centimetre) in pixels
/// per inch; nothing for other units and for numbers that cannot be a resolution.
std::optional<double> resolutionPerInch(double value, int unit);

} // namespace ombrel
