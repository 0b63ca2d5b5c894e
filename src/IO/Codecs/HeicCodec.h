// HEIC through libheif; the functions behind its record in the table of codecs.
#pragma once

#include "IO/ImageCodec.h"

namespace ombrel::heic {

// HeicDecoder.cpp
bool recognises(std::span<const std::byte> head);
std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> open(ByteSource& source);

// HeicEncoder.cpp
SampleLayout layoutFor(BitDepth depth);
bool canEncode();
std::expected<void, ImageIOError> encode(const ImageEncodeRequest& request, SampleRowSource& rows,
                                         ByteSink& sink);

} // namespace ombrel::heic
