// Running a decoder of ours over bytes in memory, whole or in uneven steps.
#pragma once

#include "IO/ImageCodecs.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace ombrel::test {

struct DecodedRows {
    ImageDescription description;
    std::vector<std::byte> samples;

    template <typename Sample>
    Sample at(std::int64_t x, std::int64_t y, int channel) const {
        const auto pixel = static_cast<std::size_t>(y * description.size.width + x);
        Sample sample;
        std::memcpy(&sample,
                    samples.data() + pixel * description.layout.bytesPerPixel() +
                        static_cast<std::size_t>(channel) * sizeof(Sample),
                    sizeof(Sample));
        return sample;
    }
};

/// Reads everything, `rowsPerCall` rows at a time.
inline std::expected<DecodedRows, ImageIOError> decodeRows(std::span<const std::byte> file,
                                                           std::int64_t rowsPerCall = 7) {
    const ImageCodec* codec = codecRecognising(file.first(std::min(file.size(), imageHeadLength)));
    if (codec == nullptr) return std::unexpected(ImageIOError::unreadable());
    const auto source = ByteSource::ofMemory(file);
    const auto decoder = codec->open(*source);
    if (!decoder) return std::unexpected(decoder.error());
    DecodedRows rows{(*decoder)->description(), {}};
    const PixelSize size = rows.description.size;
    const std::size_t rowBytes =
        static_cast<std::size_t>(size.width) * rows.description.layout.bytesPerPixel();
    for (std::int64_t y = 0; y < size.height; y += rowsPerCall) {
        // Grown as rows come: a damaged file may claim any size.
        const std::int64_t count = std::min(rowsPerCall, size.height - y);
        const std::size_t begin = rows.samples.size();
        rows.samples.resize(begin + static_cast<std::size_t>(count) * rowBytes);
        const auto read = (*decoder)->readRows(count, std::span(rows.samples).subspan(begin));
        if (!read) return std::unexpected(read.error());
    }
    return rows;
}

} // namespace ombrel::test
