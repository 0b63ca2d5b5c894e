// All raster content: a sparse, unbounded plane of tiles. A grid is a value: copying it shares the
// tree and costs nothing, writing a cell copies the few nodes on the way to it. An absent cell is
// transparent, and a solid with alpha 0 is never stored. Values go freely between threads.
#pragma once

#include "Core/Geometry.h"
#include "Core/Tile.h"

#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace ombrel {

class TileStore;

/// A look at one cell, valid while the grid it came from is neither changed nor gone.
class TileCell {
public:
    TileCell() = default;
    explicit TileCell(const PremultipliedColor& color) : color_(&color) {}
    explicit TileCell(const Tile& tile) : tile_(&tile) {}

    bool isAbsent() const { return color_ == nullptr && tile_ == nullptr; }
    bool isSolid() const { return color_ != nullptr; }
    bool isPixels() const { return tile_ != nullptr; }
    const PremultipliedColor& color() const { return *color_; } ///< of a solid cell
    const Tile& tile() const { return *tile_; }                 ///< of a pixels cell
    std::optional<TileContent> content() const;

    bool operator==(const TileCell& other) const; ///< by content; tiles by identity

private:
    const PremultipliedColor* color_ = nullptr;
    const Tile* tile_ = nullptr;
};

class TileGrid {
public:
    explicit TileGrid(TileFormat format);

    TileFormat format() const;
    bool isEmpty() const;
    std::int64_t tileCount() const;      ///< cells
    std::int64_t pixelTileCount() const; ///< cells that are stored tiles
    TileRange tileBounds() const;        ///< the smallest range that holds every cell

    /// The cell without touching reference counts; see TileCell for how long it lasts.
    TileCell cell(TileCoord coord) const;
    /// The content, or nothing where the cell is absent.
    std::optional<TileContent> operator[](TileCoord coord) const { return cell(coord).content(); }
    /// Absent or a transparent solid removes the cell. A tile must be of the grid's format.
    void set(TileCoord coord, std::optional<TileContent> content);
    /// Reads, lets `change` alter and writes back, by the rules of set.
    template <typename Change>
    void modify(TileCoord coord, Change&& change) {
        std::optional<TileContent> content = (*this)[coord];
        change(content);
        set(coord, std::move(content));
    }
    /// Each entry replaces its cell; a transparent solid removes it.
    void merge(std::span<const std::pair<TileCoord, TileContent>> entries);

    /// The colour at one pixel of an rgba16Float grid. For probes, not for loops: pins the tile.
    PremultipliedColor color(std::int64_t x, std::int64_t y) const;
    /// rgba16Float only. Whole tiles become solid cells (or absent, with alpha 0), the border is
    /// drawn into new tiles.
    void fill(const PixelRect& rect, const PremultipliedColor& color, TileStore& store);
    /// The same picture moved by whole pixels.
    TileGrid shifted(std::int64_t dx, std::int64_t dy, TileStore& store) const;
    /// Only the pixels inside `rect`.
    TileGrid cropped(const PixelRect& rect, TileStore& store) const;
    /// The cells of rect.tileRange(), whole, with no pixel work.
    TileGrid subgrid(const PixelRect& rect) const;
    /// Changes whenever a cell changes; valid within one run of the program, never stored.
    std::uint64_t fingerprint() const;

    /// Calls visit(TileCoord, TileCell) for every cell in TileCoord order. A visit that returns
    /// false ends the walk.
    template <typename Visit>
    void forEach(Visit&& visit) const;
    /// The same for the cells of a range.
    template <typename Visit>
    void forEachIn(const TileRange& range, Visit&& visit) const;
    /// Calls visit(TileCoord, TileCell before, TileCell after) for every cell that differs, in no
    /// set order; costs by what differs, not by what is there. Formats must agree.
    template <typename Visit>
    static void diff(const TileGrid& before, const TileGrid& after, Visit&& visit);

    /// Equal formats and equal cells.
    bool operator==(const TileGrid& other) const;
};

} // namespace ombrel
