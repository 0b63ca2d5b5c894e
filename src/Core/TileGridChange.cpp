// A grid with every cell changed: each node becomes one node of the same slots, and a uniform node
// one of the new colour.
#include "Core/TileGrid.h"

#include <list>

namespace ombrel {

namespace {

class CellChanger {
public:
    explicit CellChanger(const TileCellChange& change) : change_(change) {}

    TileGridNodeRef node(const TileGridNode& old) {
        if (old.isUniform) return nodesOf(change_.color(colorOfUniform(old))).ofHeight(old.height);
        return old.isLeaf() ? leaf(leafOf(old)) : branch(branchOf(old));
    }

private:
    TileGridNodeRef leaf(const TileGridLeaf& old) {
        TileGridLeaf* made = TileGridLeaf::make(old.count());
        TileGridNodeRef owner(made);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            if (!old.holds(slot)) continue;
            const TileGridCell& cell = old.cells()[old.indexOf(slot)];
            if (old.isTile(slot)) {
                made->append(slot, change_.tile(cell.tile));
            } else {
                made->append(slot, change_.color(cell.color));
            }
        }
        return owner;
    }

    TileGridNodeRef branch(const TileGridBranch& old) {
        TileGridBranch* made = TileGridBranch::make(old.height, old.count());
        TileGridNodeRef owner(made);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            if (old.holds(slot)) made->append(slot, node(*old.child(slot)).detach());
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
    std::list<UniformTileNodes> uniform_;
};

} // namespace

TileGrid TileGrid::changed(const TileCellChange& change) const {
    TileGrid result(format_);
    CellChanger changer(change);
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        if (root(quadrant)) result.root(quadrant) = changer.node(*root(quadrant).get());
    }
    return result;
}

} // namespace ombrel
