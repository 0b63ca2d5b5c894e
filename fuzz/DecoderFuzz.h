// One round of a decoder target: open what the fuzzer made up, read its rows, drop it.
#pragma once

#include "IO/ImageCodecs.h"

#include <algorithm>
#include <vector>

namespace ombrel {

/// Larger pictures are opened but not read: they cost time and show nothing that small ones don't.
inline constexpr std::int64_t largestFuzzedArea = 1 << 20;

inline int fuzzDecoder(ImageFormat format, const std::uint8_t* data, std::size_t size) {
    const auto source = ByteSource::ofMemory({reinterpret_cast<const std::byte*>(data), size});
    const auto decoder = codecOf(format).open(*source);
    if (!decoder) return 0;
    const ImageDescription& description = (*decoder)->description();
    if (description.size.width * description.size.height > largestFuzzedArea) return 0;
    constexpr std::int64_t rowsPerCall = 16;
    const std::size_t rowBytes =
        static_cast<std::size_t>(description.size.width) * description.layout.bytesPerPixel();
    std::vector<std::byte> rows(rowBytes * rowsPerCall);
    for (std::int64_t y = 0; y < description.size.height; y += rowsPerCall) {
        const std::int64_t count = std::min(rowsPerCall, description.size.height - y);
        const std::size_t length = rowBytes * static_cast<std::size_t>(count);
        if (!(*decoder)->readRows(count, std::span(rows).first(length))) return 0;
    }
    return 0;
}

} // namespace ombrel
