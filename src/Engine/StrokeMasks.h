// The coverage that a stroke has gathered: a tile of floats for each tile it touched. They live in
// buffers of the tile store, two to a buffer, so that a new stroke takes the memory of the last
// one. One thread at a time.
#pragma once

#include "Core/Geometry.h"
#include "Core/TileStore.h"
#include "Engine/StrokeCoverage.h"

#include <map>
#include <optional>
#include <vector>

namespace ombrel {

class StrokeMasks {
public:
    explicit StrokeMasks(TileStore& store) : store_(store) {}
    ~StrokeMasks();
    StrokeMasks(const StrokeMasks&) = delete;
    StrokeMasks& operator=(const StrokeMasks&) = delete;

    /// 256 rows of 256 values, 0 to 1; they stay where they are. Of a tile that was not asked for
    /// before they are anything, and whoever paints first makes them 0.
    struct Mask {
        float* values = nullptr;
        bool isFresh = false;
    };
    Mask at(TileCoord coord);
    /// For a mask that was to be made 0 and perhaps was not.
    void zero(TileCoord coord);
    /// As bytes, within `bounds`; nothing where there are none.
    std::optional<StrokeCoverage> coverage(const PixelRect& bounds) const;

private:
    TileStore& store_;
    std::vector<TileBuffer> buffers_;
    std::map<TileCoord, float*> masks_;
};

} // namespace ombrel
