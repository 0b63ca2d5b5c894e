#include "IO/RowEncoderPath.h"

#include "IO/RowCurveTable.h"
#include "IO/RowLanes.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <type_traits>
#include <vector>

namespace ombrel {

namespace {

constexpr std::uint16_t halfOne = 0x3C00;
// Of values between halves, before they are rounded; see Channel::encodedTranslucent.
constexpr double encodedTolerance = 0x1p-23;

template <typename Sample>
constexpr bool isInteger = std::is_integral_v<Sample>;
template <typename Sample>
constexpr double scaleOf = sizeof(Sample) == 1 ? 255.0 : 65535.0;

Half halfOf(std::uint16_t bits) {
    return Half{bits};
}

// To the nearest code, exactly; halves between two codes go up.
template <typename Sample>
Sample rounded(double encoded) {
    const double scaled = encoded * scaleOf<Sample>;
    if (!(scaled > 0)) return 0;
    if (scaled >= scaleOf<Sample>) return static_cast<Sample>(-1);
    return static_cast<Sample>(std::floor(scaled + 0.5));
}

// One curve: a table over every half for opaque pixels, and on demand one for what lies between.
template <typename Sample>
class Channel {
public:
    explicit Channel(const ToneCurve& curve) : curve_(curve), samples_(65536) {
        for (std::uint32_t bits = 0; bits < samples_.size(); ++bits)
            samples_[bits] = encodedHalf(static_cast<std::uint16_t>(bits));
    }

    Sample opaque(std::uint16_t bits) const { return samples_[bits]; }

    /// Any finite linear value.
    Sample translucent(float linear) const {
        std::call_once(betweenMade_, [this] {
            between_ =
                std::make_unique<RowCurveTable>(curve_, CurveDirection::encode, encodedTolerance);
        });
        const float encoded = (*between_)(linear);
        if constexpr (std::is_same_v<Sample, Half>) {
            return toHalf(RowLanes::finite(encoded));
        } else if constexpr (isInteger<Sample>) {
            return nearest(encoded, linear);
        } else {
            return encoded;
        }
    }

private:
    // The table may be off by twice its tolerance and a rounding; where that could decide, the
    // curve itself does.
    Sample nearest(float encoded, float linear) const {
        const double scaled = double{encoded} * scaleOf<Sample>;
        if (!(scaled > 0)) return 0;
        if (scaled >= scaleOf<Sample>) return static_cast<Sample>(-1);
        const double above = scaled + 0.5 - std::floor(scaled + 0.5); // distance past a tie
        const double doubt = 4 * encodedTolerance * scaled;
        if (above < doubt || above > 1 - doubt) return rounded<Sample>(between_->exactly(linear));
        return static_cast<Sample>(scaled + 0.5);
    }

    Sample encodedHalf(std::uint16_t bits) const {
        const float linear = RowLanes::finite(toFloat(halfOf(bits)));
        if constexpr (isInteger<Sample>) {
            if (linear <= 0) return 0;
            // Above one only curves that do not reach one there still matter.
            return rounded<Sample>(curve_.encoded(linear));
        } else if constexpr (std::is_same_v<Sample, Half>) {
            return toHalf(RowLanes::finite(static_cast<float>(curve_.encoded(linear))));
        } else {
            return static_cast<float>(curve_.encoded(linear));
        }
    }

    ToneCurve curve_;
    std::vector<Sample> samples_;
    mutable std::once_flag betweenMade_;
    mutable std::unique_ptr<const RowCurveTable> between_;
};

template <typename Sample>
Sample encodedAlpha(float alpha) {
    if constexpr (isInteger<Sample>) {
        return rounded<Sample>(alpha);
    } else if constexpr (std::is_same_v<Sample, Half>) {
        return toHalf(alpha);
    } else {
        return alpha;
    }
}

template <typename Sample, bool hasAlpha>
class EncoderPath final : public RowEncoderPath {
public:
    explicit EncoderPath(const std::array<ToneCurve, 3>& curves) {
        for (std::size_t i = 0; i < channels_.size(); ++i) {
            for (std::size_t other = 0; other < i; ++other) {
                if (curves[other] == curves[i]) channels_[i] = channels_[other];
            }
            if (channels_[i] == nullptr) {
                channels_[i] = std::make_shared<const Channel<Sample>>(curves[i]);
            }
        }
    }

    void convert(const Half* pixels, std::size_t pixelCount, std::byte* out) const override {
        for (std::size_t i = 0; i < pixelCount; ++i) {
            const std::uint64_t pixel = RowLanes::loadPixel(pixels + 4 * i);
            const Samples samples = pixel >> 48 == halfOne ? opaque(pixel) : translucent(pixel);
            std::memcpy(out + i * sizeof samples, samples.data(), sizeof samples);
        }
    }

private:
    using Samples = std::array<Sample, hasAlpha ? 4 : 3>;

    Samples opaque(std::uint64_t pixel) const {
        const auto sample = [this, pixel](std::size_t channel) {
            return channels_[channel]->opaque(static_cast<std::uint16_t>(pixel >> (16 * channel)));
        };
        if constexpr (hasAlpha)
            return {sample(0), sample(1), sample(2), encodedAlpha<Sample>(1)};
        else
            return {sample(0), sample(1), sample(2)};
    }

    Samples translucent(std::uint64_t pixel) const {
        const auto valueOf = [pixel](std::size_t channel) {
            const auto bits = static_cast<std::uint16_t>(pixel >> (16 * channel));
            return RowLanes::finite(toFloat(halfOf(bits)));
        };
        const float alpha = valueOf(3);
        if (alpha >= 1) return opaque(pixel);
        Samples samples{};
        if constexpr (hasAlpha) {
            if (!(alpha > 0)) return samples;
            samples[3] = encodedAlpha<Sample>(alpha);
            if (samples[3] == Sample{}) return samples;
            for (std::size_t i = 0; i < 3; ++i)
                samples[i] = channels_[i]->translucent(RowLanes::finite(valueOf(i) / alpha));
        } else {
            // White of the profile lies below, in linear light.
            const float white = alpha > 0 ? 1 - alpha : 1;
            for (std::size_t i = 0; i < 3; ++i) {
                const float color = alpha > 0 ? valueOf(i) : 0;
                samples[i] = channels_[i]->translucent(color + white);
            }
        }
        return samples;
    }

    std::array<std::shared_ptr<const Channel<Sample>>, 3> channels_;
};

template <typename Sample>
std::unique_ptr<RowEncoderPath> makePath(bool hasAlpha, const std::array<ToneCurve, 3>& curves) {
    if (hasAlpha) return std::make_unique<EncoderPath<Sample, true>>(curves);
    return std::make_unique<EncoderPath<Sample, false>>(curves);
}

} // namespace

std::unique_ptr<RowEncoderPath> makeRowEncoderPath(SampleLayout layout,
                                                   const std::array<ToneCurve, 3>& curves) {
    const bool hasAlpha = layout.alpha != AlphaKind::none;
    switch (layout.type) {
    case SampleType::unsigned8:
        return makePath<std::uint8_t>(hasAlpha, curves);
    case SampleType::unsigned16:
        return makePath<std::uint16_t>(hasAlpha, curves);
    case SampleType::half:
        return makePath<Half>(hasAlpha, curves);
    case SampleType::float32:
        return makePath<float>(hasAlpha, curves);
    }
    return nullptr;
}

} // namespace ombrel
