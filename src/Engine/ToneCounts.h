// How often each tone occurs in a picture: for red, green, blue and luminance a count for every
// half from 0 to 1, and what lies outside. From these all scales and figures follow exactly. A
// value that adds up; made by whoever counts rows (Kernels/CountTones.h). Any thread.
#pragma once

#include "Core/ProfileConversion.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ombrel {

enum class ToneChannel : std::uint8_t { red, green, blue, luminance };
inline constexpr std::size_t toneChannelCount = 4;

/// How tones are spread along an axis: by the light, or as they look, by the sRGB curve.
enum class ToneScale : std::uint8_t { linear, perceptual };

/// Weights of red, green and blue in the luminance; they add up to 1.
using LuminanceWeights = std::array<float, 3>;
LuminanceWeights luminanceWeightsOf(const ColorProfile& profile);

class ToneCounts {
public:
    static constexpr std::size_t tones = 0x3C01; ///< halves from 0 to 1
    static constexpr std::size_t bins = 256;

    ToneCounts() : counts_(toneChannelCount * stride) {}

    /// Pixels counted: those with alpha above 0.
    std::uint64_t pixelCount() const { return pixelCount_; }
    /// At 0 and below; at 1 and above.
    std::uint64_t shadows(ToneChannel channel) const;
    std::uint64_t highlights(ToneChannel channel) const;

    using Bins = std::array<std::uint64_t, bins>;
    /// What is outside counts at the ends.
    Bins binsOf(ToneChannel channel, ToneScale scale) const;

    /// In steps of the scale, from 0 to 255; zeros where nothing was counted.
    struct Figures {
        double mean = 0;
        double deviation = 0; ///< of all pixels, not of a sample
        double median = 0;    ///< the lower one of two

        bool operator==(const Figures&) const = default;
    };
    Figures figuresOf(ToneChannel channel, ToneScale scale) const;

    ToneCounts& operator+=(const ToneCounts& other);
    bool operator==(const ToneCounts&) const = default;

    // For who counts.

    /// Of a channel: below 0 or no number at all, the tones, above 1.
    static constexpr std::size_t stride = tones + 2;
    std::uint64_t* counts() { return counts_.data(); }
    void addPixels(std::uint64_t counted) { pixelCount_ += counted; }

private:
    const std::uint64_t* of(ToneChannel channel) const {
        return counts_.data() + static_cast<std::size_t>(channel) * stride;
    }

    std::uint64_t pixelCount_ = 0;
    std::vector<std::uint64_t> counts_;
};

} // namespace ombrel
