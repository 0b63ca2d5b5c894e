// All raster content: a sparse, unbounded plane of tiles. A grid is a value: copying it shares the
// tree and costs nothing, writing a cell copies the few nodes on the way to it. An absent cell is
// transparent, and a solid with alpha 0 is never stored. Values go freely between threads.
#pragma once

#include "Core/Geometry.h"
#include "Core/Tile.h"
#include "Core/TileGridNode.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <type_traits>
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
    std::optional<TileContent> content() const {
        if (isSolid()) return *color_;
        if (isPixels()) return *tile_;
        return std::nullopt;
    }

    /// By content; tiles by identity.
    bool operator==(const TileCell& other) const {
        if (isSolid() && other.isSolid()) return *color_ == *other.color_;
        if (isPixels() && other.isPixels()) return *tile_ == *other.tile_;
        return isAbsent() && other.isAbsent();
    }

private:
    const PremultipliedColor* color_ = nullptr;
    const Tile* tile_ = nullptr;
};

/// What the cells of a range have in common.
struct TileRangeContent {
    enum class Kind { absent, solid, mixed };

    Kind kind = Kind::absent;
    PremultipliedColor color; ///< of a solid one: every cell is there and has this colour

    bool operator==(const TileRangeContent&) const = default;
};

/// How `changed` makes new cells of old ones.
struct TileCellChange {
    std::function<PremultipliedColor(const PremultipliedColor&)> color; ///< keeps alpha above 0
    std::function<Tile(const Tile&)> tile;
};

class TileGrid {
public:
    explicit TileGrid(TileFormat format) : format_(format) {}

    TileFormat format() const { return format_; }
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
    TileGrid subgridOfTiles(const TileRange& range) const;
    /// Every cell of the range becomes the solid, or absent without one (or with alpha 0). Costs by
    /// the border of the range.
    void assign(const TileRange& range, const std::optional<PremultipliedColor>& color);
    /// Looks no further than to where a second content is found, and at areas of one colour as a
    /// whole.
    TileRangeContent contentOf(const TileRange& range) const;
    /// Every cell changed where it is. Areas of one colour are changed as a whole.
    TileGrid changed(const TileCellChange& change) const;
    /// Changes whenever a cell changes; valid within one run of the program, never stored.
    std::uint64_t fingerprint() const;

    /// Calls visit(TileCoord, TileCell) for every cell in TileCoord order. A visit that returns
    /// false ends the walk.
    template <typename Visit>
    void forEach(Visit&& visit) const;
    /// The same for the cells of a range.
    template <typename Visit>
    void forEachIn(const TileRange& range, Visit&& visit) const;
    /// Calls visit(TileCoord, const Tile&) for every stored tile in no set order; costs by what is
    /// stored, however many solid cells there are. A visit that returns false ends the walk.
    template <typename Visit>
    void forEachTile(Visit&& visit) const;
    /// Calls visit(TileCoord, TileCell before, TileCell after) for every cell that differs, in no
    /// set order; costs by what differs, not by what is there. Formats must agree. A visit that
    /// returns false ends the comparison.
    template <typename Visit>
    static void diff(const TileGrid& before, const TileGrid& after, Visit&& visit);

    /// Calls visit(TileCoord, const Tile&) for every stored tile that `other` does not hold in the
    /// same cell, in no set order; costs by the stored tiles in what differs.
    template <typename Visit>
    void forEachTileNotAt(const TileGrid& other, Visit&& visit) const;

    /// Equal formats and equal cells. Costs by what differs, up to the first difference.
    bool operator==(const TileGrid& other) const;

private:
    // One tree for each combination of signs, so that no node covers both sides of an axis and
    // heights stay as small as the content allows.
    static constexpr int quadrantCount = 4;

    class Shifter;

    struct Quadrant {
        int index;

        static constexpr Quadrant of(TileCoord coord) {
            return {(coord.x < 0 ? 1 : 0) | (coord.y < 0 ? 2 : 0)};
        }
        constexpr bool isLeft() const { return (index & 1) != 0; }
        constexpr bool isUpper() const { return (index & 2) != 0; }
        /// The slot of a root in a parent put above it: the one next to the plane's origin.
        constexpr int cornerSlot() const { return (isLeft() ? 7 : 0) | (isUpper() ? 56 : 0); }
        /// Where a root of this height begins.
        std::int64_t originX(int height) const {
            return isLeft() ? -TileGridNode::sideOfHeight(height) : 0;
        }
        std::int64_t originY(int height) const {
            return isUpper() ? -TileGridNode::sideOfHeight(height) : 0;
        }
        /// The part of a range in this quadrant; empty where there is none.
        TileRange partOf(const TileRange& range) const;
        /// The least height of a root that covers a range within the quadrant.
        int heightFor(const TileRange& range) const;
    };

    const TileGridNodeRef& root(Quadrant quadrant) const {
        return roots_[static_cast<std::size_t>(quadrant.index)];
    }
    TileGridNodeRef& root(Quadrant quadrant) {
        return roots_[static_cast<std::size_t>(quadrant.index)];
    }

    TileGrid shiftedByTiles(std::int64_t dx, std::int64_t dy) const;
    TileGrid shiftedByPixels(std::int64_t dx, std::int64_t dy, TileStore& store) const;

    TileFormat format_;
    std::array<TileGridNodeRef, quadrantCount> roots_;
};

} // namespace ombrel

#include "Core/TileGridWalk.h"
