// Which stored tiles one state holds and another does not. Layers of one id are compared by their
// trees, so areas that both share cost nothing. A tile that is gone from its cell may still lie in
// another place or layer of the other state: a tile knows at which coordinates it was ever put, so
// that a look at those cells of the other grids tells. Only where that would be more work than
// looking through the other state's tiles, or for a tile of too many places, is that done instead.
#include "Core/DocumentState.h"

#include "Core/TileStorage.h"
#include "Core/TileStore.h"

#include <algorithm>
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
    std::vector<Tile> take() { return std::move(tiles_); }

private:
    std::vector<Tile> tiles_;
    std::unordered_set<const TileStorage*> known_;
};

// The tiles of `state` that `other` does not hold in the same cell of the same layer.
std::vector<Tile> tilesGoneFromTheirCells(const DocumentState& state,
                                          const std::vector<KeyedGrid>& other) {
    std::unordered_map<GridKey, const TileGrid*, GridKeyHash> counterparts;
    for (const KeyedGrid& each : other)
        counterparts.emplace(each.key, each.grid);

    TileCollector found;
    for (const KeyedGrid& each : gridsOf(state)) {
        const auto counterpart = counterparts.find(each.key);
        const TileGrid empty(each.grid->format());
        const bool isComparable =
            counterpart != counterparts.end() && counterpart->second->format() == empty.format();
        each.grid->forEachTileNotAt(isComparable ? *counterpart->second : empty,
                                    [&](TileCoord, const Tile& tile) { found.add(tile); });
    }
    return found.take();
}

// Tells whether any of a number of grids holds a tile.
class TileSearch {
public:
    explicit TileSearch(const std::vector<KeyedGrid>& grids) {
        for (const KeyedGrid& each : grids) {
            if (each.grid->pixelTileCount() == 0) continue;
            grids_.push_back(each.grid);
            tileCount_ += static_cast<std::size_t>(each.grid->pixelTileCount());
        }
    }

    void eraseHeld(std::vector<Tile>& tiles) const {
        // A look at a cell costs about as much as passing by a few tiles.
        const bool looksAtCells = tiles.size() * grids_.size() < tileCount_ / 4 + 1;
        std::unordered_set<const TileStorage*> sought;
        std::unordered_set<const TileStorage*> held;
        for (const Tile& tile : tiles) {
            if (looksAtCells && holdsWhereItWasPut(tile)) {
                held.insert(&tile.storage());
            } else if (!looksAtCells || tile.storage().places.areMore()) {
                sought.insert(&tile.storage());
            }
        }
        moveMetTiles(sought, held);
        std::erase_if(tiles, [&](const Tile& tile) { return held.contains(&tile.storage()); });
    }

private:
    bool holdsWhereItWasPut(const Tile& tile) const {
        return tile.storage().places.any([&](TileCoord coord) {
            return std::ranges::any_of(grids_, [&](const TileGrid* grid) {
                const TileCell cell = grid->cell(coord);
                return cell.isPixels() && cell.tile() == tile;
            });
        });
    }
    void moveMetTiles(std::unordered_set<const TileStorage*>& sought,
                      std::unordered_set<const TileStorage*>& held) const {
        for (const TileGrid* grid : grids_) {
            if (sought.empty()) return;
            grid->forEachTile([&](TileCoord, const Tile& tile) {
                if (sought.erase(&tile.storage()) != 0) held.insert(&tile.storage());
                return !sought.empty();
            });
        }
    }

    std::vector<const TileGrid*> grids_;
    std::size_t tileCount_ = 0;
};

} // namespace

std::vector<Tile> DocumentState::tilesNotIn(const DocumentState& other) const {
    if (root.isSameObject(other.root)) return {};
    const std::vector<KeyedGrid> otherGrids = gridsOf(other);
    std::vector<Tile> tiles = tilesGoneFromTheirCells(*this, otherGrids);
    if (!tiles.empty()) TileSearch(otherGrids).eraseHeld(tiles);
    return tiles;
}

std::int64_t DocumentState::retainedBytes(const DocumentState& other) const {
    std::int64_t bytes = 0;
    for (const Tile& tile : other.tilesNotIn(*this))
        bytes += static_cast<std::int64_t>(bytesPerTile(tile.format()));
    return bytes;
}

} // namespace ombrel
