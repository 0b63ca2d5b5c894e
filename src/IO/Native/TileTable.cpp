#include "IO/Native/TileTable.h"

#include "Base/Check.h"

namespace ombrel::NativeFormat {

void TileTable::add(const TileGrid& grid) {
    grid.forEach([this](TileCoord, const TileCell& cell) {
        if (!cell.isPixels()) return true;
        if (indices_.try_emplace(cell.tile().id(), tiles_.size()).second)
            tiles_.push_back(cell.tile());
        return true;
    });
}

std::size_t TileTable::indexOf(const Tile& tile) const {
    const auto found = indices_.find(tile.id());
    OMBREL_CHECK(found != indices_.end(), "a tile that is written was added before");
    return found->second;
}

} // namespace ombrel::NativeFormat
