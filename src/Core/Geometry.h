// Integer geometry of the pixel plane: sizes, rectangles and offsets in pixels, coordinates and
// ranges in tiles of 256 x 256. Tiles are found by floor division, so negative pixels fall into
// negative tiles. y grows downward.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace ombrel {

inline constexpr std::int64_t tileSize = 256; ///< edge of a tile in pixels, both directions
inline constexpr int tileShift = 8;

struct PixelSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    bool isEmpty() const { return width <= 0 || height <= 0; }
    std::string text() const; ///< "640×480"
    bool operator==(const PixelSize&) const = default;
};

struct PixelOffset {
    std::int64_t dx = 0;
    std::int64_t dy = 0;

    bool operator==(const PixelOffset&) const = default;
};

/// A place between pixels: (0, 0) is the upper left corner of pixel (0, 0).
struct RealPoint {
    double x = 0;
    double y = 0;

    bool operator==(const RealPoint&) const = default;
};

struct TileCoord {
    std::int32_t x = 0;
    std::int32_t y = 0;

    /// Stops the process when a coordinate is outside 32 bits.
    static TileCoord checked(std::int64_t x, std::int64_t y);
    std::string text() const; ///< "(3, -1)"

    bool operator==(const TileCoord&) const = default;
    /// By y, then by x.
    std::strong_ordering operator<=>(const TileCoord& other) const {
        if (const auto order = y <=> other.y; order != 0) return order;
        return x <=> other.x;
    }
};

/// Tiles from (minX, minY) to (maxX, maxY), all inclusive; empty when a maximum is below its
/// minimum. Iterates in row order: x fastest.
struct TileRange {
    std::int64_t minX = 0;
    std::int64_t minY = 0;
    std::int64_t maxX = -1;
    std::int64_t maxY = -1;

    class Iterator;

    /// Every tile there can be.
    static constexpr TileRange everything() {
        return {-0x80000000LL, -0x80000000LL, 0x7FFFFFFFLL, 0x7FFFFFFFLL};
    }

    bool isEmpty() const { return maxX < minX || maxY < minY; }
    std::int64_t count() const { return isEmpty() ? 0 : (maxX - minX + 1) * (maxY - minY + 1); }
    bool contains(std::int64_t x, std::int64_t y) const {
        return x >= minX && x <= maxX && y >= minY && y <= maxY;
    }
    bool contains(TileCoord coord) const { return contains(coord.x, coord.y); }
    Iterator begin() const;
    Iterator end() const;
    bool operator==(const TileRange&) const = default;
};

struct PixelRect {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;

    /// At the origin; a negative side becomes 0.
    static PixelRect ofSize(PixelSize size);
    /// The smallest rectangle around real edges: minimum corner by floor, maximum by ceiling.
    static PixelRect enclosing(double x, double y, double width, double height);
    static PixelRect ofTile(TileCoord coord);

    bool isEmpty() const { return width <= 0 || height <= 0; }
    std::int64_t maxX() const { return x + width; }  ///< exclusive
    std::int64_t maxY() const { return y + height; } ///< exclusive
    bool contains(const PixelRect& other) const;
    bool contains(std::int64_t px, std::int64_t py) const; ///< half-open
    PixelRect offsetBy(PixelOffset offset) const {
        return {x + offset.dx, y + offset.dy, width, height};
    }
    TileRange tileRange() const; ///< {0, 0, -1, -1} when empty
    std::string text() const;    ///< "(0, 0, 640×480)"
    bool operator==(const PixelRect&) const = default;
};

/// Common tiles; {0, 0, -1, -1} where there are none.
TileRange intersectionOf(const TileRange& a, const TileRange& b);
/// Bounding rectangle; an empty one adds nothing (`a` where both are empty).
PixelRect unionOf(const PixelRect& a, const PixelRect& b);
/// Common part; all zero where there is none.
PixelRect intersectionOf(const PixelRect& a, const PixelRect& b);

class TileRange::Iterator {
public:
    using value_type = TileCoord;
    using difference_type = std::ptrdiff_t;

    Iterator() = default;
    Iterator(const TileRange& range, std::int64_t x, std::int64_t y)
        : minX_(range.minX), maxX_(range.maxX), x_(x), y_(y) {}

    TileCoord operator*() const { return TileCoord::checked(x_, y_); }
    Iterator& operator++() {
        if (++x_ > maxX_) {
            x_ = minX_;
            ++y_;
        }
        return *this;
    }
    Iterator operator++(int) {
        const Iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Iterator& other) const { return x_ == other.x_ && y_ == other.y_; }

private:
    std::int64_t minX_ = 0;
    std::int64_t maxX_ = -1;
    std::int64_t x_ = 0;
    std::int64_t y_ = 0;
};

} // namespace ombrel

template <>
struct std::hash<ombrel::TileCoord> {
    std::size_t operator()(const ombrel::TileCoord& coord) const noexcept {
        const auto x = static_cast<std::uint32_t>(coord.x);
        const auto y = static_cast<std::uint32_t>(coord.y);
        const std::uint64_t key = (static_cast<std::uint64_t>(x) << 32) | y;
        return static_cast<std::size_t>((key ^ (key >> 29)) * 0x9E3779B97F4A7C15ull);
    }
};
