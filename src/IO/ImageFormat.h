// The raster formats of import and export, by name and by file.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace ombrel {

enum class ImageFormat : std::uint8_t { png, jpeg, heic, tiff, webp };

struct ImageFormatTraits {
    ImageFormat format;
    std::string_view name; ///< as stored and as typed on the command line
    std::string_view displayName;
    std::string_view mimeType;
    std::array<std::string_view, 3> extensions; ///< the usual one first; empty ones unused
    bool isLossy;                               ///< honours ExportOptions::quality
    bool keepsAlpha;
};

inline constexpr std::array<ImageFormatTraits, 5> imageFormats{{
    {ImageFormat::png, "png", "PNG", "image/png", {"png"}, false, true},
    {ImageFormat::jpeg, "jpeg", "JPEG", "image/jpeg", {"jpg", "jpeg", "jpe"}, true, false},
    {ImageFormat::heic, "heic", "HEIC", "image/heic", {"heic", "heif"}, true, true},
    {ImageFormat::tiff, "tiff", "TIFF", "image/tiff", {"tiff", "tif"}, false, true},
    {ImageFormat::webp, "webp", "WebP", "image/webp", {"webp"}, false, true},
}};

constexpr const ImageFormatTraits& traitsOf(ImageFormat format) {
    return imageFormats[static_cast<std::size_t>(format)];
}

/// By name ("jpeg"), any case.
std::optional<ImageFormat> imageFormatNamed(std::string_view name);
/// By file name extension without the dot ("jpg"), any case.
std::optional<ImageFormat> imageFormatOfExtension(std::string_view extension);

} // namespace ombrel
