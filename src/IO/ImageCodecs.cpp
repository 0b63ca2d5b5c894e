#include "IO/ImageCodecs.h"

#include "IO/Codecs/HeicCodec.h"
#include "IO/Codecs/JpegCodec.h"
#include "IO/Codecs/PngCodec.h"
#include "IO/Codecs/TiffCodec.h"
#include "IO/Codecs/WebpCodec.h"

namespace ombrel {

namespace {

constexpr std::array<ImageCodec, 5> codecs{{
    {
        .format = ImageFormat::png,
        .recognises = nullptr,
        .open = nullptr,
        .largestSide = 1'000'000,
        .layoutFor = nullptr,
        .canEncode = nullptr,
        .encode = nullptr,
    },
    {
        .format = ImageFormat::jpeg,
        .recognises = nullptr,
        .open = nullptr,
        .largestSide = 65'500,
        .layoutFor = nullptr,
        .canEncode = nullptr,
        .encode = nullptr,
    },
    {
        .format = ImageFormat::heic,
        .recognises = nullptr,
        .open = nullptr,
        .largestSide = 16'384,
        .layoutFor = nullptr,
        .canEncode = nullptr,
        .encode = nullptr,
    },
    {
        .format = ImageFormat::tiff,
        .recognises = nullptr,
        .open = nullptr,
        .largestSide = 300'000,
        .layoutFor = nullptr,
        .canEncode = nullptr,
        .encode = nullptr,
    },
    {
        .format = ImageFormat::webp,
        .recognises = nullptr,
        .open = nullptr,
        .largestSide = 16'383,
        .layoutFor = nullptr,
        .canEncode = nullptr,
        .encode = nullptr,
    },
}};

} // namespace

std::span<const ImageCodec> imageCodecs() {
    return codecs;
}

const ImageCodec& codecOf(ImageFormat format) {
    return codecs[static_cast<std::size_t>(format)];
}

const ImageCodec* codecRecognising(std::span<const std::byte> head) {
    for (const ImageCodec& codec : codecs) {
        if (codec.recognises != nullptr && codec.recognises(head)) return &codec;
    }
    return nullptr;
}

} // namespace ombrel
