#include "IO/SampleRows.h"

#include "Base/Check.h"
#include "Core/ColorProfileReading.h"
#include "IO/TestProfiles.h"
#include "TestSeed.h"
#include "support/TestPlaces.h"

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

using testProfiles::Bytes;
using Random = std::mt19937_64;

constexpr SampleLayout rgb8{SampleModel::rgb, SampleType::unsigned8, AlphaKind::none};
constexpr SampleLayout rgbFloat{SampleModel::rgb, SampleType::float32, AlphaKind::none};
constexpr SampleLayout rgbaFloat{SampleModel::rgb, SampleType::float32, AlphaKind::straight};
constexpr SampleLayout gray8{SampleModel::gray, SampleType::unsigned8, AlphaKind::none};
constexpr SampleLayout cmyk8{SampleModel::cmyk, SampleType::unsigned8, AlphaKind::none};
constexpr SampleLayout labFloat{SampleModel::lab, SampleType::float32, AlphaKind::none};

template <typename Sample>
std::vector<std::byte> bytesOf(const std::vector<Sample>& samples) {
    const auto bytes = std::as_bytes(std::span(samples));
    return {bytes.begin(), bytes.end()};
}

std::vector<float> converted(const RowLineariser& lineariser, std::span<const std::byte> samples,
                             std::size_t pixelCount) {
    std::vector<Half> pixels(4 * pixelCount);
    lineariser.convert(samples, pixels);
    std::vector<float> values(pixels.size());
    std::ranges::transform(pixels, values.begin(), [](Half half) { return toFloat(half); });
    return values;
}

template <typename Sample>
std::vector<float> converted(SampleLayout layout, const Bytes& iccData,
                             const std::vector<Sample>& samples) {
    const std::vector<std::byte> bytes = bytesOf(samples);
    return converted(RowLineariser(layout, iccData), bytes, bytes.size() / layout.bytesPerPixel());
}

// The colour engine's own road from device floats to linear sRGB.
class Engine {
public:
    Engine(const Bytes& iccData, cmsUInt32Number format)
        : source_(LittleCms::openProfile(context_, iccData)), transform_(make(format)) {}
    explicit Engine(cmsUInt32Number labFormat)
        : source_(cmsCreateLab4ProfileTHR(LittleCms::handleOf(context_), cmsD50_xyY())),
          transform_(make(labFormat)) {}

    std::array<float, 3> linearSRGB(const std::vector<float>& device) const {
        std::array<float, 3> out{};
        OMBREL_CHECK(transform_ != nullptr, "the test's profile makes a transform");
        cmsDoTransform(transform_.get(), device.data(), out.data(), 1);
        return out;
    }

private:
    LittleCms::Transform make(cmsUInt32Number format) const {
        const LittleCms::Profile sRGB =
            LittleCms::openProfile(context_, ColorProfile::sRGB().iccData());
        const LittleCms::Curve line(cmsBuildGamma(LittleCms::handleOf(context_), 1));
        for (const auto tag : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag})
            cmsWriteTag(sRGB.get(), tag, line.get());
        return LittleCms::Transform(
            cmsCreateTransformTHR(LittleCms::handleOf(context_), source_.get(), format, sRGB.get(),
                                  TYPE_RGB_FLT, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE));
    }

    LittleCms::Context context_ = LittleCms::makeContext();
    LittleCms::Profile source_;
    LittleCms::Transform transform_;
};

// Half a unit of a half, relative, and what rounding in files leaves.
void expectNear(float value, double expected, double relative, const std::string& what) {
    EXPECT_NEAR(value, expected, std::fabs(expected) * relative + 2e-5) << what;
}

struct LayoutCase {
    SampleLayout layout;
    std::string name;
};

std::vector<LayoutCase> layoutsOf(std::initializer_list<SampleModel> models) {
    constexpr std::array modelNames{"gray", "rgb", "cmyk", "lab"};
    constexpr std::array typeNames{"8", "16", "half", "float"};
    constexpr std::array alphaNames{"", " straight", " premultiplied"};
    std::vector<LayoutCase> cases;
    for (const SampleModel model : models) {
        for (std::size_t type = 0; type < 4; ++type) {
            for (std::size_t alpha = 0; alpha < 3; ++alpha) {
                const std::string name = std::string(modelNames[static_cast<std::size_t>(model)]) +
                                         typeNames[type] + alphaNames[alpha];
                cases.push_back(
                    {{model, static_cast<SampleType>(type), static_cast<AlphaKind>(alpha)}, name});
            }
        }
    }
    return cases;
}

// One sample written in the layout's type; gives back the value it then stands for.
double putSample(std::vector<std::byte>& bytes, SampleType type, double value) {
    const auto put = [&bytes](const auto& stored) {
        const auto at = bytes.size();
        bytes.resize(at + sizeof stored);
        std::memcpy(bytes.data() + at, &stored, sizeof stored);
    };
    switch (type) {
    case SampleType::unsigned8:
        put(static_cast<std::uint8_t>(std::lround(value * 255)));
        return static_cast<double>(std::lround(value * 255)) / 255;
    case SampleType::unsigned16:
        put(static_cast<std::uint16_t>(std::lround(value * 65535)));
        return static_cast<double>(std::lround(value * 65535)) / 65535;
    case SampleType::half:
        put(toHalf(static_cast<float>(value)));
        return toFloat(toHalf(static_cast<float>(value)));
    case SampleType::float32:
        put(static_cast<float>(value));
        return static_cast<float>(value);
    }
    return 0;
}

double decodedSRGB(double x) {
    const double magnitude = std::fabs(x);
    const double y =
        magnitude <= 0.04045 ? magnitude / 12.92 : std::pow((magnitude + 0.055) / 1.055, 2.4);
    return std::copysign(y, x);
}

// Straight colour of one pixel without a profile, by the definitions.
std::array<double, 3> plainLight(SampleModel model, const std::vector<double>& samples) {
    std::array<double, 3> light{};
    for (std::size_t i = 0; i < 3; ++i) {
        double encoded = samples[0];
        if (model == SampleModel::rgb) encoded = samples[i];
        if (model == SampleModel::cmyk) encoded = (1 - samples[i]) * (1 - samples[3]);
        light[i] = decodedSRGB(encoded);
    }
    return light;
}

} // namespace

TEST(RowLineariser, everyIntegerCodeOfAnSRGBFileRoundsAsItsCurveDoes) {
    std::vector<std::uint16_t> codes(65536);
    for (std::size_t i = 0; i < codes.size(); ++i)
        codes[i] = static_cast<std::uint16_t>(i);
    std::vector<std::uint16_t> wide;
    std::vector<std::uint8_t> narrow;
    for (const std::uint16_t code : codes) {
        wide.insert(wide.end(), {code, static_cast<std::uint16_t>(65535 - code), code});
        if (code < 256) {
            const auto low = static_cast<std::uint8_t>(code);
            narrow.insert(narrow.end(), {low, static_cast<std::uint8_t>(255 - low), low});
        }
    }
    const auto halfLight = [](double encoded) {
        return toFloat(toHalf(static_cast<float>(decodedSRGB(encoded))));
    };
    const auto from8 = converted(rgb8, {}, narrow);
    for (std::size_t i = 0; i < 256; ++i) {
        ASSERT_EQ(from8[4 * i], halfLight(static_cast<double>(i) / 255)) << i;
        ASSERT_EQ(from8[4 * i + 1], halfLight(static_cast<double>(255 - i) / 255)) << i;
        ASSERT_EQ(from8[4 * i + 3], 1);
    }
    const auto from16 =
        converted({SampleModel::rgb, SampleType::unsigned16, AlphaKind::none}, {}, wide);
    for (std::size_t i = 0; i < 65536; ++i) {
        ASSERT_EQ(from16[4 * i], halfLight(static_cast<double>(i) / 65535)) << i;
        ASSERT_EQ(from16[4 * i + 1], halfLight(static_cast<double>(65535 - i) / 65535)) << i;
    }
}

TEST(RowLineariser, everyLayoutFollowsTheDefinitionsOfItsModelAndAlpha) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    for (const auto& [layout, name] :
         layoutsOf({SampleModel::gray, SampleModel::rgb, SampleModel::cmyk})) {
        SCOPED_TRACE(name);
        const RowLineariser lineariser(layout, {});
        EXPECT_EQ(lineariser.profile(), ColorProfile::sRGB());
        const bool isFloat = layout.type == SampleType::half || layout.type == SampleType::float32;
        const bool isInk = layout.model == SampleModel::cmyk;
        for (const std::size_t width : {1u, 2u, 3u, 7u, 255u, 256u, 257u, 601u}) {
            std::vector<std::byte> bytes;
            std::vector<std::array<double, 4>> expected;
            for (std::size_t i = 0; i < width; ++i) {
                const int colors =
                    layout.channelCount() - (layout.alpha == AlphaKind::none ? 0 : 1);
                const std::uint64_t kind = random() % 4;
                double alpha = kind == 0 ? 0 : kind == 1 ? 1 : unit(random);
                // The stored alpha decides what the others are divided by.
                std::vector<std::byte> scratch;
                alpha = putSample(scratch, layout.type, alpha);
                if (layout.alpha == AlphaKind::none) alpha = 1;
                const bool isMultiplied = layout.alpha == AlphaKind::premultiplied;
                std::vector<double> samples;
                for (int channel = 0; channel < colors; ++channel) {
                    // Floats may leave 0 to 1; inks may not.
                    const double wide = isFloat && !isInk ? unit(random) * 3 - 1 : unit(random);
                    const double stored =
                        putSample(bytes, layout.type, isMultiplied ? wide * alpha : wide);
                    samples.push_back(!isMultiplied ? stored : alpha > 0 ? stored / alpha : 0);
                }
                if (layout.alpha != AlphaKind::none)
                    static_cast<void>(putSample(bytes, layout.type, alpha));
                if (isInk) {
                    for (double& sample : samples)
                        sample = std::clamp(sample, 0.0, 1.0);
                }
                const auto light = plainLight(layout.model, samples);
                expected.push_back({light[0] * alpha, light[1] * alpha, light[2] * alpha, alpha});
            }
            // Guards behind the row must stay.
            std::vector<Half> pixels(4 * width + 8, Half{0x1234});
            lineariser.convert(bytes, std::span(pixels).first(4 * width));
            for (std::size_t i = 0; i < 4 * width; ++i) {
                ASSERT_NEAR(toFloat(pixels[i]), expected[i / 4][i % 4],
                            std::fabs(expected[i / 4][i % 4]) * 0x1.02p-11 + 6e-8)
                    << "pixel " << i / 4 << " of " << width;
            }
            for (std::size_t i = 4 * width; i < pixels.size(); ++i)
                ASSERT_EQ(pixels[i].bits, 0x1234);
        }
    }
}

TEST(RowLineariser, keepsAnRgbProfileAndTakesItsCurvesAway) {
    const auto copy = [](const ColorProfile& profile) {
        return Bytes(profile.iccData().begin(), profile.iccData().end());
    };
    const std::vector<Bytes> profiles{
        copy(ColorProfile::sRGB()),     copy(ColorProfile::displayP3()),
        copy(ColorProfile::adobeRGB()), testProfiles::withGamma(2.6),
        testProfiles::withGamma(1),     testProfiles::withSamples()};
    for (const Bytes& iccData : profiles) {
        const RowLineariser lineariser(rgbFloat, iccData);
        EXPECT_TRUE(std::ranges::equal(lineariser.profile().iccData(), iccData));
        EXPECT_EQ(lineariser.profile(), ColorProfile::embedded(iccData));
        // The engine goes on to linear sRGB; the matrix brings ours there.
        const auto matrix =
            productOf(linearSRGBFromXYZ(), readColorProfile(iccData).value().shaper.value().toXYZ);
        const Engine engine(iccData, TYPE_RGB_FLT);
        std::vector<float> samples;
        for (int i = 0; i <= 300; ++i) {
            for (const int step : {i, i * 7 % 301, i * 31 % 301})
                samples.push_back(static_cast<float>(step) / 300);
        }
        const auto pixels = converted(rgbFloat, iccData, samples);
        for (std::size_t i = 0; i < samples.size() / 3; ++i) {
            const auto expected =
                engine.linearSRGB({samples[3 * i], samples[3 * i + 1], samples[3 * i + 2]});
            for (std::size_t row = 0; row < 3; ++row) {
                double found = 0;
                for (std::size_t column = 0; column < 3; ++column)
                    found += matrix[row][column] * pixels[4 * i + column];
                ASSERT_NEAR(found, expected[row], 1e-3) << lineariser.profile().name() << i;
            }
        }
    }
}

TEST(RowLineariser, floatsGoOnBeyondBlackAndWhite) {
    const std::vector<float> samples{-0.5f, 2, 4};
    const auto plain = converted(rgbFloat, {}, samples);
    for (std::size_t i = 0; i < 3; ++i)
        expectNear(plain[i], decodedSRGB(samples[i]), 0x1p-11, "sRGB");
    const auto gamma = converted(rgbFloat, testProfiles::withGamma(2.6), samples);
    expectNear(gamma[0], -std::pow(0.5, 2.6), 1e-3, "gamma");
    expectNear(gamma[2], std::pow(4, 2.6), 1e-3, "gamma");
    // Samples end at one; the curve goes on much as the one that was sampled.
    const auto sampled = converted(rgbFloat, testProfiles::withSamples(), samples);
    expectNear(sampled[1], decodedSRGB(2), 0.05, "samples");
    expectNear(sampled[0], decodedSRGB(-0.5), 1e-3, "samples");
}

TEST(RowLineariser, whatIsNoNumberBecomesBlackAndInfinityTheLargestHalf) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> samples{nan, infinity, -infinity, 1e30f};
    for (const AlphaKind alpha : {AlphaKind::straight, AlphaKind::premultiplied}) {
        const auto pixel = converted({SampleModel::rgb, SampleType::float32, alpha}, {}, samples);
        EXPECT_EQ(pixel, (std::vector<float>{0, 65504, -65504, 1}));
    }
    EXPECT_EQ(converted(rgbaFloat, {}, std::vector<float>{1, 1, 1, nan}),
              (std::vector<float>{0, 0, 0, 0}));
    EXPECT_EQ(converted(rgbaFloat, {}, std::vector<float>{1, 1, 1, -infinity}),
              (std::vector<float>{0, 0, 0, 0}));
    const std::vector<Half> halves{{0x7E00}, {0x7C00}, {0xFC00}, {0x7BFF}, {0x7E00}, {0x3C00}};
    EXPECT_EQ(converted({SampleModel::rgb, SampleType::half, AlphaKind::none}, {}, halves),
              (std::vector<float>{0, 65504, -65504, 1, 65504, 0, 1, 1}));
}

TEST(RowLineariser, grayBecomesSRGBByItsOwnCurve) {
    const Bytes iccData = testProfiles::grayWithGamma(1.8);
    EXPECT_EQ(RowLineariser(gray8, iccData).profile(), ColorProfile::sRGB());
    std::vector<std::uint8_t> samples(256);
    for (std::size_t i = 0; i < 256; ++i)
        samples[i] = static_cast<std::uint8_t>(i);
    const auto pixels = converted(gray8, iccData, samples);
    for (std::size_t i = 0; i < 256; ++i) {
        const double expected = std::pow(static_cast<double>(i) / 255, 1.8);
        for (std::size_t channel = 0; channel < 3; ++channel)
            expectNear(pixels[4 * i + channel], expected, 6e-4, std::to_string(i));
        EXPECT_EQ(pixels[4 * i + 3], 1);
    }
}

TEST(RowLineariser, labIsWhatTheColourEngineMakesOfIt) {
    const Engine engine(TYPE_Lab_FLT);
    for (const std::vector<float>& lab : std::vector<std::vector<float>>{{0, 0, 0},
                                                                         {100, 0, 0},
                                                                         {50, 0, 0},
                                                                         {5, 1, -2},
                                                                         {54, 81, 70},
                                                                         {88, -79, 81},
                                                                         {30, 68, -112},
                                                                         {97, -15, 94},
                                                                         {70, -120, 120}}) {
        const auto pixel = converted(labFloat, {}, lab);
        const auto expected = engine.linearSRGB(lab);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(pixel[i], expected[i], 6e-4 * std::fabs(expected[i]) + 1e-4)
                << lab[0] << ", " << lab[1] << ", " << lab[2];
        }
    }
}

TEST(RowLineariser, inksWithAProfileGoThroughItsTables) {
    std::vector<Bytes> profiles{testProfiles::press()};
    // A real one, of version 2 with curves that are no lines, lies in a file of the corpus.
    const Bytes real = testProfiles::foundIn(TestPlaces::corpus() / "psd/oiio-pattern2-8-cmyk.psd",
                                             "prtrCMYKLab ");
    if (!real.empty()) profiles.push_back(real);
    std::vector<std::uint8_t> inks;
    for (int i = 0; i < 3000; ++i) {
        for (const int factor : {7, 31, 59, 101})
            inks.push_back(static_cast<std::uint8_t>(i * factor));
    }
    for (const std::uint8_t whole : {0, 255})
        inks.insert(inks.end(), {whole, whole, whole, whole, whole, 0, 0, 0, 0, 0, 0, whole});
    for (const Bytes& iccData : profiles) {
        EXPECT_EQ(RowLineariser(cmyk8, iccData).profile(), ColorProfile::sRGB());
        const Engine engine(iccData, TYPE_CMYK_FLT);
        const auto pixels = converted(cmyk8, iccData, inks);
        for (std::size_t i = 0; i < inks.size() / 4; ++i) {
            std::vector<float> device;
            for (std::size_t channel = 0; channel < 4; ++channel)
                device.push_back(static_cast<float>(inks[4 * i + channel]) / 2.55f);
            const auto expected = engine.linearSRGB(device);
            for (std::size_t channel = 0; channel < 3; ++channel)
                ASSERT_NEAR(pixels[4 * i + channel], expected[channel], 6e-4) << i;
        }
    }
}

TEST(RowLineariser, rgbByTablesBecomesSRGB) {
    const Bytes iccData = testProfiles::scanner();
    EXPECT_EQ(RowLineariser(rgb8, iccData).profile(), ColorProfile::sRGB());
    const Engine engine(iccData, TYPE_RGB_FLT);
    const std::vector<std::uint8_t> samples{0, 128, 255, 255, 255, 255, 10, 200, 90};
    const auto pixels = converted(rgb8, iccData, samples);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto expected = engine.linearSRGB({static_cast<float>(samples[3 * i]) / 255,
                                                 static_cast<float>(samples[3 * i + 1]) / 255,
                                                 static_cast<float>(samples[3 * i + 2]) / 255});
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(pixels[4 * i + channel], expected[channel], 1e-3);
    }
}

TEST(RowLineariser, aProfileForOtherSamplesIsIgnored) {
    const std::vector<std::uint8_t> samples{10, 128, 250};
    const auto plain = converted(rgb8, {}, samples);
    for (const Bytes& iccData :
         {testProfiles::press(), testProfiles::grayWithGamma(1), Bytes(200)}) {
        EXPECT_EQ(RowLineariser(rgb8, iccData).profile(), ColorProfile::sRGB());
        EXPECT_EQ(converted(rgb8, iccData, samples), plain);
    }
    const std::vector<std::uint8_t> gray{77};
    EXPECT_EQ(converted(gray8, testProfiles::scanner(), gray), converted(gray8, {}, gray));
}

TEST(RowLineariser, damagedProfilesAlwaysLeaveARoad) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    const Bytes press = testProfiles::press();
    const Bytes scanner = testProfiles::scanner();
    for (int round = 0; round < 200; ++round) {
        const bool isPress = round % 2 == 0;
        Bytes iccData = isPress ? press : scanner;
        for (std::uint64_t flips = 1 + random() % 6; flips > 0; --flips) {
            // Mostly where headers and counts lie.
            const std::size_t range = random() % 3 == 0 ? iccData.size() : 400;
            iccData[random() % range] = static_cast<std::byte>(random());
        }
        if (random() % 8 == 0) iccData.resize(random() % iccData.size());
        const std::vector<std::uint8_t> samples{1, 2, 3, 250, 128, 9, 0, 255, 31, 64, 77, 93};
        const auto pixels = converted(isPress ? cmyk8 : rgb8, iccData, samples);
        for (const float value : pixels)
            ASSERT_TRUE(std::isfinite(value));
    }
}

TEST(RowLineariser, oneConverterServesManyThreads) {
    const std::vector<std::pair<SampleLayout, Bytes>> cases{
        {cmyk8, testProfiles::press()},
        {{SampleModel::rgb, SampleType::unsigned16, AlphaKind::straight}, {}},
        {rgbFloat, testProfiles::withSamples()},
    };
    for (const auto& [layout, iccData] : cases) {
        const RowLineariser lineariser(layout, iccData);
        const std::size_t width = 301;
        std::vector<std::byte> samples(width * layout.bytesPerPixel());
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<std::byte>(i * 37 % 61);
        const std::vector<float> expected = converted(lineariser, samples, width);
        std::vector<std::vector<float>> found(4);
        {
            std::vector<std::jthread> threads;
            for (std::vector<float>& result : found) {
                threads.emplace_back([&] {
                    for (int round = 0; round < 20; ++round)
                        result = converted(lineariser, samples, width);
                });
            }
        }
        for (const std::vector<float>& result : found)
            EXPECT_EQ(result, expected);
    }
}

} // namespace ombrel
