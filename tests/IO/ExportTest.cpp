// Export as a whole: merged pixels in, files out, judged by the formats' own libraries and by
// formulas in double.
#include "IO/ImageCodecs.h"
#include "IO/ImageExporter.h"
#include "IO/LibraryDecoders.h"
#include "support/ProceduralBands.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <lcms2.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <fstream>

namespace ombrel {
namespace {

namespace fs = std::filesystem;
using test::DecodedFile;
using test::ProceduralBands;

using Decode = DecodedFile (*)(std::span<const std::byte>);
constexpr Decode decoders[] = {test::decodePng, test::decodeJpeg, test::decodeHeic,
                               test::decodeTiff, test::decodeWebp};

DecodedFile decoded(ImageFormat format, std::span<const std::byte> file) {
    return decoders[static_cast<std::size_t>(format)](file);
}

/// sRGB primaries and a curve of x^gamma, so that the samples to expect are a plain formula.
ColorProfile gammaProfile(double gamma) {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, gamma);
    cmsToneCurve* curves[] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsUInt32Number length = 0;
    cmsSaveProfileToMem(profile, nullptr, &length);
    std::vector<std::byte> bytes(length);
    cmsSaveProfileToMem(profile, bytes.data(), &length);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return {"Test", bytes};
}

Canvas canvasOf(PixelSize size, BitDepth depth, double gamma = 1) {
    Canvas canvas;
    canvas.size = size;
    canvas.resolution = 144;
    canvas.profile = gammaProfile(gamma);
    canvas.bitDepth = depth;
    return canvas;
}

double sampleOf(const DecodedFile& file, std::size_t index) {
    const std::byte* at = file.samples.data() + index * file.layout.bytesPerSample();
    if (file.layout.type == SampleType::unsigned8) return std::to_integer<int>(*at) / 255.0;
    if (file.layout.type == SampleType::float32) {
        float value = 0;
        std::memcpy(&value, at, sizeof(value));
        return static_cast<double>(value);
    }
    std::uint16_t value = 0;
    std::memcpy(&value, at, sizeof(value));
    return value / 65535.0;
}

std::vector<std::byte> contents(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(stream)), {});
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

PremultipliedColor softPixel(std::int64_t x, std::int64_t y) {
    if ((x + y) % 7 == 0) return {}; // fully transparent
    const float alpha = (x + y) % 5 == 0 ? 1.0f : static_cast<float>((x * 13 + y * 7) % 97) / 97.0f;
    return {alpha * static_cast<float>(x % 101) / 100.0f,
            alpha * static_cast<float>(y % 59) / 58.0f,
            alpha * static_cast<float>((x ^ y) % 33) / 32.0f, alpha};
}

TEST(Export, losslessFormatsHoldStraightSamplesOfTheDocument) {
    constexpr PixelSize sizes[] = {{1, 1}, {300, 517}, {257, 3}};
    constexpr ImageFormat formats[] = {ImageFormat::png, ImageFormat::tiff, ImageFormat::webp};
    for (const ImageFormat format : formats) {
        for (const BitDepth depth : {BitDepth::eight, BitDepth::sixteen, BitDepth::thirtyTwo}) {
            for (const double gamma : {1.0, 2.2}) {
                for (const PixelSize size : sizes) {
                    SCOPED_TRACE(std::string(traitsOf(format).name) + " " +
                                 std::to_string(bitsPerChannel(depth)) + " " + size.text() +
                                 " gamma " + std::to_string(gamma));
                    const Canvas canvas = canvasOf(size, depth, gamma);
                    ProceduralBands bands(size, softPixel);
                    const auto file = ImageExporter::data(bands, format, {}, canvas);
                    ASSERT_TRUE(file.has_value());
                    EXPECT_EQ(bands.rowsRead, size.height);
                    const DecodedFile out = decoded(format, *file);
                    ASSERT_EQ(out.error, "");
                    ASSERT_EQ(out.size, size);
                    ASSERT_EQ(out.layout, codecOf(format).layoutFor(depth));
                    EXPECT_TRUE(std::ranges::equal(out.iccData, canvas.profile.iccData()));
                    EXPECT_NEAR(out.resolution, 144, 0.013);
                    // Half a step of the integer, and the rounding of float arithmetic.
                    const double step = out.layout.type == SampleType::unsigned8    ? 1 / 255.0
                                        : out.layout.type == SampleType::unsigned16 ? 1 / 65535.0
                                                                                    : 0;
                    double worst = 0;
                    for (std::size_t i = 0; i < out.samples.size() / out.layout.bytesPerSample();
                         ++i) {
                        const auto pixel = static_cast<std::int64_t>(i / 4);
                        const auto halves =
                            softPixel(pixel % size.width, pixel / size.width).halves();
                        const auto alpha = static_cast<double>(toFloat(halves[3]));
                        double expected = alpha;
                        if (i % 4 != 3) {
                            const auto value = static_cast<double>(toFloat(halves[i % 4]));
                            expected = alpha > 0 ? std::pow(value / alpha, 1 / gamma) : 0;
                            if (step > 0) expected = std::clamp(expected, 0.0, 1.0);
                        }
                        worst = std::max(worst, std::abs(sampleOf(out, i) - expected));
                    }
                    EXPECT_LE(worst, 0.5 * step + 2e-6);
                }
            }
        }
    }
}

TEST(Export, everyHalfIsRoundedToTheNearestSixteenBitSample) {
    const PixelSize size{256, 256};
    const auto halfAt = [](std::int64_t x, std::int64_t y) {
        return Half{static_cast<std::uint16_t>(y * 256 + x)};
    };
    ProceduralBands bands(size, [&](std::int64_t x, std::int64_t y) {
        return PremultipliedColor{toFloat(halfAt(x, y)), 0, 0, 1};
    });
    const auto file =
        ImageExporter::data(bands, ImageFormat::png, {}, canvasOf(size, BitDepth::sixteen));
    ASSERT_TRUE(file.has_value());
    const DecodedFile out = test::decodePng(*file);
    for (std::int64_t y = 0; y < 256; ++y) {
        for (std::int64_t x = 0; x < 256; ++x) {
            const auto value = static_cast<double>(toFloat(halfAt(x, y)));
            const double bounded = value > 0 ? std::min(value, 1.0) : 0; // NaN becomes 0
            ASSERT_EQ(std::lround(sampleOf(out, static_cast<std::size_t>(y * 256 + x) * 4) * 65535),
                      std::lround(bounded * 65535))
                << std::hex << halfAt(x, y).bits;
        }
    }
}

TEST(Export, formatsWithoutAlphaComposeOntoWhite) {
    const PixelSize size{64, 64};
    struct Case {
        PremultipliedColor pixel;
        double expected[3]; ///< linear
    };
    constexpr Case cases[] = {
        {{0, 0, 0, 0}, {1, 1, 1}},
        {{0, 0, 0, 0.5f}, {0.5, 0.5, 0.5}},
        {{0.25f, 0, 0.5f, 0.5f}, {0.75, 0.5, 1}},
        {{0.2f, 0.4f, 0.6f, 1}, {0.2, 0.4, 0.6}},
    };
    for (const Case& c : cases) {
        ProceduralBands bands(size, [&](std::int64_t, std::int64_t) { return c.pixel; });
        const auto file = ImageExporter::data(bands, ImageFormat::jpeg, {1.0, {}},
                                              canvasOf(size, BitDepth::eight, 2.2));
        ASSERT_TRUE(file.has_value());
        const DecodedFile out = test::decodeJpeg(*file);
        ASSERT_EQ(out.error, "");
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(sampleOf(out, channel), std::pow(c.expected[channel], 1 / 2.2), 1.6 / 255)
                << c.pixel.text();
        }
    }
}

TEST(Export, theAskedDepthOverridesTheDocuments) {
    const PixelSize size{8, 8};
    ProceduralBands bands(size, softPixel);
    const auto file = ImageExporter::data(bands, ImageFormat::tiff, {0.9, BitDepth::thirtyTwo},
                                          canvasOf(size, BitDepth::eight));
    ASSERT_TRUE(file.has_value());
    EXPECT_EQ(test::decodeTiff(*file).layout.type, SampleType::float32);
}

TEST(Export, lowerQualityMakesSmallerFiles) {
    const PixelSize size{256, 256};
    for (const ImageFormat format : {ImageFormat::jpeg, ImageFormat::heic}) {
        std::size_t before = 0;
        for (const double quality : {0.0, 0.3, 0.7, 1.0}) {
            ProceduralBands bands(size, softPixel);
            const auto file =
                ImageExporter::data(bands, format, {quality, {}}, canvasOf(size, BitDepth::eight));
            ASSERT_TRUE(file.has_value());
            EXPECT_GT(file->size(), before);
            before = file->size();
        }
    }
}

TEST(Export, sidesBeyondTheFormatAreRefusedBeforeAnyWork) {
    const test::TemporaryFolder folder;
    for (const ImageCodec& codec : imageCodecs()) {
        for (const PixelSize size : {PixelSize{codec.largestSide + 1, 1},
                                     PixelSize{1, codec.largestSide + 1}, PixelSize{0, 0}}) {
            ProceduralBands bands(size, softPixel);
            const auto outcome = ImageExporter::write(
                bands, codec.format, {}, canvasOf(size, BitDepth::eight), folder / "out");
            ASSERT_FALSE(outcome.has_value());
            EXPECT_EQ(outcome.error(), ImageIOError::encodingFailed());
            EXPECT_EQ(bands.reads, 0);
            EXPECT_EQ(folder.names().size(), 0u);
        }
    }
}

TEST(Export, theLargestSideIsWritten) {
    for (const ImageFormat format :
         {ImageFormat::jpeg, ImageFormat::webp, ImageFormat::png, ImageFormat::tiff}) {
        const PixelSize size{std::min<std::int64_t>(codecOf(format).largestSide, 300000), 2};
        ProceduralBands bands(size, softPixel);
        const auto file = ImageExporter::data(bands, format, {}, canvasOf(size, BitDepth::eight));
        ASSERT_TRUE(file.has_value()) << traitsOf(format).name;
        const DecodedFile out = decoded(format, *file);
        EXPECT_EQ(out.error, "");
        EXPECT_EQ(out.size, size);
    }
}

enum class Disturbance { cancelAtFirstBand, cancelInTheMiddle, engineFails, diskIsFull };

/// Takes writes of any file beyond `bytes` as a full disk would.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST(Export, nothingIsLeftAndTheOldFileStaysWhenExportEndsEarly) {
    constexpr Disturbance disturbances[] = {Disturbance::cancelAtFirstBand,
                                            Disturbance::cancelInTheMiddle,
                                            Disturbance::engineFails, Disturbance::diskIsFull};
    const PixelSize size{300, 700};
    for (const ImageFormatTraits& traits : imageFormats) {
        for (const Disturbance disturbance : disturbances) {
            for (const bool existsBefore : {false, true}) {
                SCOPED_TRACE(std::string(traits.name) + " " +
                             std::to_string(static_cast<int>(disturbance)));
                const test::TemporaryFolder folder;
                const fs::path path = folder / "picture";
                if (existsBefore) std::ofstream(path) << "what was there";
                Progress progress;
                ProceduralBands bands(size, softPixel);
                bands.onRead = [&](std::int64_t row) {
                    if (disturbance == Disturbance::cancelAtFirstBand) progress.cancel();
                    if (disturbance == Disturbance::cancelInTheMiddle && row > 0) progress.cancel();
                };
                if (disturbance == Disturbance::engineFails) bands.failingRow = 600;
                std::optional<SmallDisk> disk;
                if (disturbance == Disturbance::diskIsFull) disk.emplace(1000);
                const auto outcome =
                    ImageExporter::write(bands, traits.format, {1.0, {}},
                                         canvasOf(size, BitDepth::eight), path, &progress);
                disk.reset();
                ASSERT_FALSE(outcome.has_value());
                const bool wasCancelled = disturbance == Disturbance::cancelAtFirstBand ||
                                          disturbance == Disturbance::cancelInTheMiddle;
                EXPECT_EQ(outcome.error(), wasCancelled ? ImageIOError::cancelled()
                                                        : ImageIOError::encodingFailed());
                EXPECT_EQ(folder.names().size(), existsBefore ? 1u : 0u);
                if (existsBefore) {
                    EXPECT_EQ(contents(path).size(), 14u);
                }
                EXPECT_LT(progress.fraction(), 1);
            }
        }
    }
}

TEST(Export, aFolderThatIsNotThereFails) {
    ProceduralBands bands({4, 4}, softPixel);
    const auto outcome = ImageExporter::write(
        bands, ImageFormat::png, {}, canvasOf({4, 4}, BitDepth::eight), "/nowhere/at/all.png");
    ASSERT_FALSE(outcome.has_value());
    EXPECT_EQ(outcome.error(), ImageIOError::encodingFailed());
}

TEST(Export, writeAndDataGiveTheSameBytes) {
    const test::TemporaryFolder folder;
    const PixelSize size{300, 600};
    for (const ImageFormatTraits& traits : imageFormats) {
        const Canvas canvas = canvasOf(size, BitDepth::sixteen);
        ProceduralBands bands(size, softPixel);
        const auto inMemory = ImageExporter::data(bands, traits.format, {}, canvas);
        ASSERT_TRUE(inMemory.has_value());
        std::ofstream(folder / "out") << "older and to be replaced";
        ASSERT_TRUE(
            ImageExporter::write(bands, traits.format, {}, canvas, folder / "out").has_value());
        EXPECT_TRUE(contents(folder / "out") == *inMemory) << traits.name;
        EXPECT_EQ(folder.names().size(), 1u);
    }
}

TEST(Export, progressRisesToOne) {
    for (const ImageFormatTraits& traits : imageFormats) {
        std::vector<double> seen;
        Progress progress([&](double fraction, const std::string&) { seen.push_back(fraction); });
        ProceduralBands bands({300, 600}, softPixel);
        ASSERT_TRUE(ImageExporter::data(bands, traits.format, {},
                                        canvasOf({300, 600}, BitDepth::eight), &progress)
                        .has_value());
        EXPECT_TRUE(std::ranges::is_sorted(seen)) << traits.name;
        ASSERT_FALSE(seen.empty());
        EXPECT_EQ(seen.back(), 1);
    }
}

TEST(Export, aVeryWidePictureStreamsBandByBand) {
    const PixelSize size{60000, 300};
    for (const ImageFormat format : {ImageFormat::png, ImageFormat::tiff}) {
        std::vector<std::int64_t> firstRows;
        ProceduralBands bands(size, softPixel);
        bands.onRead = [&](std::int64_t row) { firstRows.push_back(row); };
        const auto file = ImageExporter::data(bands, format, {}, canvasOf(size, BitDepth::eight));
        ASSERT_TRUE(file.has_value());
        EXPECT_EQ(firstRows, (std::vector<std::int64_t>{0, 256}));
        EXPECT_EQ(bands.rowsRead, 300);
        const DecodedFile out = decoded(format, *file);
        EXPECT_EQ(out.error, "");
        EXPECT_EQ(out.size, size);
        for (std::int64_t y = 0; y < size.height; y += 37) {
            for (std::int64_t x = 0; x < size.width; x += 1009) {
                const auto alpha = static_cast<double>(softPixel(x, y).alpha);
                const auto index = static_cast<std::size_t>(y * size.width + x) * 4 + 3;
                ASSERT_NEAR(sampleOf(out, index), alpha, 0.6 / 255) << x << " " << y;
            }
        }
    }
}

TEST(Export, offersTheFormatsThatCanBeWrittenAndNamesTheOthers) {
    const auto offered = ImageExporter::offeredFormats();
    EXPECT_TRUE(std::ranges::is_sorted(offered));
    for (const ImageFormat format : {ImageFormat::png, ImageFormat::jpeg, ImageFormat::webp}) {
        EXPECT_EQ(std::ranges::count(offered, format), 1);
        EXPECT_EQ(ImageExporter::formatNamed(traitsOf(format).name), format);
    }
    EXPECT_EQ(ImageExporter::formatNamed("JPEG"), ImageFormat::jpeg);
    const auto unknown = ImageExporter::formatNamed("bmp");
    ASSERT_FALSE(unknown.has_value());
    EXPECT_EQ(unknown.error().text(), "Saving as bmp is not supported.");
}

} // namespace
} // namespace ombrel
