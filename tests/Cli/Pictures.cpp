#include "Cli/Pictures.h"

#include "Base/Check.h"
#include "IO/ImageFormat.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ombrel::test {

std::expected<void, EngineError> PictureBands::read(std::int64_t firstRow, std::int64_t rowCount,
                                                    std::span<std::byte> out) {
    std::byte* target = out.data();
    for (std::int64_t y = firstRow; y < firstRow + rowCount; ++y) {
        for (std::int64_t x = 0; x < size_.width; ++x) {
            const std::array<Half, 4> halves = pixel_(x, y).halves();
            std::memcpy(target, halves.data(), sizeof halves);
            target += sizeof halves;
        }
    }
    return {};
}

void writePicture(const std::filesystem::path& path, PixelSize size, const PixelFunction& pixel,
                  BitDepth depth) {
    PictureBands bands(size, pixel);
    const auto format = imageFormatOfExtension(path.extension().string().substr(1));
    const Canvas canvas{.size = size, .resolution = 144, .profile = {}, .bitDepth = depth};
    const auto written = ImageExporter::write(bands, format.value(), {}, canvas, path);
    OMBREL_CHECK(written.has_value(), "a test can write its picture");
}

ReadPicture readPicture(const std::filesystem::path& path) {
    constexpr std::int64_t memory = 1 << 30;
    auto store = TileStore::create({.residentBytes = memory, .compressedBytes = memory},
                                   std::filesystem::temp_directory_path());
    auto image = ImageImporter::read(path, *store);
    OMBREL_CHECK(image.has_value(), "a test can read its picture");
    return {std::move(store), std::move(*image)};
}

float difference(const PremultipliedColor& a, const PremultipliedColor& b) {
    return std::max({std::abs(a.red - b.red), std::abs(a.green - b.green),
                     std::abs(a.blue - b.blue), std::abs(a.alpha - b.alpha)});
}

} // namespace ombrel::test
