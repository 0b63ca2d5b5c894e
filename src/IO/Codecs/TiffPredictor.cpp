#include "IO/Codecs/TiffPredictor.h"

#include <cstring>
#include <vector>

namespace ombrel {

namespace {

/// Each sample less the one `stride` before it, from the end so that nothing is read after it was
/// changed.
template <class Sample>
void difference(std::span<std::byte> row, std::size_t stride) {
    const std::size_t count = row.size() / sizeof(Sample);
    const auto load = [&](std::size_t i) {
        Sample value;
        std::memcpy(&value, row.data() + i * sizeof(Sample), sizeof(Sample));
        return value;
    };
    for (std::size_t i = count; i-- > stride;) {
        const auto value = static_cast<Sample>(load(i) - load(i - stride));
        std::memcpy(row.data() + i * sizeof(Sample), &value, sizeof(Sample));
    }
}

/// Bytes of equal significance side by side, the most significant ones first, then differenced.
void differenceFloats(std::span<std::byte> row, std::size_t stride, std::span<std::byte> scratch) {
    constexpr std::size_t sampleBytes = 4;
    const std::size_t count = row.size() / sampleBytes;
    std::memcpy(scratch.data(), row.data(), row.size());
    for (std::size_t byte = 0; byte < sampleBytes; ++byte) {
        std::byte* plane = row.data() + (sampleBytes - 1 - byte) * count;
        for (std::size_t i = 0; i < count; ++i)
            plane[i] = scratch[i * sampleBytes + byte];
    }
    difference<std::uint8_t>(row, stride);
}

} // namespace

int tiffPredictorNumber(SampleType type) {
    return type == SampleType::float32 ? 3 : 2;
}

void applyTiffPredictor(SampleLayout layout, std::size_t rowBytes, std::span<std::byte> rows) {
    const auto stride = static_cast<std::size_t>(layout.channelCount());
    std::vector<std::byte> scratch(layout.type == SampleType::float32 ? rowBytes : 0);
    for (std::size_t offset = 0; offset + rowBytes <= rows.size(); offset += rowBytes) {
        const auto row = rows.subspan(offset, rowBytes);
        switch (layout.type) {
        case SampleType::unsigned8:
            difference<std::uint8_t>(row, stride);
            break;
        case SampleType::unsigned16:
        case SampleType::half:
            difference<std::uint16_t>(row, stride);
            break;
        case SampleType::float32:
            differenceFloats(row, stride, scratch);
            break;
        }
    }
}

} // namespace ombrel
