// Keeps the tiles that a batch reads pinned until the device is done with them: the pins go with
// the tracker. One batch, one tracker, one thread.
#pragma once

#include "Core/TileStore.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace ombrel {

class ResourceTracker {
public:
    /// The tile's pixels, for as long as the tracker lives. A tile is pinned once.
    const std::byte* pin(const Tile& tile);
    std::int64_t pinnedBytes() const { return pinnedBytes_; }

private:
    std::unordered_map<TileID, TilePin> pins_;
    std::int64_t pinnedBytes_ = 0;
};

} // namespace ombrel
