// What a pyramid must hold, computed afresh and plainly: the whole picture by the flattener, every
// level above by a loop.
#pragma once

#include "Engine/CompositeCache.h"
#include "Engine/KernelScene.h"

#include <map>
#include <utility>

namespace ombrel {

/// The pixels of an entry, as a presenter would see them.
PixelTile pixelsOf(const CompositeCache::Content& content);

/// Four tiles in row order halved into one, in the order of operations that the kernel states.
PixelTile halved(const std::array<PixelTile, 4>& children);

class PyramidReference {
public:
    PyramidReference(const DocumentState& state, PixelDevice& device, TileStore& store);

    const PixelTile& tile(int level, TileCoord coord);
    const PyramidGeometry& geometry() const { return geometry_; }

private:
    PyramidGeometry geometry_;
    TileGrid base_;
    std::map<std::pair<int, TileCoord>, PixelTile> tiles_;
};

} // namespace ombrel
