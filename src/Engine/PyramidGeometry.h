// The levels of the screen's pyramid: a tile of level L covers (256 << L) x (256 << L) pixels of
// the canvas, and level `maxLevel` holds the canvas in one tile. Plain values; any thread.
#pragma once

#include "Core/Geometry.h"

#include <array>

namespace ombrel {

class PyramidGeometry {
public:
    PyramidGeometry() = default;
    explicit PyramidGeometry(PixelSize canvas);

    PixelSize canvas() const { return canvas_; }
    int maxLevel() const { return maxLevel_; }
    int levelCount() const { return maxLevel_ + 1; }

    /// Pixels of the canvas along a side of a tile.
    static std::int64_t tileSide(int level) { return tileSize << level; }
    TileRange tiles(int level) const; ///< empty for an empty canvas and for levels there are not
    bool contains(int level, TileCoord coord) const { return tiles(level).contains(coord); }
    /// The tiles of level 0 below a tile, those outside the canvas too.
    static TileRange base(int level, TileCoord coord);
    /// Whether all of those lie on the canvas.
    bool isWhole(int level, TileCoord coord) const;
    /// One level down, in row order; some may lie outside.
    static std::array<TileCoord, 4> children(TileCoord coord);
    /// `levels` higher.
    static TileCoord ancestor(TileCoord coord, int levels) {
        return {coord.x >> levels, coord.y >> levels};
    }

    /// For a view of `scale` screen pixels a canvas pixel: the highest level that is shown at half
    /// its size or more, and not enlarged. Exact powers of two are hit exactly.
    int levelOfScale(double scale) const;
    /// The tiles of a level that a rectangle of canvas pixels touches.
    TileRange visibleTiles(int level, double minX, double minY, double maxX, double maxY) const;

    bool operator==(const PyramidGeometry&) const = default;

private:
    PixelSize canvas_;
    int maxLevel_ = 0;
};

} // namespace ombrel
