// Counting tones, against a plain loop.
#include "Engine/ToneCounts.h"

#include "Base/Half.h"
#include "Core/ToneCurve.h"
#include "Engine/Kernels/CountTones.h"
#include "Engine/Kernels/SimdTargets.h"
#include "TestSeed.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace ombrel {

namespace {

struct Pixels {
    std::vector<std::uint16_t> halves;
    std::vector<std::uint8_t> coverage;
    std::size_t count() const { return coverage.size(); }
};

/// Ordinary pixels, opaque and translucent, and all that floats can hold.
Pixels randomPixels(std::size_t count, std::mt19937& random) {
    Pixels pixels;
    const auto unit = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f; };
    for (std::size_t i = 0; i < count; ++i) {
        const float alpha = random() % 3 == 0 ? unit() : 1;
        for (int channel = 0; channel < 4; ++channel) {
            const float value = channel == 3 ? alpha : alpha * (1.2f * unit() - 0.1f);
            const bool isAny = random() % 16 == 0;
            pixels.halves.push_back(isAny ? static_cast<std::uint16_t>(random())
                                          : toHalf(value).bits);
        }
        pixels.coverage.push_back(static_cast<std::uint8_t>(random()));
    }
    return pixels;
}

ToneCounts countedByHand(const Pixels& pixels, bool hasCoverage, const LuminanceWeights& weights) {
    ToneCounts counts;
    for (std::size_t i = 0; i < pixels.count(); ++i) {
        if (hasCoverage && pixels.coverage[i] < 128) continue;
        std::array<float, 4> value{};
        for (std::size_t channel = 0; channel < 4; ++channel)
            value[channel] = toFloat(Half{pixels.halves[4 * i + channel]});
        if (!(value[3] > 0)) continue;
        counts.addPixels(1);
        for (std::size_t channel = 0; channel < 3; ++channel)
            value[channel] /= value[3];
        value[3] = weights[0] * value[0] + weights[1] * value[1];
        value[3] += weights[2] * value[2];
        for (std::size_t channel = 0; channel < 4; ++channel) {
            const float tone = toFloat(toHalf(value[channel]));
            std::size_t slot = 0;
            if (tone > 1) {
                slot = ToneCounts::tones + 1;
            } else if (tone >= 0) {
                slot = 1 + (toHalf(std::abs(tone)).bits);
            }
            ++counts.counts()[channel * ToneCounts::stride + slot];
        }
    }
    return counts;
}

} // namespace

TEST(ToneCounts, areThoseOfAPlainLoopOnEveryTarget) {
    std::mt19937 random(static_cast<std::uint32_t>(testSeed()));
    const LuminanceWeights weights = luminanceWeightsOf(ColorProfile::displayP3());
    const Pixels pixels = randomPixels(5000, random);
    for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
        const Kernels::SimdTargetOverride scope(target);
        for (const std::size_t count : {0u, 1u, 5u, 255u, 256u, 257u, 5000u}) {
            SCOPED_TRACE(testing::Message() << target.name << " " << count);
            Pixels some = pixels;
            some.coverage.resize(count);
            // Exactly as long as told, so that the sanitizer sees who reads further.
            some.halves.assign(pixels.halves.begin(),
                               pixels.halves.begin() + static_cast<std::ptrdiff_t>(4 * count));
            for (const bool hasCoverage : {false, true}) {
                ToneCounts counts;
                Kernels::countTones(some.halves.data(), count,
                                    hasCoverage ? some.coverage.data() : nullptr, weights, counts);
                ASSERT_EQ(counts, countedByHand(some, hasCoverage, weights));
            }
        }
    }
}

TEST(ToneCounts, figuresAndBinsAreThoseOfTheSortedTones) {
    std::mt19937 random(static_cast<std::uint32_t>(testSeed()));
    for (const std::size_t count : {1u, 2u, 7u, 1000u}) {
        Pixels pixels = randomPixels(count, random);
        for (std::size_t i = 0; i < count; ++i) {
            const float tone = std::clamp(toFloat(Half{pixels.halves[4 * i]}), -1.0f, 2.0f);
            pixels.halves[4 * i] = toHalf(std::isnan(tone) ? 0.5f : tone).bits;
            pixels.halves[4 * i + 3] = toHalf(1).bits;
        }
        ToneCounts counts;
        Kernels::countTones(pixels.halves.data(), count, nullptr, {}, counts);
        for (const ToneScale scale : {ToneScale::linear, ToneScale::perceptual}) {
            std::vector<double> sorted;
            for (std::size_t i = 0; i < count; ++i) {
                const double light = std::clamp<double>(toFloat(Half{pixels.halves[4 * i]}), 0, 1);
                sorted.push_back(
                    255 * (scale == ToneScale::linear ? light : ToneCurve::sRGB().encoded(light)));
            }
            std::ranges::sort(sorted);
            double mean = 0;
            for (const double value : sorted)
                mean += value / static_cast<double>(count);
            double squares = 0;
            for (const double value : sorted)
                squares += (value - mean) * (value - mean) / static_cast<double>(count);
            const auto figures = counts.figuresOf(ToneChannel::red, scale);
            EXPECT_NEAR(figures.mean, mean, 1e-6);
            EXPECT_NEAR(figures.deviation, std::sqrt(squares), 1e-3);
            EXPECT_EQ(figures.median, sorted[(count - 1) / 2]);
            ToneCounts::Bins bins{};
            for (const double value : sorted)
                ++bins[static_cast<std::size_t>(std::lround(value))];
            EXPECT_EQ(counts.binsOf(ToneChannel::red, scale), bins);
        }
    }
    EXPECT_EQ(ToneCounts().figuresOf(ToneChannel::red, ToneScale::linear), ToneCounts::Figures{});
}

TEST(ToneCounts, theEndsTellWhatIsClipped) {
    std::vector<std::uint16_t> halves;
    for (const float red : {-0.5f, -0.0f, 0.0f, 0.25f, 1.0f, 3.0f, 4.0f})
        for (const float value : {red, 0.5f, 0.5f, 1.0f})
            halves.push_back(toHalf(value).bits);
    ToneCounts counts;
    Kernels::countTones(halves.data(), 7, nullptr, {0, 1, 0}, counts);
    EXPECT_EQ(counts.shadows(ToneChannel::red), 3u);
    EXPECT_EQ(counts.highlights(ToneChannel::red), 3u);
    EXPECT_EQ(counts.shadows(ToneChannel::luminance), 0u);
    ToneCounts twice = counts;
    twice += counts;
    EXPECT_EQ(twice.pixelCount(), 14u);
    EXPECT_EQ(twice.highlights(ToneChannel::red), 6u);
}

TEST(LuminanceWeights, areOneForWhiteInEveryProfile) {
    for (const ColorProfile& profile : ColorProfile::builtIn()) {
        const LuminanceWeights weights = luminanceWeightsOf(profile);
        EXPECT_NEAR(weights[0] + weights[1] + weights[2], 1, 1e-4) << profile.name();
    }
    EXPECT_FLOAT_EQ(luminanceWeightsOf(ColorProfile::sRGB())[1], 0.7152f);
    EXPECT_GT(luminanceWeightsOf(ColorProfile::displayP3())[0], 0.22f) << "a redder red";
}

} // namespace ombrel
