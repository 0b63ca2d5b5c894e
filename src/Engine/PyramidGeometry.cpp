#include "Engine/PyramidGeometry.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

PyramidGeometry::PyramidGeometry(PixelSize canvas) : canvas_(canvas) {
    const std::int64_t side = std::max(canvas.width, canvas.height);
    while (tileSide(maxLevel_) < side)
        ++maxLevel_;
}

TileRange PyramidGeometry::tiles(int level) const {
    if (canvas_.isEmpty() || level < 0 || level > maxLevel_) return {};
    const std::int64_t side = tileSide(level);
    return {0, 0, (canvas_.width - 1) / side, (canvas_.height - 1) / side};
}

TileRange PyramidGeometry::base(int level, TileCoord coord) {
    const std::int64_t x = std::int64_t{coord.x} << level;
    const std::int64_t y = std::int64_t{coord.y} << level;
    const std::int64_t last = (std::int64_t{1} << level) - 1;
    return {x, y, x + last, y + last};
}

bool PyramidGeometry::isWhole(int level, TileCoord coord) const {
    const TileRange below = base(level, coord);
    return intersectionOf(below, tiles(0)) == below;
}

std::array<TileCoord, 4> PyramidGeometry::children(TileCoord coord) {
    const std::int32_t x = 2 * coord.x;
    const std::int32_t y = 2 * coord.y;
    return {TileCoord{x, y}, TileCoord{x + 1, y}, TileCoord{x, y + 1}, TileCoord{x + 1, y + 1}};
}

int PyramidGeometry::levelOfScale(double scale) const {
    if (!(scale < 1)) return 0;
    const double level = std::floor(std::log2(1 / scale) + 1e-9);
    return static_cast<int>(std::min(level, static_cast<double>(maxLevel_)));
}

TileRange PyramidGeometry::visibleTiles(int level, double minX, double minY, double maxX,
                                        double maxY) const {
    const double left = std::max(minX, 0.0);
    const double top = std::max(minY, 0.0);
    const double right = std::min(maxX, static_cast<double>(canvas_.width));
    const double bottom = std::min(maxY, static_cast<double>(canvas_.height));
    if (!(left < right && top < bottom)) return {};
    const auto side = static_cast<double>(tileSide(level));
    const auto index = [](double value) { return static_cast<std::int64_t>(value); };
    return {index(std::floor(left / side)), index(std::floor(top / side)),
            index(std::ceil(right / side)) - 1, index(std::ceil(bottom / side)) - 1};
}

} // namespace ombrel
