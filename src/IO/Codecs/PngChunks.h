// What a PNG file says outside its pixels, found by walking the chunk headers without decoding:
// some writers put the Exif data behind the pixels, where it would come too late for a decoder
// that has to know the orientation first.
#pragma once

#include "IO/ByteSource.h"
#include "IO/CodingProfile.h"
#include "IO/ExifMetadata.h"

#include <cstdint>
#include <optional>

namespace ombrel {

struct PngChunks {
    std::uint64_t imageDataBytes = 0; ///< compressed, over all IDAT chunks
    ExifMetadata exif;
    std::optional<CodingIndependentColor> codedColor; ///< cICP
};

PngChunks scanPngChunks(ByteSource& source);

} // namespace ombrel
