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
// Of values between halves, before they are rounded; see Channel::nearest.
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

    /// For what lies between halves; made when a pixel first needs it.
    const RowCurveTable& between() const {
        std::call_once(betweenMade_, [this] {
            between_ =
                std::make_unique<RowCurveTable>(curve_, CurveDirection::encode, encodedTolerance);
        });
        return *between_;
    }

    /// Any finite linear value, by the curve's `between`.
    static Sample translucent(const RowCurveTable& between, float linear) {
        const float encoded = between(linear);
        if constexpr (std::is_same_v<Sample, Half>) {
            return toHalf(RowLanes::finite(encoded));
        } else if constexpr (isInteger<Sample>) {
            return nearest(between, encoded, linear);
        } else {
            return encoded;
        }
    }

private:
    // The table may be off by twice its tolerance and some roundings; where that could decide,
    // the curve itself does.
    static Sample nearest(const RowCurveTable& between, float encoded, float linear) {
        constexpr auto scale = static_cast<float>(scaleOf<Sample>);
        constexpr float doubt = scale * static_cast<float>(5 * encodedTolerance);
        const float scaled = encoded * scale;
        if (!(scaled > 0)) return 0;
        if (scaled >= scale) return static_cast<Sample>(-1);
        // NOLINTNEXTLINE(bugprone-incorrect-roundings): what is nearly halfway is settled below
        const auto code = static_cast<std::int32_t>(scaled + 0.5f);
        const float beside = std::fabs(scaled - static_cast<float>(code));
        if (beside > 0.5f - doubt) [[unlikely]] {
            return rounded<Sample>(between.exactly(linear));
        }
        return static_cast<Sample>(code);
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
    explicit EncoderPath(const ChannelCurves& curves)
        : channels_(tablesOf(curves, [](const ToneCurve& curve) {
              return std::make_shared<const Channel<Sample>>(curve);
          })) {}

    void convert(const Half* pixels, std::size_t pixelCount, std::byte* out) const override {
        std::size_t i = 0;
        const auto store = [&i, out](const Samples& samples) {
            std::memcpy(out + i * sizeof samples, samples.data(), sizeof samples);
            ++i;
        };
        while (i < pixelCount) {
            std::uint64_t pixel = RowLanes::loadPixel(pixels + 4 * i);
            for (; pixel >> 48 == halfOne; pixel = RowLanes::loadPixel(pixels + 4 * i)) {
                store(opaque(pixel));
                if (i == pixelCount) return;
            }
            const Between between{&channels_[0]->between(), &channels_[1]->between(),
                                  &channels_[2]->between()};
            for (; pixel >> 48 != halfOne; pixel = RowLanes::loadPixel(pixels + 4 * i)) {
                store(translucent(pixel, between));
                if (i == pixelCount) return;
            }
        }
    }

private:
    using Samples = std::array<Sample, hasAlpha ? 4 : 3>;
    using Between = std::array<const RowCurveTable*, 3>;

    Samples opaque(std::uint64_t pixel) const {
        const auto sample = [this, pixel](std::size_t channel) {
            return channels_[channel]->opaque(static_cast<std::uint16_t>(pixel >> (16 * channel)));
        };
        if constexpr (hasAlpha)
            return {sample(0), sample(1), sample(2), encodedAlpha<Sample>(1)};
        else
            return {sample(0), sample(1), sample(2)};
    }

    Samples translucent(std::uint64_t pixel, const Between& between) const {
        const RowLanes::Floats color = RowLanes::finite(RowLanes::floatsOf(pixel));
        const float alpha = color[3];
        if (alpha >= 1) return opaque(pixel);
        const auto sample = [&between](RowLanes::Floats linear, std::size_t channel) {
            return Channel<Sample>::translucent(*between[channel], linear[channel]);
        };
        if constexpr (hasAlpha) {
            if (!(alpha > 0)) return {};
            const Sample stored = encodedAlpha<Sample>(alpha);
            if (stored == Sample{}) return {};
            const RowLanes::Floats straight = RowLanes::finite(color / alpha);
            return {sample(straight, 0), sample(straight, 1), sample(straight, 2), stored};
        } else {
            // White of the profile lies below, in linear light.
            const RowLanes::Floats onWhite =
                alpha > 0 ? color + (1 - alpha) : RowLanes::Floats{1, 1, 1, 1};
            return {sample(onWhite, 0), sample(onWhite, 1), sample(onWhite, 2)};
        }
    }

    std::array<std::shared_ptr<const Channel<Sample>>, 3> channels_;
};

template <typename Sample>
std::unique_ptr<RowEncoderPath> makePath(bool hasAlpha, const ChannelCurves& curves) {
    if (hasAlpha) return std::make_unique<EncoderPath<Sample, true>>(curves);
    return std::make_unique<EncoderPath<Sample, false>>(curves);
}

} // namespace

std::unique_ptr<RowEncoderPath> makeRowEncoderPath(SampleLayout layout,
                                                   const ChannelCurves& curves) {
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
