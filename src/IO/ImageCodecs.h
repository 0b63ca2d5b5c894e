// The table of all raster formats: the one place where a codec is listed. Entries that the build
// cannot serve are null: `open` where a format cannot be read, `encode` where it cannot be written.
#pragma once

#include "IO/ImageCodec.h"

#include <cstddef>
#include <span>

namespace ombrel {

/// As many bytes of a file as `codecRecognising` needs to see.
inline constexpr std::size_t imageHeadLength = 64;

/// One record a format, in the order of ImageFormat.
std::span<const ImageCodec> imageCodecs();

const ImageCodec& codecOf(ImageFormat format);

/// The codec that knows a file by its first bytes; null where none does.
const ImageCodec* codecRecognising(std::span<const std::byte> head);

} // namespace ombrel
