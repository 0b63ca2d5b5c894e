#include "PhotoTiles.h"

#include "Base/Half.h"
#include "Core/PremultipliedColor.h"
#include "Core/Tile.h"
#include "IO/ImageCodecs.h"
#include "support/TestPlaces.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>

namespace ombrel::bench {

namespace {

/// 8-bit samples, three a pixel.
struct Picture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::byte> samples;
};

Picture readPhotograph(const std::filesystem::path& path) {
    const std::unique_ptr<ByteSource> source = ByteSource::ofFile(path);
    if (!source) return {};
    const auto decoder = codecOf(ImageFormat::jpeg).open(*source);
    if (!decoder) return {};
    const ImageDescription& description = (*decoder)->description();
    if (description.layout != SampleLayout{}) return {}; // three bytes a pixel
    Picture picture{static_cast<std::size_t>(description.size.width),
                    static_cast<std::size_t>(description.size.height),
                    {}};
    picture.samples.resize(picture.width * picture.height * 3);
    if (!(*decoder)->readRows(description.size.height, picture.samples)) return {};
    return picture;
}

/// Soft shapes and the grain of a sensor.
Picture drawPicture() {
    Picture picture{2048, 1024, {}};
    picture.samples.resize(picture.width * picture.height * 3);
    std::mt19937 random(1);
    std::normal_distribution<float> grain(0, 1.5f);
    for (std::size_t i = 0; i < picture.samples.size(); ++i) {
        const auto x = static_cast<float>(i / 3 % picture.width);
        const auto y = static_cast<float>(i / 3 / picture.width);
        const float value = 120 +
                            80 * std::sin(x / 190 + static_cast<float>(i % 3)) * std::cos(y / 130) +
                            grain(random);
        picture.samples[i] = static_cast<std::byte>(std::lround(std::clamp(value, 0.0f, 255.0f)));
    }
    return picture;
}

std::array<std::uint16_t, 256> linearHalves() {
    std::array<std::uint16_t, 256> halves{};
    for (std::size_t i = 0; i < halves.size(); ++i) {
        const float encoded = static_cast<float>(i) / 255;
        const float linear =
            encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
        halves[i] = toHalf(linear).bits;
    }
    return halves;
}

std::vector<std::byte> cutTile(const Picture& picture, std::size_t left, std::size_t top) {
    static const std::array<std::uint16_t, 256> halves = linearHalves();
    std::vector<std::uint16_t> pixels;
    pixels.reserve(pixelsPerTile * 4);
    for (std::size_t y = top; y < top + 256; ++y) {
        for (std::size_t x = left; x < left + 256; ++x) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const std::byte sample = picture.samples[(y * picture.width + x) * 3 + channel];
                pixels.push_back(halves[static_cast<std::size_t>(sample)]);
            }
            pixels.push_back(toHalf(1).bits);
        }
    }
    std::vector<std::byte> bytes(bytesPerTile(TileFormat::rgba16Float));
    std::memcpy(bytes.data(), pixels.data(), bytes.size());
    return bytes;
}

} // namespace

const std::vector<std::vector<std::byte>>& photoTiles() {
    static const std::vector<std::vector<std::byte>> tiles = [] {
        Picture picture = readPhotograph(TestPlaces::corpus() / "raster/exif/Landscape_1.jpg");
        if (picture.samples.empty()) picture = drawPicture();
        std::vector<std::vector<std::byte>> cut;
        for (std::size_t top = 0; top + 256 <= picture.height; top += 256) {
            for (std::size_t left = 0; left + 256 <= picture.width; left += 256) {
                cut.push_back(cutTile(picture, left, top));
            }
        }
        return cut;
    }();
    return tiles;
}

} // namespace ombrel::bench
