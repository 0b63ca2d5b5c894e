// Which stored tiles one state holds and another does not. Layers of one id are compared by their
// trees, so areas that both share cost nothing; only when something differs are the cells of the
// other state looked through, because a tile may also lie there in another place or layer.
#include "Core/DocumentState.h"

#include "Core/TileStore.h"

#include <unordered_map>
#include <unordered_set>

namespace ombrel {

namespace {

struct GridKey {
    LayerID layer;
    bool isMask = false;

    bool operator==(const GridKey&) const = default;
};

struct GridKeyHash {
    std::size_t operator()(const GridKey& key) const {
        return std::hash<Uuid>{}(key.layer.rawValue) * 2 + (key.isMask ? 1 : 0);
    }
};

struct KeyedGrid {
    GridKey key;
    const TileGrid* grid;
};

// Bottom to top, a layer's pixels before its mask.
void collectGrids(const GroupLayer& group, std::vector<KeyedGrid>& grids) {
    for (const LayerNode& node : group.children) {
        if (const PixelLayer* layer = node.pixelLayer())
            grids.push_back({{node.id(), false}, &layer->pixels});
        else
            collectGrids(*node.group(), grids);
        if (node.mask()) grids.push_back({{node.id(), true}, &node.mask()->pixels});
    }
}

std::vector<KeyedGrid> gridsOf(const DocumentState& state) {
    std::vector<KeyedGrid> grids;
    collectGrids(*state.root, grids);
    return grids;
}

// Distinct tiles in the order in which they were met.
class TileCollector {
public:
    void add(const Tile& tile) {
        if (known_.insert(&tile.storage()).second) tiles_.push_back(tile);
    }
    void remove(const Tile& tile) { known_.erase(&tile.storage()); }
    bool isEmpty() const { return known_.empty(); }

    std::vector<Tile> take() {
        std::erase_if(tiles_, [&](const Tile& tile) { return !known_.contains(&tile.storage()); });
        return std::move(tiles_);
    }

private:
    std::vector<Tile> tiles_;
    std::unordered_set<const TileStorage*> known_;
};

// The tiles of `state` in cells that read otherwise in `other`.
TileCollector tilesInChangedCells(const DocumentState& state, const std::vector<KeyedGrid>& other) {
    std::unordered_map<GridKey, const TileGrid*, GridKeyHash> counterparts;
    for (const KeyedGrid& each : other)
        counterparts.emplace(each.key, each.grid);

    TileCollector found;
    for (const KeyedGrid& each : gridsOf(state)) {
        const auto counterpart = counterparts.find(each.key);
        const TileGrid empty(each.grid->format());
        const bool isComparable =
            counterpart != counterparts.end() && counterpart->second->format() == empty.format();
        TileGrid::diff(isComparable ? *counterpart->second : empty, *each.grid,
                       [&](TileCoord, const TileCell&, const TileCell& after) {
                           if (after.isPixels()) found.add(after.tile());
                       });
    }
    return found;
}

} // namespace

std::vector<Tile> DocumentState::tilesNotIn(const DocumentState& other) const {
    if (root.isSameObject(other.root)) return {};
    const std::vector<KeyedGrid> otherGrids = gridsOf(other);
    TileCollector found = tilesInChangedCells(*this, otherGrids);
    for (const KeyedGrid& each : otherGrids) {
        if (found.isEmpty()) break;
        each.grid->forEachTile([&](TileCoord, const Tile& tile) {
            found.remove(tile);
            return !found.isEmpty();
        });
    }
    return found.take();
}

std::int64_t DocumentState::retainedBytes(const DocumentState& other) const {
    std::int64_t bytes = 0;
    for (const Tile& tile : other.tilesNotIn(*this))
        bytes += static_cast<std::int64_t>(bytesPerTile(tile.format()));
    return bytes;
}

} // namespace ombrel
