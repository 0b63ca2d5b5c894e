#include "Engine/ResourceTracker.h"

namespace ombrel {

const std::byte* ResourceTracker::pin(const Tile& tile) {
    const auto found = pins_.find(tile.id());
    if (found != pins_.end()) return found->second.bytes();
    pinnedBytes_ += static_cast<std::int64_t>(bytesPerTile(tile.format()));
    return pins_.emplace(tile.id(), TilePin(tile)).first->second.bytes();
}

} // namespace ombrel
