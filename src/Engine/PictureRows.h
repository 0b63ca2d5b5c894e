// A rectangle of the canvas as plain rows of pixels in memory that somebody else owns: where tiles
// are copied to, cut to the rectangle. Different tiles may be written on different threads at once.
#pragma once

#include "Core/Geometry.h"
#include "Core/PremultipliedColor.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ombrel {

class PictureRows {
public:
    /// `bytes` holds rect.width * 8 bytes a row, without padding.
    PictureRows(const PixelRect& rect, std::span<std::byte> bytes);

    const PixelRect& rect() const { return rect_; }

    /// One colour, rounded to halves, over the part of the tile within the rectangle.
    void fillTile(TileCoord coord, const PremultipliedColor& color) const;
    /// The part of a tile of halves within the rectangle.
    void copyTile(TileCoord coord, const std::byte* pixels) const;

private:
    std::byte* at(std::int64_t x, std::int64_t y) const {
        return bytes_.data() + ((y - rect_.y) * rect_.width + x - rect_.x) * 8;
    }

    PixelRect rect_;
    std::span<std::byte> bytes_;
};

} // namespace ombrel
