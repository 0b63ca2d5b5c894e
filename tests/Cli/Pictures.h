// Pictures for tests of the program: plain functions of the place, written as real files and read
// back through the importer.
#pragma once

#include "Core/PremultipliedColor.h"
#include "Core/TileStore.h"
#include "IO/ImageExporter.h"
#include "IO/ImageImporter.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace ombrel::test {

/// A document pixel: premultiplied, linear.
using PixelFunction = std::function<PremultipliedColor(std::int64_t x, std::int64_t y)>;

class PictureBands final : public CompositeBands {
public:
    PictureBands(PixelSize size, PixelFunction pixel) : size_(size), pixel_(std::move(pixel)) {}

    PixelSize size() const override { return size_; }
    std::expected<void, EngineError> read(std::int64_t firstRow, std::int64_t rowCount,
                                          std::span<std::byte> out) override;

private:
    PixelSize size_;
    PixelFunction pixel_;
};

/// Writes a picture; the format is the extension's.
void writePicture(const std::filesystem::path& path, PixelSize size, const PixelFunction& pixel,
                  BitDepth depth = BitDepth::eight);

/// What the importer makes of a file, with the store that keeps its tiles.
struct ReadPicture {
    std::shared_ptr<TileStore> store;
    ImportedImage image;

    PremultipliedColor at(std::int64_t x, std::int64_t y) const { return image.pixels.color(x, y); }
};
ReadPicture readPicture(const std::filesystem::path& path);

/// The largest difference of two colours' channels.
float difference(const PremultipliedColor& a, const PremultipliedColor& b);

} // namespace ombrel::test
