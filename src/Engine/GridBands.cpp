#include "Engine/GridBands.h"

#include "Base/Check.h"
#include "Base/ParallelFor.h"
#include "Core/TileStore.h"
#include "Engine/PictureRows.h"

#include <utility>
#include <vector>

namespace ombrel {

GridBands::GridBands(TileGrid tiles, PixelSize size) : tiles_(std::move(tiles)), size_(size) {
    OMBREL_CHECK(tiles_.format() == TileFormat::rgba16Float, "a picture is made of colours");
}

std::expected<void, EngineError> GridBands::read(std::int64_t firstRow, std::int64_t rowCount,
                                                 std::span<std::byte> out) {
    OMBREL_CHECK(firstRow >= 0 && rowCount >= 0 && firstRow + rowCount <= size_.height,
                 "the rows lie in the picture");
    const PictureRows rows({0, firstRow, size_.width, rowCount}, out);
    std::vector<TileCoord> coords;
    for (const TileCoord coord : rows.rect().tileRange())
        coords.push_back(coord);
    parallelFor(ThreadPool::shared(), coords.size(), [&](std::size_t i) {
        const TileCell cell = tiles_.cell(coords[i]);
        if (cell.isPixels()) {
            rows.copyTile(coords[i], TilePin(cell.tile()).bytes());
            cell.tile().store().keepPace();
        } else {
            rows.fillTile(coords[i],
                          cell.isSolid() ? cell.color() : PremultipliedColor::transparent());
        }
    });
    return {};
}

} // namespace ombrel
