#include "DecoderFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return ombrel::fuzzDecoder(ombrel::ImageFormat::webp, data, size);
}
