// Turns a merged picture into a raster file. Alpha is stored straight, or the picture is composed
// onto white where the format has none; the document's profile and resolution go with it. A file
// appears only when it is complete: after a failure or a cancel the old one, or none, is there.
// Memory: two bands of 256 rows and the encoder's own (WebP and HEIC hold the whole picture, JPEG
// the coefficients of pictures up to 64 megapixels).
// Any thread; the caller waits.
#pragma once

#include "Base/Progress.h"
#include "Core/Canvas.h"
#include "Engine/CompositeBands.h"
#include "IO/ImageFormat.h"
#include "IO/ImageIOError.h"

#include <cstddef>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace ombrel {

struct ExportOptions {
    double quality = 0.9;             ///< 0 to 1; formats that are lossy
    std::optional<BitDepth> bitDepth; ///< absent: the document's own

    bool operator==(const ExportOptions&) const = default;
};

/// Depths of the files: PNG 8 and 16 (32 becomes 16), TIFF 8, 16 and 32 (floats), HEIC 8 and 10
/// (16 and 32 become 10), JPEG and WebP 8.
class ImageExporter {
public:
    /// The formats whose encoders are at hand, in the order of ImageFormat; looked up once.
    static std::span<const ImageFormat> offeredFormats();

    /// An offered format by its name, any case; else unsupportedFormat with the name as given.
    static std::expected<ImageFormat, ImageIOError> formatNamed(std::string_view name);

    /// Resolution, profile and depth come from `canvas`, the size from `composite`. Errors:
    /// unsupportedFormat; encodingFailed, also for sides beyond the format's largest (before any
    /// work) and full disks; cancelled. `progress` may be null.
    static std::expected<void, ImageIOError>
    write(CompositeBands& composite, ImageFormat format, const ExportOptions& options,
          const Canvas& canvas, const std::filesystem::path& path, Progress* progress = nullptr);

    /// The same into memory.
    static std::expected<std::vector<std::byte>, ImageIOError>
    data(CompositeBands& composite, ImageFormat format, const ExportOptions& options,
         const Canvas& canvas, Progress* progress = nullptr);
};

} // namespace ombrel
