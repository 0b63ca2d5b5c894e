// The eight ways a picture can be stored, numbered as Exif and TIFF do, and where a stored block of
// pixels lands once the picture stands upright.
#pragma once

#include "Core/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace ombrel {

/// From stored to upright: first exchange x and y where `isTransposed`, then mirror.
struct Orientation {
    bool isTransposed = false;
    bool isMirroredX = false; ///< upright columns run against the stored ones
    bool isMirroredY = false;

    /// 1 to 8; anything else is upright.
    static Orientation ofCode(int code);

    PixelSize uprightSize(PixelSize stored) const {
        return isTransposed ? PixelSize{stored.height, stored.width} : stored;
    }
    /// Whether stored columns run against the upright axis they end up on.
    bool reversesColumns() const { return isTransposed ? isMirroredY : isMirroredX; }
    bool reversesRows() const { return isTransposed ? isMirroredX : isMirroredY; }

    /// Where the stored point (x, y) of a plane without ends lands when mirroring takes x to
    /// -1 - x, as a picture turned about the corner of its pixel (0, 0).
    template <typename Integer>
    std::pair<Integer, Integer> placeOf(Integer x, Integer y) const {
        if (isTransposed) std::swap(x, y);
        return {isMirroredX ? static_cast<Integer>(-1 - x) : x,
                isMirroredY ? static_cast<Integer>(-1 - y) : y};
    }

    bool operator==(const Orientation&) const = default;
};

/// Splits one stored axis into pieces of up to a tile each of which fills exactly one upright tile:
/// where the axis is reversed the odd piece comes first, so that upright it comes last.
class AxisSplit {
public:
    AxisSplit(std::int64_t length, bool isReversed)
        : length_(length), isReversed_(isReversed), count_((length + tileSize - 1) / tileSize) {}

    std::int64_t count() const { return count_; }
    std::int64_t start(std::int64_t piece) const {
        return piece == 0 ? 0 : piece * tileSize - (isReversed_ ? count_ * tileSize - length_ : 0);
    }
    std::int64_t size(std::int64_t piece) const {
        return (piece + 1 == count_ ? length_ : start(piece + 1)) - start(piece);
    }
    /// The upright tile it fills.
    std::int64_t tile(std::int64_t piece) const { return isReversed_ ? count_ - 1 - piece : piece; }

private:
    std::int64_t length_;
    bool isReversed_;
    std::int64_t count_;
};

/// Pixels of four halves, moved as one.
using PackedPixel = std::uint64_t;

/// Moves a stored block of width x height pixels (at most a tile; rows of 256 pixels) upright into
/// the corner of `out`, a whole tile; the rest of `out` is left alone.
void orientBlock(std::span<const PackedPixel> stored, std::int64_t width, std::int64_t height,
                 Orientation orientation, std::span<PackedPixel> out);

} // namespace ombrel
