// From samples as TIFF files pack them (1 to 64 bits, integers or floats, palettes, several kinds
// of colour) to rows in a SampleLayout. A value made once a file; convertRow may be called by one
// thread at a time.
#pragma once

#include "IO/SampleLayout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ombrel {

/// What a pixel of the file means.
enum class TiffColor : std::uint8_t {
    gray,
    invertedGray, ///< 0 is white
    rgb,
    palette,
    cmyk,
    ycbcr,     ///< 8 bits, chroma already at full resolution
    cieLab,    ///< a* and b* signed
    iccLab,    ///< a* and b* offset by half of the range
    luminance, ///< linear light, floats of the LogL codec
    xyz,       ///< linear light, floats of the LogLuv codec
};

enum class TiffNumber : std::uint8_t { unsignedInteger, signedInteger, floating };

struct TiffPixelFormat {
    TiffColor color = TiffColor::gray;
    TiffNumber number = TiffNumber::unsignedInteger;
    int bitsPerSample = 8;
    int samplesPerPixel = 1;
    bool isPlanar = false; ///< each sample in a plane of its own
    AlphaKind alpha = AlphaKind::none;
    int alphaSample = 0; ///< which sample is alpha, where there is one

    std::vector<std::array<std::uint16_t, 3>> palette; ///< one entry for every index
    std::array<float, 3> lumaWeights{0.299f, 0.587f, 0.114f};
    std::array<float, 6> blackAndWhite{0, 255, 128, 255, 128, 255}; ///< of Y, Cb and Cr

    int colorSampleCount() const;
    /// The planes convertRow reads, in its order.
    std::vector<int> neededPlanes() const;
};

class TiffSampleConverter {
public:
    /// Nothing where the samples are of a kind that cannot be shown.
    static std::optional<TiffSampleConverter> make(TiffPixelFormat format, std::int64_t width);

    SampleLayout layout() const { return layout_; }

    /// `planes` as named by neededPlanes(), one row each; `out` one row of layout().
    void convertRow(std::span<const std::byte* const> planes, std::span<std::byte> out);

private:
    /// How a sample lies in memory once odd widths are spread out.
    enum class Raw : std::uint8_t { u8, u16, u24, u32, u64, half, f24, f32, f64 };

    TiffSampleConverter(TiffPixelFormat format, std::int64_t width, Raw raw, SampleLayout layout);

    static std::optional<Raw> rawOf(const TiffPixelFormat& format);

    std::span<const std::byte* const> spread(std::span<const std::byte* const> planes);
    void convertColor(std::span<const std::byte* const> planes, std::span<std::byte> out) const;
    void convertPalette(std::span<const std::byte* const> planes, std::span<std::byte> out) const;
    void convertYCbCr(std::span<const std::byte* const> planes, std::span<std::byte> out) const;
    void convertLuminance(std::span<const std::byte* const> planes, std::span<std::byte> out) const;
    void convertXYZ(std::span<const std::byte* const> planes, std::span<std::byte> out) const;

    struct Channel {
        const std::byte* base;
        std::size_t step; ///< in samples
    };
    Channel channelOf(std::span<const std::byte* const> planes, int sample) const;
    std::uint64_t integerAt(const Channel& channel, std::size_t index) const;
    double numberAt(const Channel& channel, std::size_t index) const;
    void convertChannel(const Channel& channel, int outChannel, std::span<std::byte> out) const;

    TiffPixelFormat format_;
    std::size_t width_;
    Raw raw_;
    SampleLayout layout_;
    bool spreadsBits_;
    double largest_; ///< of an integer sample
    std::vector<std::vector<std::uint32_t>> spreadPlanes_;
    std::vector<const std::byte*> spreadPointers_;
};

} // namespace ombrel
