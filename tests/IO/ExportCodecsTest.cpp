// Every encoder against the format's own library, called here directly: what was put in must come
// out, with its profile and resolution.
#include "IO/ImageCodecs.h"
#include "IO/LibraryDecoders.h"
#include "support/StoredRows.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>
#include <random>
#include <string>

namespace ombrel {
namespace {

using test::DecodedFile;

struct Encoder {
    ImageFormat format;
    DecodedFile (*decode)(std::span<const std::byte>);
    double resolutionStep; ///< how far the stored resolution may be from the one asked for

    std::string name() const { return std::string(traitsOf(format).name); }
    const ImageCodec& codec() const { return codecOf(format); }
};

constexpr Encoder encoders[] = {
    {ImageFormat::png, test::decodePng, 0.0127},    {ImageFormat::tiff, test::decodeTiff, 0.00006},
    {ImageFormat::webp, test::decodeWebp, 0.00006}, {ImageFormat::jpeg, test::decodeJpeg, 0.00006},
    {ImageFormat::heic, test::decodeHeic, 0.00006},
};

std::uint64_t seed() {
    const char* text = std::getenv("OMBREL_TEST_SEED");
    return text != nullptr ? std::stoull(text) : 20250611;
}

/// Samples in `layout`: a third noise, a third ramps, a third flat, so that every path of a
/// compressor is taken. Floats stay finite and pass 1 and 0.
std::vector<std::byte> picture(PixelSize size, SampleLayout layout) {
    std::mt19937_64 random(seed());
    std::vector<std::byte> bytes;
    const auto put = [&](auto value) {
        const auto raw = std::bit_cast<std::array<std::byte, sizeof(value)>>(value);
        bytes.insert(bytes.end(), raw.begin(), raw.end());
    };
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                const std::int64_t region = (y / 16 + x / 40) % 3;
                const auto value = static_cast<std::uint32_t>(
                    region == 0   ? random()
                    : region == 1 ? static_cast<std::uint64_t>(x * 400 + y * 700 + channel * 9000)
                                  : static_cast<std::uint64_t>(channel) * 20000);
                switch (layout.bytesPerSample()) {
                case 1:
                    put(static_cast<std::uint8_t>(value >> 8));
                    break;
                case 2:
                    put(static_cast<std::uint16_t>(value));
                    break;
                default:
                    put(static_cast<float>(value % 100000) / 40000.0f - 0.5f);
                }
            }
        }
    }
    return bytes;
}

/// A valid profile that is not sRGB, made by the colour library.
std::vector<std::byte> profileBytes() {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.68, 0.32, 1}, {0.265, 0.69, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* curves[] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsUInt32Number length = 0;
    cmsSaveProfileToMem(profile, nullptr, &length);
    std::vector<std::byte> bytes(length);
    cmsSaveProfileToMem(profile, bytes.data(), &length);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return bytes;
}

std::vector<std::byte> encoded(const Encoder& encoder, const ImageEncodeRequest& request,
                               std::span<const std::byte> samples) {
    test::StoredRows rows(samples, static_cast<std::size_t>(request.size.width) *
                                       request.layout.bytesPerPixel());
    MemorySink sink;
    const auto outcome = encoder.codec().encode(request, rows, sink);
    EXPECT_TRUE(outcome.has_value()) << encoder.name() << " " << request.size.text();
    return sink.takeBytes();
}

constexpr PixelSize sizes[] = {{1, 1}, {1, 700}, {3, 2}, {255, 5}, {300, 301}, {1031, 517}};
constexpr BitDepth depths[] = {BitDepth::eight, BitDepth::sixteen, BitDepth::thirtyTwo};

TEST(ExportCodecs, losslessFormatsKeepEverySample) {
    const std::vector<std::byte> profile = profileBytes();
    for (const Encoder& encoder : encoders) {
        if (traitsOf(encoder.format).isLossy) continue;
        for (const BitDepth depth : depths) {
            for (const PixelSize size : sizes) {
                SCOPED_TRACE(encoder.name() + " " + std::to_string(bitsPerChannel(depth)) + " " +
                             size.text());
                const SampleLayout layout = encoder.codec().layoutFor(depth);
                const auto samples = picture(size, layout);
                const auto file = encoded(encoder, {size, layout, 300, profile, 0.9}, samples);
                const DecodedFile decoded = encoder.decode(file);
                ASSERT_EQ(decoded.error, "");
                EXPECT_EQ(decoded.size, size);
                ASSERT_EQ(decoded.layout, layout);
                EXPECT_TRUE(decoded.samples == samples);
                EXPECT_TRUE(decoded.iccData == profile);
            }
        }
    }
}

/// Smooth colours that a lossy format should keep well.
std::vector<std::byte> gradient(PixelSize size, SampleLayout layout, bool opaque) {
    std::vector<std::byte> bytes;
    const auto channels = static_cast<std::size_t>(layout.channelCount());
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            const double u = static_cast<double>(x) / 512;
            const double v = static_cast<double>(y) / 512;
            const double values[] = {0.5 + 0.4 * std::sin(6 * u), 0.5 + 0.4 * std::cos(5 * v),
                                     0.5 + 0.4 * std::sin(4 * (u + v)),
                                     opaque ? 1.0 : 0.5 + 0.4 * std::cos(3 * (u - v))};
            for (std::size_t channel = 0; channel < channels; ++channel) {
                const auto value = static_cast<unsigned>(std::lround(values[channel] * 65535));
                if (layout.bytesPerSample() == 1) {
                    bytes.push_back(static_cast<std::byte>(value >> 8));
                } else {
                    bytes.push_back(static_cast<std::byte>(value & 0xFF));
                    bytes.push_back(static_cast<std::byte>(value >> 8));
                }
            }
        }
    }
    return bytes;
}

double sampleAt(std::span<const std::byte> bytes, SampleLayout layout, std::size_t index) {
    if (layout.bytesPerSample() == 1) return std::to_integer<int>(bytes[index]) / 255.0;
    return (std::to_integer<int>(bytes[2 * index]) +
            256 * std::to_integer<int>(bytes[2 * index + 1])) /
           65535.0;
}

TEST(ExportCodecs, lossyFormatsStayNearAtHighQuality) {
    const std::vector<std::byte> profile = profileBytes();
    for (const Encoder& encoder : encoders) {
        if (!traitsOf(encoder.format).isLossy) continue;
        for (const BitDepth depth : depths) {
            for (const PixelSize size : std::span(sizes).first(5)) {
                for (const bool opaque : {true, false}) {
                    SCOPED_TRACE(encoder.name() + " " + std::to_string(bitsPerChannel(depth)) +
                                 " " + size.text() + (opaque ? " opaque" : " with alpha"));
                    const SampleLayout layout = encoder.codec().layoutFor(depth);
                    if (!opaque && layout.alpha == AlphaKind::none) continue;
                    const auto samples = gradient(size, layout, opaque);
                    const auto file = encoded(encoder, {size, layout, 300, profile, 0.95}, samples);
                    const DecodedFile decoded = encoder.decode(file);
                    ASSERT_EQ(decoded.error, "");
                    EXPECT_EQ(decoded.size, size);
                    EXPECT_TRUE(decoded.iccData == profile);
                    EXPECT_EQ(decoded.layout.alpha, opaque ? AlphaKind::none : AlphaKind::straight);
                    const auto in = static_cast<std::size_t>(layout.channelCount());
                    const auto out = static_cast<std::size_t>(decoded.layout.channelCount());
                    double worst = 0;
                    double sum = 0;
                    const auto pixels = static_cast<std::size_t>(size.width * size.height);
                    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
                        for (std::size_t channel = 0; channel < out; ++channel) {
                            const double error = std::abs(
                                sampleAt(samples, layout, pixel * in + channel) -
                                sampleAt(decoded.samples, decoded.layout, pixel * out + channel));
                            worst = std::max(worst, error);
                            sum += error;
                        }
                    }
                    EXPECT_LT(worst, 0.04);
                    EXPECT_LT(sum / static_cast<double>(pixels * out), 0.01);
                }
            }
        }
    }
}

TEST(ExportCodecs, resolutionSurvivesToTheUnitOfTheFormat) {
    constexpr double resolutions[] = {72, 300, 72.5, 118.11, 1, 9600, 0.25};
    for (const Encoder& encoder : encoders) {
        for (const double resolution : resolutions) {
            SCOPED_TRACE(encoder.name() + " " + std::to_string(resolution));
            const SampleLayout layout = encoder.codec().layoutFor(BitDepth::eight);
            const PixelSize size{16, 16};
            const auto file =
                encoded(encoder, {size, layout, resolution, {}, 0.9}, gradient(size, layout, true));
            const DecodedFile decoded = encoder.decode(file);
            ASSERT_EQ(decoded.error, "");
            EXPECT_NEAR(decoded.resolution, resolution, encoder.resolutionStep);
            EXPECT_TRUE(decoded.iccData.empty());
            EXPECT_EQ(decoded.orientation, 1);
        }
    }
}

TEST(ExportCodecs, aProfileLargerThanOneJpegSegmentIsKept) {
    std::vector<std::byte> profile(200000);
    std::mt19937 random(static_cast<unsigned>(seed()));
    for (std::byte& byte : profile)
        byte = static_cast<std::byte>(random());
    const PixelSize size{16, 16};
    const Encoder& jpeg = encoders[3];
    const SampleLayout layout = jpeg.codec().layoutFor(BitDepth::eight);
    const auto file = encoded(jpeg, {size, layout, 72, profile, 0.9}, gradient(size, layout, true));
    EXPECT_TRUE(test::decodeJpeg(file).iccData == profile);
}

/// Fails every write from the `allowance`th byte on.
class FullSink final : public ByteSink {
public:
    explicit FullSink(std::uint64_t allowance) : allowance_(allowance) {}
    std::uint64_t size() const override { return memory_.size(); }
    bool writeAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
        if (offset + bytes.size() > allowance_) return false;
        return memory_.writeAt(offset, bytes);
    }
    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override {
        return memory_.readAt(offset, out);
    }

private:
    MemorySink memory_;
    std::uint64_t allowance_;
};

/// Ends after some rows with an error of its own.
class EndingRows final : public SampleRowSource {
public:
    explicit EndingRows(std::int64_t rows) : left_(rows) {}
    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte>) override {
        left_ -= rowCount;
        if (left_ < 0) return std::unexpected(ImageIOError::cancelled());
        return {};
    }

private:
    std::int64_t left_;
};

/// Row sources of no matter what size: only the header is looked at.
TEST(ExportCodecs, tiffTurnsBigOnlyWhereTheFileCouldPassFourGibibytes) {
    struct Case {
        PixelSize size;
        int version; ///< 42 classic, 43 BigTIFF
    };
    constexpr Case cases[] = {{{100, 100}, 42},     {{30000, 30000}, 42}, {{33000, 33000}, 43},
                              {{300000, 3000}, 42}, {{3000, 300000}, 42}, {{300000, 300000}, 43}};
    const ImageCodec& tiff = codecOf(ImageFormat::tiff);
    for (const Case& c : cases) {
        EndingRows rows(0);
        MemorySink sink;
        const auto outcome =
            tiff.encode({c.size, tiff.layoutFor(BitDepth::eight), 72, {}, 0.9}, rows, sink);
        EXPECT_FALSE(outcome.has_value());
        ASSERT_GE(sink.size(), 8u);
        EXPECT_EQ(std::to_integer<int>(sink.bytes()[2]), c.version) << c.size.text();
    }
}

TEST(ExportCodecs, aSinkThatFillsUpEndsTheEncoding) {
    for (const Encoder& encoder : encoders) {
        const PixelSize size{200, 200};
        const SampleLayout layout = encoder.codec().layoutFor(BitDepth::eight);
        const auto samples = picture(size, layout);
        const ImageEncodeRequest request{size, layout, 72, {}, 0.9};
        const std::size_t length = encoded(encoder, request, samples).size();
        for (const std::size_t allowance :
             {std::size_t{0}, std::size_t{10}, length / 2, length - 1}) {
            SCOPED_TRACE(encoder.name() + " " + std::to_string(allowance));
            test::StoredRows rows(samples, 200 * layout.bytesPerPixel());
            FullSink sink(allowance);
            const auto outcome = encoder.codec().encode(request, rows, sink);
            ASSERT_FALSE(outcome.has_value());
            EXPECT_EQ(outcome.error(), ImageIOError::encodingFailed());
        }
    }
}

TEST(ExportCodecs, anErrorOfTheRowsEndsTheEncodingWithIt) {
    for (const Encoder& encoder : encoders) {
        for (const std::int64_t rowCount : {0, 100}) {
            SCOPED_TRACE(encoder.name());
            const SampleLayout layout = encoder.codec().layoutFor(BitDepth::eight);
            EndingRows rows(rowCount);
            MemorySink sink;
            const auto outcome =
                encoder.codec().encode({{300, 2000}, layout, 72, {}, 0.9}, rows, sink);
            ASSERT_FALSE(outcome.has_value());
            EXPECT_EQ(outcome.error(), ImageIOError::cancelled());
        }
    }
}

} // namespace
} // namespace ombrel
