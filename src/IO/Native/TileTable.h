// The tiles of a document in the order in which a file stores them: by first use, each once however
// many layers, masks and nodes share it.
#pragma once

#include "Core/Tile.h"
#include "Core/TileGrid.h"

#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

namespace ombrel::NativeFormat {

class TileTable {
public:
    /// Every tile of the grid that is not there yet, cells by row and column.
    void add(const TileGrid& grid);
    /// The place of a tile that was added.
    std::size_t indexOf(const Tile& tile) const;
    std::span<const Tile> tiles() const { return tiles_; }

private:
    std::vector<Tile> tiles_;
    std::unordered_map<TileID, std::size_t> indices_;
};

} // namespace ombrel::NativeFormat
