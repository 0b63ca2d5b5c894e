// Whether a grid holds anything beyond the sides of a rectangle. Looks into tiles only where they
// lie across or beyond a side, up to the first pixel found. Any thread.
#pragma once

#include "Core/TileGrid.h"

namespace ombrel {

struct ContentBeyond {
    bool left = false;
    bool right = false;
    bool top = false;
    bool bottom = false;

    bool operator==(const ContentBeyond&) const = default;
};

/// Anything that is not zero, in an r8 grid not what `background` (0 to 1) reads as.
ContentBeyond contentBeyond(const TileGrid& grid, const PixelRect& rect, float background);

} // namespace ombrel
