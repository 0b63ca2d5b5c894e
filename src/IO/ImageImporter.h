// Opens raster files: PNG, JPEG, TIFF, WebP and HEIC become the tiles of one pixel layer and what a
// canvas needs to know. Any thread; meant for others than the main one. What cannot be decoded to
// its end is dropped whole.
#pragma once

#include "Base/Progress.h"
#include "Core/Canvas.h"
#include "Core/TileGrid.h"
#include "Core/TileStore.h"
#include "IO/ByteSource.h"
#include "IO/ImageFormat.h"
#include "IO/ImageIOError.h"

#include <expected>
#include <filesystem>
#include <span>

namespace ombrel {

struct ImportedImage {
    TileGrid pixels{TileFormat::rgba16Float}; ///< upright, with its corner at (0, 0)
    PixelSize size;                           ///< upright
    double resolution = 72;                   ///< pixels per inch
    ColorProfile profile;
    BitDepth bitDepth = BitDepth::eight;
    ImageFormat format = ImageFormat::png;

    Canvas canvas() const {
        return {.size = size, .resolution = resolution, .profile = profile, .bitDepth = bitDepth};
    }
};

namespace ImageImporter {

/// Errors: `unreadable` for what is no image in one of the formats or is damaged, `imageTooLarge`
/// beyond 300000 pixels a side or the machine's memory, `cancelled`. `progress` may be null.
std::expected<ImportedImage, ImageIOError> read(const std::filesystem::path& path, TileStore& store,
                                                Progress* progress = nullptr);
std::expected<ImportedImage, ImageIOError> read(std::span<const std::byte> bytes, TileStore& store,
                                                Progress* progress = nullptr);
std::expected<ImportedImage, ImageIOError> read(ByteSource& source, TileStore& store,
                                                Progress* progress = nullptr);

} // namespace ImageImporter

} // namespace ombrel
