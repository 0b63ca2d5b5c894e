// PNG files of every kind, written with libpng from samples that are a plain function of their
// place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <png.h>

namespace ombrel::test {

struct PngRecipe {
    std::uint32_t width = 43;
    std::uint32_t height = 31;
    int colorType = PNG_COLOR_TYPE_RGB;
    int bits = 8;
    bool isInterlaced = false;
    /// Further chunks, set before the header is written.
    std::function<void(png_structp, png_infop)> chunks = {};
};

std::vector<std::byte>
makePng(const PngRecipe& recipe,
        const std::function<std::uint16_t(std::uint32_t x, std::uint32_t y, int channel)>& at);

/// Puts a chunk with a right checksum behind the one at `type` ("IHDR", "IDAT").
std::vector<std::byte> withChunkAfter(const std::vector<std::byte>& file, const char* type,
                                      const char* newType, const std::vector<std::byte>& payload);

} // namespace ombrel::test
