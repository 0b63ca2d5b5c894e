// All pixels of an imported picture, row by row.
#pragma once

#include "Base/Half.h"
#include "IO/ImageImporter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <variant>
#include <vector>

namespace ombrel::test {

using HalfPixel = std::array<Half, 4>;

inline std::vector<HalfPixel> pixelsOf(const ImportedImage& image) {
    const PixelSize size = image.size;
    std::vector<HalfPixel> pixels(static_cast<std::size_t>(size.width * size.height));
    for (const TileCoord coord : PixelRect::ofSize(size).tileRange()) {
        const PixelRect part = intersectionOf(PixelRect::ofTile(coord), PixelRect::ofSize(size));
        const TileCell cell = image.pixels.cell(coord);
        for (std::int64_t y = part.y; y < part.maxY(); ++y) {
            HalfPixel* row = pixels.data() + y * size.width + part.x;
            if (cell.isSolid()) {
                std::fill_n(row, part.width, cell.color().halves());
            } else if (cell.isPixels()) {
                const TilePin pin(cell.tile());
                std::memcpy(row, pin.bytes() + (y - part.y) * 2048,
                            static_cast<std::size_t>(part.width) * sizeof(HalfPixel));
            }
        }
    }
    return pixels;
}

} // namespace ombrel::test
