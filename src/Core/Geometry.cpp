#include "Core/Geometry.h"

#include "Base/Check.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace ombrel {

namespace {

// Beyond this a real edge says nothing about pixels; sums of such edges still fit 64 bits.
constexpr double farthestEdge = 0x1p60;

std::int64_t edgeOf(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<std::int64_t>(std::clamp(value, -farthestEdge, farthestEdge));
}

} // namespace

std::string PixelSize::text() const {
    return fmt::format("{}×{}", width, height);
}

TileCoord TileCoord::checked(std::int64_t x, std::int64_t y) {
    using Limits = std::numeric_limits<std::int32_t>;
    OMBREL_CHECK(x >= Limits::min() && x <= Limits::max() && y >= Limits::min() &&
                     y <= Limits::max(),
                 "a tile coordinate must fit 32 bits");
    return {static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)};
}

std::string TileCoord::text() const {
    return fmt::format("({}, {})", x, y);
}

TileRange::Iterator TileRange::begin() const {
    return {*this, minX, minY};
}

TileRange::Iterator TileRange::end() const {
    return {*this, minX, isEmpty() ? minY : maxY + 1};
}

PixelRect PixelRect::ofSize(PixelSize size) {
    return {0, 0, std::max<std::int64_t>(size.width, 0), std::max<std::int64_t>(size.height, 0)};
}

PixelRect PixelRect::enclosing(double x, double y, double width, double height) {
    const std::int64_t left = edgeOf(std::floor(x));
    const std::int64_t top = edgeOf(std::floor(y));
    const std::int64_t right = edgeOf(std::ceil(x + width));
    const std::int64_t bottom = edgeOf(std::ceil(y + height));
    return {left, top, std::max<std::int64_t>(right - left, 0),
            std::max<std::int64_t>(bottom - top, 0)};
}

PixelRect PixelRect::ofTile(TileCoord coord) {
    return {coord.x * tileSize, coord.y * tileSize, tileSize, tileSize};
}

bool PixelRect::contains(const PixelRect& other) const {
    return other.x >= x && other.y >= y && other.maxX() <= maxX() && other.maxY() <= maxY();
}

bool PixelRect::contains(std::int64_t px, std::int64_t py) const {
    return px >= x && px < maxX() && py >= y && py < maxY();
}

TileRange PixelRect::tileRange() const {
    if (isEmpty()) return {};
    return {x >> tileShift, y >> tileShift, (maxX() - 1) >> tileShift, (maxY() - 1) >> tileShift};
}

std::string PixelRect::text() const {
    return fmt::format("({}, {}, {}×{})", x, y, width, height);
}

TileRange intersectionOf(const TileRange& a, const TileRange& b) {
    const TileRange common{std::max(a.minX, b.minX), std::max(a.minY, b.minY),
                           std::min(a.maxX, b.maxX), std::min(a.maxY, b.maxY)};
    return common.isEmpty() ? TileRange{} : common;
}

PixelRect unionOf(const PixelRect& a, const PixelRect& b) {
    if (b.isEmpty()) return a;
    if (a.isEmpty()) return b;
    const std::int64_t left = std::min(a.x, b.x);
    const std::int64_t top = std::min(a.y, b.y);
    return {left, top, std::max(a.maxX(), b.maxX()) - left, std::max(a.maxY(), b.maxY()) - top};
}

PixelRect intersectionOf(const PixelRect& a, const PixelRect& b) {
    const std::int64_t left = std::max(a.x, b.x);
    const std::int64_t top = std::max(a.y, b.y);
    const PixelRect common{left, top, std::min(a.maxX(), b.maxX()) - left,
                           std::min(a.maxY(), b.maxY()) - top};
    return common.isEmpty() ? PixelRect{} : common;
}

} // namespace ombrel
