// Walks over the tree of a TileGrid: in coordinate order, over stored tiles only, and over what
// differs between two grids. Part of TileGrid.h, which is the header to include.
#pragma once

#include "Base/Check.h"
#include "Core/TileGrid.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace ombrel {

/// Gives a visit's answer: whether to go on. One that returns nothing always goes on.
template <typename Visit, typename... Arguments>
bool continuesAfter(Visit& visit, const Arguments&... arguments) {
    if constexpr (std::is_void_v<std::invoke_result_t<Visit&, const Arguments&...>>) {
        visit(arguments...);
        return true;
    } else {
        return visit(arguments...);
    }
}

inline TileCell cellAt(const TileGridLeaf& leaf, int slot, int index) {
    const TileGridCell& cell = leaf.cells()[index];
    return leaf.isTile(slot) ? TileCell(cell.tile) : TileCell(cell.color);
}

/// Coordinate order wants rows of cells across many nodes: a band is all nodes of one height that
/// share their rows, from left to right, and is cut into the bands of its eight rows of children.
template <typename Visit>
class TileBandWalk {
public:
    struct Entry {
        const TileGridNode* node;
        std::int64_t x;       ///< of the node's left column
        std::uint8_t columns; ///< a leaf's columns within the range, a bit each
    };
    using Band = std::vector<Entry>;

    TileBandWalk(const TileRange& range, Visit& visit) : range_(range), visit_(visit) {}

    /// Puts a node at the end of the next band of its height, if it meets the range's columns.
    void add(const TileGridNode* node, std::int64_t x) {
        if (x > range_.maxX || x + node->side() <= range_.minX) return;
        std::uint8_t columns = 0xFF;
        if (node->isLeaf()) {
            const auto first = std::max<std::int64_t>(range_.minX - x, 0);
            const auto last = std::min<std::int64_t>(range_.maxX - x, 7);
            columns = static_cast<std::uint8_t>((0xFF << first) & (0xFF >> (7 - last)));
        }
        bands_[node->height].push_back({node, x, columns});
    }

    /// Forgets what an earlier walk left in the band of a height.
    void start(int height) { bands_[static_cast<std::size_t>(height)].clear(); }

    /// Walks the band of a height, whose upper row is y. False: the visit has had enough.
    bool walk(int height, std::int64_t y) {
        const Band& band = bands_[static_cast<std::size_t>(height)];
        const std::int64_t side = TileGridNode::sideOfHeight(height - 1);
        for (int row = 0; row < 8; ++row) {
            const std::int64_t top = y + row * side;
            if (top > range_.maxY || top + side <= range_.minY) continue;
            if (height == 1) {
                if (!visitRow(band, row, static_cast<std::int32_t>(top))) return false;
                continue;
            }
            bands_[static_cast<std::size_t>(height - 1)].clear();
            for (const Entry& entry : band)
                addChildren(entry, row, side);
            if (!bands_[static_cast<std::size_t>(height - 1)].empty() && !walk(height - 1, top))
                return false;
        }
        return true;
    }

private:
    void addChildren(const Entry& entry, int row, std::int64_t side) {
        const TileGridBranch& branch = branchOf(*entry.node);
        std::uint64_t rest = (branch.occupancy >> (8 * row)) & 0xFF;
        if (rest == 0) return;
        TileGridNode* const* child = branch.children() + branch.indexOf(8 * row);
        for (; rest != 0; rest &= rest - 1)
            add(*child++, entry.x + std::countr_zero(rest) * side);
    }

    bool visitRow(const Band& band, int row, std::int32_t y) {
        for (std::size_t place = 0; place < band.size(); ++place) {
            if (place + prefetchDistance < band.size())
                prefetchRow(*band[place + prefetchDistance].node, row);
            const Entry& entry = band[place];
            const TileGridLeaf& leaf = leafOf(*entry.node);
            std::uint64_t rest = (leaf.occupancy >> (8 * row)) & entry.columns;
            if (rest == 0) continue;
            // Columns of a range are neighbours, so their cells lie one after the other.
            int index = leaf.indexOf(8 * row + std::countr_zero(rest));
            for (; rest != 0; rest &= rest - 1, ++index) {
                const int column = std::countr_zero(rest);
                const TileCoord coord{static_cast<std::int32_t>(entry.x + column), y};
                if (!continuesAfter(visit_, coord, cellAt(leaf, 8 * row + column, index)))
                    return false;
            }
        }
        return true;
    }

    // Leaves of a band lie anywhere in memory, so their lines are asked for ahead: the head of a
    // leaf before its first row, later the cells of the row.
    static void prefetchRow(const TileGridNode& node, int row) {
        const TileGridLeaf& leaf = leafOf(node);
        if (row == 0) {
            const auto* line = reinterpret_cast<const char*>(&leaf);
            __builtin_prefetch(line);
            __builtin_prefetch(line + 64);
            __builtin_prefetch(line + 128);
        } else {
            const auto* line = reinterpret_cast<const char*>(leaf.cells() + leaf.indexOf(8 * row));
            __builtin_prefetch(line);
            __builtin_prefetch(line + 64);
        }
    }

    static constexpr std::size_t prefetchDistance = 6;

    TileRange range_;
    Visit& visit_;
    std::array<Band, TileGridNode::maximumHeight + 1> bands_;
};

/// Compares two subtrees in the same place; equal pointers are equal subtrees.
template <typename Visit>
class TileTreeDiff {
public:
    explicit TileTreeDiff(Visit& visit) : visit_(visit) {}

    bool compare(const TileGridNode* before, const TileGridNode* after, std::int64_t x,
                 std::int64_t y) {
        if (before == after) return true;
        const TileGridNode& any = before != nullptr ? *before : *after;
        if (any.isLeaf()) return compareLeaves(before, after, x, y);
        if (before != nullptr && after != nullptr && before->isUniform && after->isUniform &&
            colorOfUniform(*before) == colorOfUniform(*after))
            return true;
        const std::int64_t side = any.childSide();
        for (std::uint64_t rest = occupancyOf(before) | occupancyOf(after); rest != 0;
             rest &= rest - 1) {
            const int slot = std::countr_zero(rest);
            if (!compare(childOf(before, slot), childOf(after, slot), x + (slot & 7) * side,
                         y + (slot >> 3) * side))
                return false;
        }
        return true;
    }

private:
    static std::uint64_t occupancyOf(const TileGridNode* node) {
        return node != nullptr ? node->occupancy : 0;
    }
    static const TileGridNode* childOf(const TileGridNode* node, int slot) {
        return node != nullptr && node->holds(slot) ? branchOf(*node).child(slot) : nullptr;
    }
    static TileCell cellOf(const TileGridNode* node, int slot) {
        if (node == nullptr || !node->holds(slot)) return {};
        return cellAt(leafOf(*node), slot, node->indexOf(slot));
    }

    bool compareLeaves(const TileGridNode* before, const TileGridNode* after, std::int64_t x,
                       std::int64_t y) {
        for (std::uint64_t rest = occupancyOf(before) | occupancyOf(after); rest != 0;
             rest &= rest - 1) {
            const int slot = std::countr_zero(rest);
            const TileCell cellBefore = cellOf(before, slot);
            const TileCell cellAfter = cellOf(after, slot);
            if (cellBefore == cellAfter) continue;
            const TileCoord coord{static_cast<std::int32_t>(x + (slot & 7)),
                                  static_cast<std::int32_t>(y + (slot >> 3))};
            if (!continuesAfter(visit_, coord, cellBefore, cellAfter)) return false;
        }
        return true;
    }

    Visit& visit_;
};

/// Visits the stored tiles of a subtree and passes by what holds none.
template <typename Visit>
bool visitTiles(const TileGridNode& node, std::int64_t x, std::int64_t y, Visit& visit) {
    if (node.isLeaf()) {
        const TileGridLeaf& leaf = leafOf(node);
        for (std::uint64_t rest = leaf.tileMask; rest != 0; rest &= rest - 1) {
            const int slot = std::countr_zero(rest);
            const TileCoord coord{static_cast<std::int32_t>(x + (slot & 7)),
                                  static_cast<std::int32_t>(y + (slot >> 3))};
            if (!continuesAfter(visit, coord, leaf.cells()[leaf.indexOf(slot)].tile)) return false;
        }
        return true;
    }
    const std::int64_t side = node.childSide();
    TileGridNode* const* child = branchOf(node).children();
    for (std::uint64_t rest = node.occupancy; rest != 0; rest &= rest - 1, ++child) {
        const int slot = std::countr_zero(rest);
        if ((*child)->pixelCellCount() == 0) continue;
        if (!visitTiles(**child, x + (slot & 7) * side, y + (slot >> 3) * side, visit))
            return false;
    }
    return true;
}

/// Visits the stored tiles of a subtree that another one in the same place does not hold there.
template <typename Visit>
void visitTilesNotAt(const TileGridNode& node, const TileGridNode* other, std::int64_t x,
                     std::int64_t y, Visit& visit) {
    if (&node == other || node.pixelCellCount() == 0) return;
    if (node.isLeaf()) {
        const TileGridLeaf& leaf = leafOf(node);
        for (std::uint64_t rest = leaf.tileMask; rest != 0; rest &= rest - 1) {
            const int slot = std::countr_zero(rest);
            const Tile& tile = leaf.cells()[leaf.indexOf(slot)].tile;
            if (other != nullptr && leafOf(*other).isTile(slot) &&
                leafOf(*other).cells()[other->indexOf(slot)].tile == tile)
                continue;
            visit(TileCoord{static_cast<std::int32_t>(x + (slot & 7)),
                            static_cast<std::int32_t>(y + (slot >> 3))},
                  tile);
        }
        return;
    }
    const std::int64_t side = node.childSide();
    TileGridNode* const* child = branchOf(node).children();
    for (std::uint64_t rest = node.occupancy; rest != 0; rest &= rest - 1, ++child) {
        const int slot = std::countr_zero(rest);
        const TileGridNode* const beside =
            other != nullptr && other->holds(slot) ? branchOf(*other).child(slot) : nullptr;
        visitTilesNotAt(**child, beside, x + (slot & 7) * side, y + (slot >> 3) * side, visit);
    }
}

template <typename Visit>
void TileGrid::forEach(Visit&& visit) const {
    forEachIn(TileRange::everything(), visit);
}

template <typename Visit>
void TileGrid::forEachIn(const TileRange& range, Visit&& visit) const {
    if (range.isEmpty()) return;
    TileBandWalk<std::remove_reference_t<Visit>> walk(range, visit);
    for (const int upper : {2, 0}) {
        const Quadrant left{upper | 1};
        const Quadrant right{upper};
        const bool meetsLeft = root(left) && !left.partOf(range).isEmpty();
        const bool meetsRight = root(right) && !right.partOf(range).isEmpty();
        const int height =
            std::max(meetsLeft ? root(left)->height : 0, meetsRight ? root(right)->height : 0);
        if (height == 0) continue;
        walk.start(height);
        // Halves of different heights are brought to one, so that their rows can be merged.
        TileGridNodeRef leftRoot;
        TileGridNodeRef rightRoot;
        if (meetsLeft) {
            leftRoot = TileGridEdit::raised(root(left), height, left.cornerSlot());
            walk.add(leftRoot.get(), left.originX(height));
        }
        if (meetsRight) {
            rightRoot = TileGridEdit::raised(root(right), height, right.cornerSlot());
            walk.add(rightRoot.get(), 0);
        }
        if (!walk.walk(height, right.originY(height))) return;
    }
}

template <typename Visit>
void TileGrid::forEachTile(Visit&& visit) const {
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileGridNode* node = root(quadrant).get();
        if (node == nullptr || node->pixelCellCount() == 0) continue;
        if (!visitTiles(*node, quadrant.originX(node->height), quadrant.originY(node->height),
                        visit))
            return;
    }
}

template <typename Visit>
void TileGrid::diff(const TileGrid& before, const TileGrid& after, Visit&& visit) {
    OMBREL_CHECK(before.format_ == after.format_, "grids that are compared have one format");
    TileTreeDiff<std::remove_reference_t<Visit>> tree(visit);
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileGridNodeRef& from = before.root(quadrant);
        const TileGridNodeRef& to = after.root(quadrant);
        if (from.get() == to.get()) continue;
        const int height = std::max(from ? from->height : 0, to ? to->height : 0);
        const TileGridNodeRef raisedFrom =
            TileGridEdit::raised(from, height, quadrant.cornerSlot());
        const TileGridNodeRef raisedTo = TileGridEdit::raised(to, height, quadrant.cornerSlot());
        if (!tree.compare(raisedFrom.get(), raisedTo.get(), quadrant.originX(height),
                          quadrant.originY(height)))
            return;
    }
}

template <typename Visit>
void TileGrid::forEachTileNotAt(const TileGrid& other, Visit&& visit) const {
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileGridNodeRef& mine = root(quadrant);
        const TileGridNodeRef& others = other.root(quadrant);
        if (!mine || mine.get() == others.get()) continue;
        const int height = std::max(mine->height, others ? others->height : std::uint8_t{0});
        const TileGridNodeRef node = TileGridEdit::raised(mine, height, quadrant.cornerSlot());
        const TileGridNodeRef beside = TileGridEdit::raised(others, height, quadrant.cornerSlot());
        visitTilesNotAt(*node.get(), beside.get(), quadrant.originX(height),
                        quadrant.originY(height), visit);
    }
}

} // namespace ombrel
