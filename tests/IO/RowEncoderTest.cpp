#include "IO/SampleRows.h"

#include "Core/ColorProfileReading.h"
#include "IO/TestProfiles.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>

namespace ombrel {

namespace {

using Random = std::mt19937_64;

constexpr SampleLayout layout(SampleType type, AlphaKind alpha) {
    return {SampleModel::rgb, type, alpha};
}
constexpr SampleLayout rgb8 = layout(SampleType::unsigned8, AlphaKind::none);
constexpr SampleLayout rgba8 = layout(SampleType::unsigned8, AlphaKind::straight);
constexpr SampleLayout rgb16 = layout(SampleType::unsigned16, AlphaKind::none);
constexpr SampleLayout rgba16 = layout(SampleType::unsigned16, AlphaKind::straight);

Half half(double value) {
    return toHalf(static_cast<float>(value));
}

template <typename Sample>
std::vector<Sample> encoded(const RowEncoder& encoder, SampleLayout layout,
                            const std::vector<Half>& pixels) {
    std::vector<Sample> samples(pixels.size() / 4 *
                                static_cast<std::size_t>(layout.channelCount()));
    encoder.convert(pixels, std::as_writable_bytes(std::span(samples)));
    return samples;
}

template <typename Sample>
std::vector<Sample> encoded(SampleLayout layout, const std::vector<Half>& pixels) {
    return encoded<Sample>(RowEncoder(ColorProfile::sRGB(), layout), layout, pixels);
}

std::vector<ColorProfile> documentProfiles() {
    std::vector<ColorProfile> profiles(ColorProfile::builtIn().begin(),
                                       ColorProfile::builtIn().end());
    profiles.push_back(ColorProfile::embedded(testProfiles::withGamma(1.8)));
    profiles.push_back(ColorProfile::embedded(testProfiles::withSamples()));
    return profiles;
}

ToneCurve curveOf(const ColorProfile& profile) {
    return readColorProfile(profile.iccData())->shaper->curves[0];
}

double nearestCode(double value, double scale) {
    return std::clamp(std::floor(value * scale + 0.5), 0.0, scale);
}

// Every channel runs through the whole range, out of step with the others.
template <typename Sample>
std::vector<Sample> everyCode(SampleLayout layout) {
    constexpr std::size_t codes = std::size_t{1} << (8 * sizeof(Sample));
    std::vector<Sample> samples;
    for (std::size_t i = 0; i < codes; ++i) {
        for (const std::size_t step : {std::size_t{1}, std::size_t{7}, std::size_t{31}})
            samples.push_back(static_cast<Sample>(i * step));
        if (layout.alpha != AlphaKind::none) samples.push_back(static_cast<Sample>(codes - 1));
    }
    return samples;
}

template <typename Sample>
std::vector<Sample> thereAndBack(const ColorProfile& profile, SampleLayout layout,
                                 const std::vector<Sample>& samples) {
    const auto bytes = std::as_bytes(std::span(samples));
    std::vector<Half> pixels(bytes.size() / layout.bytesPerPixel() * 4);
    RowLineariser(layout, profile.iccData()).convert(bytes, pixels);
    return encoded<Sample>(RowEncoder(profile, layout), layout, pixels);
}

} // namespace

TEST(RowEncoder, eightBitSamplesSurviveTheDocument) {
    for (const ColorProfile& profile : documentProfiles()) {
        for (const SampleLayout each : {rgb8, rgba8}) {
            const auto samples = everyCode<std::uint8_t>(each);
            EXPECT_EQ(thereAndBack(profile, each, samples), samples) << profile.name();
        }
    }
}

TEST(RowEncoder, sixteenBitSamplesKeepWhatHalvesHold) {
    // A half lies at most half of its spacing beside the sample's light; what that is in codes is
    // all that may be lost: up to 10 of 65535 with the sRGB curve, 24 near black with gamma 2.2.
    for (const ColorProfile& profile : documentProfiles()) {
        const ToneCurve curve = curveOf(profile);
        const auto samples = everyCode<std::uint16_t>(rgb16);
        const auto back = thereAndBack(profile, rgb16, samples);
        int largest = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double light = curve.linearised(samples[i] / 65535.0);
            const double spacing = std::max(0x1p-24, std::exp2(std::floor(std::log2(light)) - 10));
            const double loss = std::max(curve.encoded(light + spacing / 2) - curve.encoded(light),
                                         curve.encoded(light) - curve.encoded(light - spacing / 2));
            const int difference = std::abs(int{samples[i]} - int{back[i]});
            ASSERT_LE(difference, loss * 65535 + 1) << profile.name() << ", code " << samples[i];
            largest = std::max(largest, difference);
        }
        EXPECT_LE(largest, 24) << profile.name();
    }
}

TEST(RowEncoder, everyOpaqueHalfIsRoundedToTheNearestCode) {
    std::vector<Half> pixels;
    for (std::uint32_t bits = 0; bits < 65536; ++bits) {
        const Half value{static_cast<std::uint16_t>(bits)};
        pixels.insert(pixels.end(), {value, value, value, half(1)});
    }
    for (const ColorProfile& profile : documentProfiles()) {
        const ToneCurve curve = curveOf(profile);
        const auto narrow = encoded<std::uint8_t>(RowEncoder(profile, rgb8), rgb8, pixels);
        const auto wide = encoded<std::uint16_t>(RowEncoder(profile, rgba16), rgba16, pixels);
        for (std::uint32_t bits = 0; bits < 65536; ++bits) {
            const float linear = toFloat(pixels[4 * bits]);
            // What is no number is black; what is infinite is as large as can be.
            const double value =
                std::isnan(linear) ? 0 : curve.encoded(std::clamp(linear, -1e5f, 1e5f));
            ASSERT_EQ(narrow[3 * bits], nearestCode(value, 255)) << profile.name() << linear;
            ASSERT_EQ(narrow[3 * bits + 2], narrow[3 * bits]);
            ASSERT_EQ(wide[4 * bits], nearestCode(value, 65535)) << profile.name() << linear;
            ASSERT_EQ(wide[4 * bits + 3], 65535);
        }
    }
}

TEST(RowEncoder, translucentPixelsAreRoundedToTheNearestCodeToo) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<Half> pixels;
    for (int i = 0; i < 60000; ++i) {
        const double alpha = unit(random);
        const double gain = i % 5 == 0 ? 1e-3 : 1;
        for (int channel = 0; channel < 3; ++channel)
            pixels.push_back(half((unit(random) * 1.1 - 0.05) * gain * alpha));
        pixels.push_back(half(alpha));
    }
    for (const ColorProfile& profile : documentProfiles()) {
        const ToneCurve curve = curveOf(profile);
        const auto narrow = encoded<std::uint8_t>(RowEncoder(profile, rgb8), rgb8, pixels);
        const auto wide = encoded<std::uint16_t>(RowEncoder(profile, rgba16), rgba16, pixels);
        for (std::size_t i = 0; i < pixels.size() / 4; ++i) {
            const float alpha = toFloat(pixels[4 * i + 3]);
            const double wideAlpha = nearestCode(alpha, 65535);
            ASSERT_EQ(wide[4 * i + 3], wideAlpha);
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const float color = toFloat(pixels[4 * i + channel]);
                const double onWhite = curve.encoded(color + (1 - alpha));
                ASSERT_EQ(narrow[3 * i + channel], nearestCode(onWhite, 255)) << profile.name();
                const double straight = wideAlpha > 0 ? curve.encoded(color / alpha) : 0;
                ASSERT_EQ(wide[4 * i + channel], nearestCode(straight, 65535)) << profile.name();
            }
        }
    }
}

TEST(RowEncoder, whatIsNotThereIsWhitePaperOrNoColour) {
    const Half nan{0x7E00};
    const Half infinity{0x7C00};
    const std::vector<Half> pixels{
        half(0), half(0),  half(0), half(0),    // nothing
        half(5), half(-5), nan,     half(-0.0), // colour without alpha
        half(1), half(1),  half(1), half(-0.5), // less than nothing
        half(1), half(1),  half(1), nan,        //
        half(1), half(1),  half(1), half(1e-5), // rounds to no alpha in eight bits
        nan,     infinity, half(0), half(1),    //
        half(1), half(0),  half(0), infinity,   // more than opaque
    };
    const auto paper = encoded<std::uint8_t>(rgb8, pixels);
    const auto straight = encoded<std::uint8_t>(rgba8, pixels);
    for (std::size_t i = 0; i < 5; ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_EQ(paper[3 * i + channel], 255) << i;
            EXPECT_EQ(straight[4 * i + channel], 0) << i;
        }
        EXPECT_EQ(straight[4 * i + 3], 0) << i;
    }
    EXPECT_EQ((std::vector<std::uint8_t>(straight.begin() + 20, straight.end())),
              (std::vector<std::uint8_t>{0, 255, 0, 255, 255, 0, 0, 255}));
    EXPECT_EQ((std::vector<std::uint8_t>(paper.begin() + 15, paper.end())),
              (std::vector<std::uint8_t>{0, 255, 0, 255, 0, 0}));
}

TEST(RowEncoder, whiteIsLaidBelowInLinearLight) {
    // Half covered black: half of the light, far brighter than the code in the middle.
    const auto paper = encoded<std::uint8_t>(rgb8, {half(0), half(0), half(0), half(0.5)});
    EXPECT_EQ(paper, (std::vector<std::uint8_t>{188, 188, 188}));
}

TEST(RowEncoder, floatsCarryEncodedValuesWithoutLimits) {
    const std::vector<Half> pixels{half(4), half(-0.25),  half(0.5),  half(1),
                                   half(2), half(-0.125), half(0.25), half(0.5)};
    const ToneCurve& curve = ToneCurve::sRGB();
    for (const AlphaKind alpha : {AlphaKind::none, AlphaKind::straight}) {
        const std::size_t channels = alpha == AlphaKind::none ? 3 : 4;
        const auto floats = encoded<float>(layout(SampleType::float32, alpha), pixels);
        const auto halves = encoded<Half>(layout(SampleType::half, alpha), pixels);
        for (std::size_t i = 0; i < 2; ++i) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                double linear = toFloat(pixels[channel]); // the same straight colour twice
                if (i == 1 && alpha == AlphaKind::none) linear = linear * 0.5 + 0.5;
                const double expected = curve.encoded(linear);
                EXPECT_NEAR(floats[channels * i + channel], expected, 1e-6 * std::fabs(expected));
                EXPECT_EQ(halves[channels * i + channel], half(expected));
            }
            if (channels == 4) {
                EXPECT_EQ(floats[4 * i + 3], i == 0 ? 1.0f : 0.5f);
                EXPECT_EQ(halves[4 * i + 3], half(i == 0 ? 1 : 0.5));
            }
        }
    }
}

TEST(RowEncoder, anyWidthWritesItsOwnBytesOnly) {
    for (const SampleType type :
         {SampleType::unsigned8, SampleType::unsigned16, SampleType::half, SampleType::float32}) {
        for (const AlphaKind alpha : {AlphaKind::none, AlphaKind::straight}) {
            const SampleLayout each = layout(type, alpha);
            const RowEncoder encoder(ColorProfile::sRGB(), each);
            for (const std::size_t width : {0u, 1u, 2u, 3u, 5u, 17u, 255u}) {
                const std::vector<Half> pixels(4 * width, half(1));
                std::vector<std::byte> out(width * each.bytesPerPixel() + 16, std::byte{0x5A});
                encoder.convert(pixels, std::span(out).first(width * each.bytesPerPixel()));
                for (std::size_t i = width * each.bytesPerPixel(); i < out.size(); ++i)
                    ASSERT_EQ(out[i], std::byte{0x5A});
            }
        }
    }
}

TEST(RowEncoder, aProfileWithoutCurvesCountsAsSRGB) {
    const std::vector<Half> pixels{half(0.5), half(0.1), half(0.9), half(1)};
    const ColorProfile broken("broken", std::vector<std::byte>(40));
    EXPECT_EQ(encoded<std::uint8_t>(RowEncoder(broken, rgb8), rgb8, pixels),
              encoded<std::uint8_t>(rgb8, pixels));
}

TEST(RowEncoder, oneEncoderServesManyThreads) {
    std::vector<Half> pixels;
    for (int i = 0; i < 500; ++i)
        pixels.insert(pixels.end(), {half(i / 1000.0), half(0.1), half(0.2), half(i / 500.0)});
    const auto expected = encoded<std::uint16_t>(rgba16, pixels);
    const RowEncoder encoder(ColorProfile::sRGB(), rgba16);
    std::vector<std::vector<std::uint16_t>> found(4);
    {
        std::vector<std::jthread> threads;
        for (auto& result : found)
            threads.emplace_back([&] { result = encoded<std::uint16_t>(encoder, rgba16, pixels); });
    }
    for (const auto& result : found)
        EXPECT_EQ(result, expected);
}

} // namespace ombrel
