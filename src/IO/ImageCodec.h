// One raster format behind one record: how it is recognised, opened and written. The table of all
// of them is the only place where a format is listed.
#pragma once

#include "IO/ByteSource.h"
#include "IO/ImageDecoder.h"
#include "IO/ImageEncoder.h"
#include "IO/ImageFormat.h"

#include <array>
#include <expected>
#include <memory>
#include <span>

namespace ombrel {

struct ImageCodec {
    ImageFormat format;
    /// From the first bytes of a file (up to 64 of them).
    bool (*recognises)(std::span<const std::byte> head);
    /// The source must outlive the decoder.
    std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> (*open)(ByteSource& source);
    /// Largest side that can be written in pixels.
    std::int64_t largestSide;
    /// The layout that serves a document of this depth best.
    SampleLayout (*layoutFor)(BitDepth depth);
    /// Whether the library at hand can write the format.
    bool (*canEncode)();
    std::expected<void, ImageIOError> (*encode)(const ImageEncodeRequest& request,
                                                SampleRowSource& rows, ByteSink& sink);
    /// Share of the encoding's time that passes while rows are drawn: below 1 for encoders that
    /// hold the whole picture and work on after the last row.
    double rowsShare = 1;
};

} // namespace ombrel
