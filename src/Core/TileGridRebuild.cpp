// A grid with every cell changed, turned or both. Mirroring takes a cell to -1 - x, the complement
// of every bit, and a transposition exchanges x and y: so each node becomes one node of the same
// height whose slots are mirrored or transposed, and uniform nodes stay uniform.
#include "Core/TileGrid.h"

#include <array>
#include <list>

namespace ombrel {

namespace {

class Rebuilder {
public:
    Rebuilder(Orientation orientation, const TileCellChange& change) : change_(change) {
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            const auto [x, y] = orientation.placeOf(slot & 7, slot >> 3);
            sourceOf_[static_cast<std::size_t>((y & 7) << 3 | (x & 7))] = slot;
        }
    }

    TileGridNodeRef node(const TileGridNode& old) {
        if (old.isUniform) return uniform(old);
        return old.isLeaf() ? leaf(leafOf(old)) : branch(branchOf(old));
    }

private:
    TileGridNodeRef uniform(const TileGridNode& old) {
        if (!change_.color) return TileGridNodeRef::sharing(&old);
        return nodesOf(change_.color(colorOfUniform(old))).ofHeight(old.height);
    }

    TileGridNodeRef leaf(const TileGridLeaf& old) {
        TileGridLeaf* made = TileGridLeaf::make(old.count());
        TileGridNodeRef owner(made);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            const int from = sourceOf_[static_cast<std::size_t>(slot)];
            if (!old.holds(from)) continue;
            const TileGridCell& cell = old.cells()[old.indexOf(from)];
            if (!old.isTile(from)) {
                made->append(slot, change_.color ? change_.color(cell.color) : cell.color);
            } else {
                made->append(slot, change_.tile ? change_.tile(cell.tile) : cell.tile);
            }
        }
        return owner;
    }

    TileGridNodeRef branch(const TileGridBranch& old) {
        TileGridBranch* made = TileGridBranch::make(old.height, old.count());
        TileGridNodeRef owner(made);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            const int from = sourceOf_[static_cast<std::size_t>(slot)];
            if (old.holds(from)) made->append(slot, node(*old.child(from)).detach());
        }
        return owner;
    }

    UniformTileNodes& nodesOf(const PremultipliedColor& color) {
        for (UniformTileNodes& nodes : uniform_) {
            if (isSameBits(nodes.color(), color)) return nodes;
        }
        if (uniform_.size() >= rememberedColors) uniform_.pop_front();
        return uniform_.emplace_back(color);
    }

    static constexpr std::size_t rememberedColors = 8;

    const TileCellChange& change_;
    std::array<int, TileGridNode::slotCount> sourceOf_{};
    std::list<UniformTileNodes> uniform_;
};

} // namespace

TileGrid TileGrid::rebuilt(Orientation orientation, const TileCellChange& change) const {
    TileGrid result(format_);
    Rebuilder rebuilder(orientation, change);
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        if (!root(quadrant)) continue;
        const auto [x, y] = orientation.placeOf(quadrant.isLeft() ? -1 : 0, //
                                                quadrant.isUpper() ? -1 : 0);
        result.root(Quadrant::of({x, y})) = rebuilder.node(*root(quadrant).get());
    }
    return result;
}

} // namespace ombrel
