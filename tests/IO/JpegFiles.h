// JPEG files of every kind, written with libjpeg.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace ombrel::test {

struct JpegRecipe {
    std::uint32_t width = 61;
    std::uint32_t height = 45;
    int components = 3; ///< 1 gray, 3 RGB, 4 CMYK as stored (Adobe's way up)
    int quality = 97;
    int across = 1; ///< chroma subsampling
    int down = 1;
    bool isProgressive = false;
    bool isArithmetic = false;
    bool keepsInks = true;         ///< CMYK, otherwise YCCK; four components only
    bool writesAdobeMarker = true; ///< four components only
    int densityUnit = 0;
    int density = 1;
    int restartInterval = 0;
    std::vector<std::byte> exif;
    std::vector<std::byte> profile;
};

std::vector<std::byte>
makeJpeg(const JpegRecipe& recipe,
         const std::function<std::uint8_t(std::uint32_t x, std::uint32_t y, int component)>& at);

/// An Exif block in either byte order, with the prefix it has in JPEG files.
std::vector<std::byte> makeExif(bool isBigEndian, int orientation, std::uint32_t resolution,
                                int unit);

} // namespace ombrel::test
