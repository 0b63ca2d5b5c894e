// How the samples of a decoded or to-be-encoded row lie in memory: the one language between codecs
// (which know files) and row conversion (which knows colour). Rows are interleaved, in the byte
// order of the machine, without padding; codecs expand palettes and sub-byte samples, and undo
// inverted polarities, before they hand rows over.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ombrel {

enum class SampleModel : std::uint8_t {
    gray, ///< 0 black
    rgb,
    cmyk, ///< 0 no ink
    lab,  ///< always float32: L* 0 to 100, a* and b* about -128 to 127
};

enum class SampleType : std::uint8_t {
    unsigned8,  ///< 0 to 255 stand for 0 to 1
    unsigned16, ///< 0 to 65535 stand for 0 to 1
    half,       ///< 1 is 1, may pass it
    float32,
};

enum class AlphaKind : std::uint8_t { none, straight, premultiplied };

struct SampleLayout {
    SampleModel model = SampleModel::rgb;
    SampleType type = SampleType::unsigned8;
    AlphaKind alpha = AlphaKind::none; ///< the last channel where there is one

    constexpr int channelCount() const {
        const int colors = model == SampleModel::gray ? 1 : model == SampleModel::cmyk ? 4 : 3;
        return colors + (alpha == AlphaKind::none ? 0 : 1);
    }
    constexpr std::size_t bytesPerSample() const {
        return type == SampleType::unsigned8 ? 1 : type == SampleType::float32 ? 4 : 2;
    }
    constexpr std::size_t bytesPerPixel() const {
        return static_cast<std::size_t>(channelCount()) * bytesPerSample();
    }
    bool operator==(const SampleLayout&) const = default;
};

} // namespace ombrel
