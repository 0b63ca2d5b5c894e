// Rows of a TIFF file from top to bottom, decompressed but with samples as the file packs them:
// what strips, tiles and separate planes have in common once they are read. Memory is bounded by a
// row of tiles or, where the codec allows it, by a single line of a strip.
#pragma once

#include "IO/Codecs/TiffHandle.h"
#include "IO/ImageIOError.h"

#include <cstddef>
#include <expected>
#include <memory>
#include <span>

namespace ombrel {

class TiffRowReader {
public:
    virtual ~TiffRowReader() = default;

    /// The next row of every plane that was asked for (one plane where samples are interleaved),
    /// valid until the next call.
    virtual std::expected<std::span<const std::byte* const>, ImageIOError> nextRow() = 0;
};

/// What of a file is read, and how its pixels are packed.
struct TiffRowRequest {
    std::int64_t width = 0;
    std::int64_t height = 0;
    int bitsPerSample = 8;
    int samplesPerPlanePixel = 1;  ///< samples of one pixel that lie together
    std::span<const int> planes;   ///< which separate planes; {0} where samples are interleaved
    bool hasPackedChroma = false;  ///< YCbCr blocks, which the reader takes apart
    bool expandsJpegToRGB = false; ///< let the JPEG codec convert
};

/// `first` is opened already; further handles are made from `source` as needed.
std::expected<std::unique_ptr<TiffRowReader>, ImageIOError>
makeTiffRowReader(std::unique_ptr<TiffHandle> first, ByteSource& source,
                  const TiffRowRequest& request);

} // namespace ombrel
