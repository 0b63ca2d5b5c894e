#include "Engine/TileQuad.h"

#include <algorithm>

namespace ombrel {

namespace {

TileCell cellAt(const TileGrid& grid, std::int64_t x, std::int64_t y) {
    if (!TileRange::everything().contains(x, y)) return {};
    return grid.cell({static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)});
}

} // namespace

TileShift TileShift::of(PixelOffset offset) {
    return {offset.dx >> tileShift,
            offset.dy >> tileShift,
            {static_cast<std::int32_t>(offset.dx & (tileSize - 1)),
             static_cast<std::int32_t>(offset.dy & (tileSize - 1))}};
}

TileQuad TileQuad::at(const TileGrid& grid, const TileShift& shift, TileCoord output) {
    TileQuad quad{.cells = {}, .phase = shift.phase};
    const std::int64_t left = output.x - shift.tilesX - shift.extraX();
    const std::int64_t top = output.y - shift.tilesY - shift.extraY();
    for (std::int64_t row = 0; row <= shift.extraY(); ++row) {
        for (std::int64_t column = 0; column <= shift.extraX(); ++column)
            quad.cells[static_cast<std::size_t>(2 * row + column)] =
                cellAt(grid, left + column, top + row);
    }
    return quad;
}

bool TileQuad::hasContent() const {
    return std::ranges::any_of(cells, [](const TileCell& cell) { return !cell.isAbsent(); });
}

bool touches(const TileGrid& grid, const TileShift& shift, TileCoord output) {
    return TileQuad::at(grid, shift, output).hasContent();
}

TileRange outputsOf(TileCoord cell, const TileShift& shift, const TileRange& range) {
    const std::int64_t x = cell.x + shift.tilesX;
    const std::int64_t y = cell.y + shift.tilesY;
    return intersectionOf({x, y, x + shift.extraX(), y + shift.extraY()}, range);
}

TileRange cellsUnder(const TileRange& outputs, const TileShift& shift) {
    return intersectionOf({outputs.minX - shift.tilesX - shift.extraX(),
                           outputs.minY - shift.tilesY - shift.extraY(),
                           outputs.maxX - shift.tilesX, outputs.maxY - shift.tilesY},
                          TileRange::everything());
}

} // namespace ombrel
