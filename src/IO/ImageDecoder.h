// One opened raster file: what it says of itself, then its rows from top to bottom as stored.
#pragma once

#include "Core/Canvas.h"
#include "IO/ImageIOError.h"
#include "IO/SampleLayout.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <vector>

namespace ombrel {

struct ImageDescription {
    PixelSize size; ///< as stored, before the orientation is applied
    SampleLayout layout;
    BitDepth bitDepth = BitDepth::eight; ///< what a document made of it claims
    int orientation = 1;                 ///< 1 to 8 as in Exif; what is still to be applied
    std::optional<double> resolution;    ///< pixels per inch
    std::vector<std::byte> iccData;      ///< empty without a profile
};

class ImageDecoder {
public:
    virtual ~ImageDecoder() = default;

    virtual const ImageDescription& description() const = 0;

    /// The next `rowCount` rows; `out` holds rowCount * width * layout.bytesPerPixel() bytes.
    /// Any fault in the file, a missing end included, is ImageIOError::unreadable.
    virtual std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                                       std::span<std::byte> out) = 0;
};

} // namespace ombrel
