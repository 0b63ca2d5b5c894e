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
        .recognises = png::recognises,
        .open = png::open,
        .largestSide = 1'000'000,
        .layoutFor = png::layoutFor,
        .canEncode = png::canEncode,
        .encode = png::encode,
        .rowsShare = 1,
    },
    {
        .format = ImageFormat::jpeg,
        .recognises = jpeg::recognises,
        .open = jpeg::open,
        .largestSide = 65'500,
        .layoutFor = jpeg::layoutFor,
        .canEncode = jpeg::canEncode,
        .encode = jpeg::encode,
        .rowsShare = 1,
    },
    {
        .format = ImageFormat::heic,
        .recognises = heic::recognises,
        .open = heic::open,
        .largestSide = 16'384,
        .layoutFor = heic::layoutFor,
        .canEncode = heic::canEncode,
        .encode = heic::encode,
        .rowsShare = 0.1,
    },
    {
        .format = ImageFormat::tiff,
        .recognises = tiff::recognises,
        .open = tiff::open,
        .largestSide = 300'000,
        .layoutFor = tiff::layoutFor,
        .canEncode = tiff::canEncode,
        .encode = tiff::encode,
        .rowsShare = 1,
    },
    {
        .format = ImageFormat::webp,
        .recognises = webp::recognises,
        .open = webp::open,
        .largestSide = 16'383,
        .layoutFor = webp::layoutFor,
        .canEncode = webp::canEncode,
        .encode = webp::encode,
        .rowsShare = 0.1,
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
