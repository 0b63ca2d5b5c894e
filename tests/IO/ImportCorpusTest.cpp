// Real files against pictures made of them by other software. References are upright, sRGB and at
// most 512 pixels on the long side; ours are converted to sRGB and, where the reference is smaller,
// averaged down over each reference pixel's area. Compared are colour times alpha and alpha, in
// 255ths. At the same size nothing may be more than 2 apart, and 0.6 on the mean (references of
// 8 bits are rounded); scaled down, the filters differ: 3 on the mean, and only a small share of
// the values (at edges) more than 16.
#include "Core/ProfileConversion.h"
#include "IO/ImageImporter.h"
#include "IO/ImportedPixels.h"
#include "IO/LibraryDecoders.h"
#include "support/TestPlaces.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ombrel::test {

namespace {

using TestPlaces::corpus;
using Json = nlohmann::json;

Json indexOf(const std::string& folder) {
    std::ifstream stream(corpus() / folder / "index.json");
    return stream ? Json::parse(stream) : Json();
}

std::vector<std::byte> bytesOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

/// Colour times alpha and alpha, 0 to 1, encoded.
struct Picture {
    PixelSize size;
    std::vector<std::array<double, 4>> pixels;
};

/// By a table over the square root, which spreads the dark end: far finer than a 255th.
double encodeSRGB(double linear) {
    static constexpr int steps = 65535;
    static const std::vector<double> table = [] {
        std::vector<double> values;
        for (int i = 0; i <= steps; ++i) {
            const double value = std::pow(static_cast<double>(i) / steps, 2);
            values.push_back(value <= 0.0031308 ? 12.92 * value
                                                : 1.055 * std::pow(value, 1 / 2.4) - 0.055);
        }
        return values;
    }();
    return table[static_cast<std::size_t>(
        std::lround(std::sqrt(std::clamp(linear, 0.0, 1.0)) * steps))];
}

Picture pictureOf(const ImportedImage& image) {
    Picture picture{image.size, {}};
    const auto toSRGB = ProfileConversion::between(image.profile, ColorProfile::sRGB());
    EXPECT_TRUE(toSRGB);
    for (const HalfPixel& pixel : pixelsOf(image)) {
        const PremultipliedColor color = toSRGB->apply(toFloat(pixel[0]), toFloat(pixel[1]),
                                                       toFloat(pixel[2]), toFloat(pixel[3]));
        const double alpha = color.alpha;
        const auto encoded = [alpha](float channel) {
            return alpha > 0 ? encodeSRGB(channel / alpha) * alpha : 0.0;
        };
        picture.pixels.push_back(
            {encoded(color.red), encoded(color.green), encoded(color.blue), alpha});
    }
    return picture;
}

Picture referenceOf(const std::filesystem::path& path) {
    const DecodedFile file = decodePng(bytesOf(path));
    EXPECT_EQ(file.error, "") << path;
    Picture picture{file.size, {}};
    const SampleLayout layout = file.layout;
    const std::size_t count = static_cast<std::size_t>(layout.channelCount());
    const auto sample = [&](std::size_t index) {
        if (layout.type == SampleType::unsigned8) {
            return std::to_integer<int>(file.samples[index]) / 255.0;
        }
        std::uint16_t value = 0;
        std::memcpy(&value, &file.samples[index * 2], 2);
        return value / 65535.0;
    };
    const bool hasAlpha = layout.alpha != AlphaKind::none;
    const bool isGray = layout.model == SampleModel::gray;
    const auto area = static_cast<std::size_t>(file.size.width * file.size.height);
    for (std::size_t i = 0; i < area; ++i) {
        const double alpha = hasAlpha ? sample(i * count + count - 1) : 1;
        const auto color = [&](std::size_t c) {
            return sample(i * count + (isGray ? 0 : c)) * alpha;
        };
        picture.pixels.push_back({color(0), color(1), color(2), alpha});
    }
    return picture;
}

/// Each target pixel is the mean of the source's area under it.
Picture averagedDown(const Picture& source, PixelSize size) {
    if (source.size == size) return source;
    Picture picture{size, {}};
    const double stepX = static_cast<double>(source.size.width) / static_cast<double>(size.width);
    const double stepY = static_cast<double>(source.size.height) / static_cast<double>(size.height);
    for (std::int64_t y = 0; y < size.height; ++y) {
        for (std::int64_t x = 0; x < size.width; ++x) {
            std::array<double, 4> sum{};
            double weights = 0;
            const double top = static_cast<double>(y) * stepY;
            const double left = static_cast<double>(x) * stepX;
            const auto bottom = std::min<std::int64_t>(
                source.size.height, static_cast<std::int64_t>(std::ceil(top + stepY)));
            const auto right = std::min<std::int64_t>(
                source.size.width, static_cast<std::int64_t>(std::ceil(left + stepX)));
            for (auto sy = static_cast<std::int64_t>(top); sy < bottom; ++sy) {
                for (auto sx = static_cast<std::int64_t>(left); sx < right; ++sx) {
                    const auto overlap = [](double begin, double step, std::int64_t at) {
                        const auto position = static_cast<double>(at);
                        return std::min(begin + step, position + 1) - std::max(begin, position);
                    };
                    const double weight = overlap(left, stepX, sx) * overlap(top, stepY, sy);
                    if (weight <= 0) continue;
                    weights += weight;
                    for (std::size_t c = 0; c < 4; ++c)
                        sum[c] +=
                            weight *
                            source.pixels[static_cast<std::size_t>(sy * source.size.width + sx)][c];
                }
            }
            for (double& channel : sum)
                channel /= weights;
            picture.pixels.push_back(sum);
        }
    }
    return picture;
}

struct Difference {
    double mean = 0;    ///< of 255
    double largest = 0; ///< of 255
    double share = 0;   ///< of values more than 16 apart
};

Difference differenceOf(const Picture& a, const Picture& b) {
    Difference difference;
    for (std::size_t i = 0; i < a.pixels.size(); ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
            const double apart = std::abs(a.pixels[i][c] - b.pixels[i][c]) * 255;
            difference.mean += apart;
            difference.largest = std::max(difference.largest, apart);
            difference.share += apart > 16 ? 1 : 0;
        }
    }
    const double count = static_cast<double>(a.pixels.size()) * 4;
    difference.mean /= count;
    difference.share /= count;
    return difference;
}

} // namespace

TEST(ImportCorpus, everyRasterFileLooksLikeItsReference) {
    const Json index = indexOf("raster");
    if (index.empty()) GTEST_SKIP() << "no corpus at " << corpus();
    const auto store = TileStore::create(TileStore::Budget::ofMemory(std::int64_t{4} << 30, 0.5),
                                         std::filesystem::temp_directory_path());
    for (const Json& entry : index) {
        const std::string file = entry.at("file");
        SCOPED_TRACE(file);
        const auto image = ImageImporter::read(corpus() / "raster" / file, *store);
        if (!image) {
            ADD_FAILURE() << image.error().text();
            continue;
        }
        const Picture reference =
            referenceOf(corpus() / "raster" / entry.at("reference").get<std::string>());
        const Picture whole = pictureOf(*image);
        const bool isScaled = whole.size != reference.size;
        const Difference difference = differenceOf(averagedDown(whole, reference.size), reference);
        const std::string found = "mean " + std::to_string(difference.mean) + ", largest " +
                                  std::to_string(difference.largest) + ", share beyond 16 " +
                                  std::to_string(difference.share);
        EXPECT_LE(difference.mean, isScaled ? 3 : 0.6) << found;
        EXPECT_LE(difference.largest, isScaled ? 255 : 2) << found;
        EXPECT_LE(difference.share, isScaled ? 0.02 : 0) << found;
    }
    EXPECT_EQ(store->statistics().tileCount, 0);
}

TEST(ImportCorpus, malformedFilesAreRefusedOrReadWithoutHarm) {
    const Json index = indexOf("malformed");
    if (index.empty()) GTEST_SKIP() << "no corpus at " << corpus();
    const auto store = TileStore::create(TileStore::Budget::ofMemory(std::int64_t{1} << 30, 0.5),
                                         std::filesystem::temp_directory_path());
    int count = 0;
    for (const Json& entry : index) {
        const std::filesystem::path file = entry.at("file").get<std::string>();
        const std::string extension = file.extension();
        if (extension == ".psd" || extension == ".svg") continue;
        ++count;
        const auto image = ImageImporter::read(corpus() / "malformed" / file, *store);
        const std::string expected = entry.at("expect");
        if (image) {
            EXPECT_NE(expected.find("open"), std::string::npos) << file << ": " << expected;
        } else {
            const bool isNamed = image.error().kind == ImageIOError::Kind::imageTooLarge
                                     ? expected.find("imageTooLarge") != std::string::npos
                                     : expected.find("unreadable") != std::string::npos;
            EXPECT_TRUE(isNamed) << file << ": " << image.error().text() << " / " << expected;
        }
    }
    EXPECT_GT(count, 10);
    EXPECT_EQ(store->statistics().tileCount, 0);
}

} // namespace ombrel::test
