// Whole regions of a grid at once: assigned, cut out, moved by whole tiles. Subtrees that keep
// their place among their siblings are shared, and areas of one colour share one node a height, so
// the cost follows the border of a region and what moves, not its area.
#include "Core/TileGrid.h"

#include "Base/Check.h"
#include "Core/TileStorage.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace ombrel {

namespace {

// A range in cells of one node, counted from its corner.
struct LocalRange {
    std::int64_t minX;
    std::int64_t minY;
    std::int64_t maxX;
    std::int64_t maxY;

    bool covers(std::int64_t side) const {
        return minX <= 0 && minY <= 0 && maxX >= side - 1 && maxY >= side - 1;
    }
    bool misses(std::int64_t side) const {
        return maxX < 0 || maxY < 0 || minX >= side || minY >= side || maxX < minX || maxY < minY;
    }
    LocalRange inChild(int slot, std::int64_t childSide) const {
        const std::int64_t x = (slot & 7) * childSide;
        const std::int64_t y = (slot >> 3) * childSide;
        return {minX - x, minY - y, maxX - x, maxY - y};
    }
    // The slots of a leaf within the range.
    std::uint64_t slots() const {
        std::uint64_t mask = 0;
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            if (!inChild(slot, 1).misses(1)) mask |= std::uint64_t{1} << slot;
        }
        return mask;
    }
};

LocalRange localRange(const TileRange& range, std::int64_t x, std::int64_t y) {
    return {range.minX - x, range.minY - y, range.maxX - x, range.maxY - y};
}

// Gathers a branch's children in slot order.
class BranchBuilder {
public:
    explicit BranchBuilder(int height) : height_(height) {}

    void add(int slot, TileGridNodeRef child) {
        if (!child) return;
        slots_[count_] = slot;
        children_[count_++] = std::move(child);
    }

    TileGridNodeRef finish() {
        if (count_ == 0) return {};
        TileGridBranch* branch = TileGridBranch::make(height_, count_);
        for (int index = 0; index < count_; ++index)
            branch->append(slots_[index], children_[index].detach());
        return TileGridNodeRef(branch);
    }

private:
    int height_;
    int count_ = 0;
    int slots_[TileGridNode::slotCount] = {};
    TileGridNodeRef children_[TileGridNode::slotCount];
};

const TileGridNode* childOrNull(const TileGridNode* node, int slot) {
    return node != nullptr && node->holds(slot) ? branchOf(*node).child(slot) : nullptr;
}

// A leaf with the cells of `node` in `kept` and the colour in `filled`.
TileGridNodeRef leafOfCells(const TileGridNode* node, std::uint64_t kept, std::uint64_t filled,
                            const PremultipliedColor& color) {
    const std::uint64_t old = (node != nullptr ? node->occupancy : 0) & kept;
    if ((old | filled) == 0) return {};
    TileGridLeaf* leaf = TileGridLeaf::make(std::popcount(old | filled));
    for (std::uint64_t rest = old | filled; rest != 0; rest &= rest - 1) {
        const int slot = std::countr_zero(rest);
        if ((filled >> slot & 1) != 0) {
            leaf->append(slot, color);
        } else {
            const TileGridLeaf& source = leafOf(*node);
            leaf->append(slot, source.cells()[source.indexOf(slot)], source.isTile(slot));
        }
    }
    return TileGridNodeRef(leaf);
}

// The subtree with every cell of the range made the uniform colour, or removed without one.
TileGridNodeRef assigned(const TileGridNode* node, int height, const LocalRange& range,
                         UniformTileNodes* uniform) {
    const std::int64_t side = TileGridNode::sideOfHeight(height);
    if (range.misses(side) || (node == nullptr && uniform == nullptr))
        return TileGridNodeRef::sharing(node);
    if (node != nullptr && uniform != nullptr && uniform->matches(*node))
        return TileGridNodeRef::sharing(node);
    if (range.covers(side))
        return uniform != nullptr ? uniform->ofHeight(height) : TileGridNodeRef{};
    if (height == 1) {
        const std::uint64_t slots = range.slots();
        return leafOfCells(node, ~slots, uniform != nullptr ? slots : 0,
                           uniform != nullptr ? uniform->color() : PremultipliedColor{});
    }
    BranchBuilder builder(height);
    const std::int64_t childSide = TileGridNode::sideOfHeight(height - 1);
    for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
        builder.add(slot, assigned(childOrNull(node, slot), height - 1,
                                   range.inChild(slot, childSide), uniform));
    }
    return builder.finish();
}

// The subtree without the cells outside the range; the node itself where none is.
TileGridNodeRef restricted(const TileGridNode* node, const LocalRange& range) {
    if (node == nullptr || range.misses(node->side())) return {};
    if (range.covers(node->side())) return TileGridNodeRef::sharing(node);
    if (node->isLeaf()) {
        const std::uint64_t slots = range.slots();
        if ((node->occupancy & ~slots) == 0) return TileGridNodeRef::sharing(node);
        return leafOfCells(node, slots, 0, {});
    }
    BranchBuilder builder(node->height);
    bool isSame = true;
    for (std::uint64_t rest = node->occupancy; rest != 0; rest &= rest - 1) {
        const int slot = std::countr_zero(rest);
        const TileGridNode* child = branchOf(*node).child(slot);
        TileGridNodeRef part = restricted(child, range.inChild(slot, node->childSide()));
        isSame = isSame && part.get() == child;
        builder.add(slot, std::move(part));
    }
    return isSame ? TileGridNodeRef::sharing(node) : builder.finish();
}

// What a region holds, as far as it can be told without going down to every cell.
class RegionLook {
public:
    bool isMixed() const { return isMixed_ || (holdsAbsent_ && color_ != nullptr); }
    TileRangeContent content() const {
        if (isMixed()) return {TileRangeContent::Kind::mixed, {}};
        if (color_ == nullptr) return {};
        return {TileRangeContent::Kind::solid, *color_};
    }

    void addAbsent() { holdsAbsent_ = true; }
    void addSolid(const PremultipliedColor& color) {
        if (color_ == nullptr)
            color_ = &color;
        else if (!isSameBits(*color_, color))
            isMixed_ = true;
    }
    void addPixels() { isMixed_ = true; }

    // Looks at the part of a node's square that the range meets.
    void add(const TileGridNode* node, int height, const LocalRange& range) {
        if (isMixed() || range.misses(TileGridNode::sideOfHeight(height))) return;
        if (node == nullptr) return addAbsent();
        if (node->isUniform) return addSolid(colorOfUniform(*node));
        for (int slot = 0; slot < TileGridNode::slotCount && !isMixed(); ++slot) {
            const LocalRange part = range.inChild(slot, node->childSide());
            if (!node->isLeaf()) {
                add(childOrNull(node, slot), height - 1, part);
            } else if (!part.misses(1)) {
                addCell(leafOf(*node), slot);
            }
        }
    }

private:
    void addCell(const TileGridLeaf& leaf, int slot) {
        if (!leaf.holds(slot)) return addAbsent();
        const TileCell cell = cellAt(leaf, slot, leaf.indexOf(slot));
        if (cell.isPixels())
            addPixels();
        else
            addSolid(cell.color());
    }

    bool holdsAbsent_ = false;
    bool isMixed_ = false;
    const PremultipliedColor* color_ = nullptr;
};

} // namespace

// Builds the tree of a grid moved by whole tiles, from the top: blocks without cells and blocks of
// one colour end the descent, blocks that fall on a node of the source share it.
class TileGrid::Shifter {
public:
    Shifter(const TileGrid& source, std::int64_t dx, std::int64_t dy)
        : source_(source), dx_(dx), dy_(dy) {}

    TileGridNodeRef block(int height, std::int64_t x, std::int64_t y) {
        const std::int64_t side = TileGridNode::sideOfHeight(height);
        const TileRange from{x - dx_, y - dy_, x - dx_ + side - 1, y - dy_ + side - 1};
        const TileRangeContent content = source_.contentOf(from);
        if (content.kind == TileRangeContent::Kind::absent) return {};
        if (content.kind == TileRangeContent::Kind::solid)
            return uniformOf(content.color).ofHeight(height);
        if (((dx_ | dy_) & (side - 1)) == 0) {
            if (const TileGridNode* node = nodeAt(height, from.minX, from.minY))
                return TileGridNodeRef::sharing(node);
        }
        if (height == 1) return leaf(from);
        BranchBuilder builder(height);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            builder.add(
                slot, block(height - 1, x + (slot & 7) * (side / 8), y + (slot >> 3) * (side / 8)));
        }
        return builder.finish();
    }

private:
    const TileGridNode* nodeAt(int height, std::int64_t x, std::int64_t y) const {
        if (!TileRange::everything().contains(x, y)) return nullptr;
        const TileCoord coord = TileCoord::checked(x, y);
        const Quadrant quadrant = Quadrant::of(coord);
        const TileGridNode* node = source_.root(quadrant).get();
        if (node == nullptr || node->height < height ||
            quadrant.heightFor({x, y, x, y}) > node->height)
            return nullptr;
        while (node != nullptr && node->height > height)
            node = childOrNull(node, node->slotOf(coord));
        return node;
    }

    TileGridNodeRef leaf(const TileRange& from) const {
        TileGridLeaf* made = TileGridLeaf::make(TileGridNode::slotCount);
        TileGridNodeRef owner(made);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot) {
            const TileGridNode* node = nodeAt(1, from.minX + (slot & 7), from.minY + (slot >> 3));
            if (node == nullptr) continue;
            const TileGridLeaf& old = leafOf(*node);
            const int oldSlot =
                old.slotOf(TileCoord::checked(from.minX + (slot & 7), from.minY + (slot >> 3)));
            if (!old.holds(oldSlot)) continue;
            made->append(slot, old.cells()[old.indexOf(oldSlot)], old.isTile(oldSlot));
        }
        return made->occupancy != 0 ? std::move(owner) : TileGridNodeRef{};
    }

    UniformTileNodes& uniformOf(const PremultipliedColor& color) {
        for (UniformTileNodes& nodes : uniform_) {
            if (isSameBits(nodes.color(), color)) return nodes;
        }
        if (uniform_.size() >= rememberedColors) uniform_.clear();
        return uniform_.emplace_back(color);
    }

    static constexpr std::size_t rememberedColors = 8;

    const TileGrid& source_;
    std::int64_t dx_;
    std::int64_t dy_;
    std::vector<UniformTileNodes> uniform_;
};

void TileGrid::assign(const TileRange& range, const std::optional<PremultipliedColor>& color) {
    std::optional<UniformTileNodes> uniform;
    if (color && !color->isTransparent()) uniform.emplace(*color);
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileRange part = quadrant.partOf(range);
        if (part.isEmpty()) continue;
        TileGridNodeRef& tree = root(quadrant);
        if (!tree && !uniform) continue;
        int height = tree ? tree->height : 1;
        if (uniform) height = std::max(height, quadrant.heightFor(part));
        tree = TileGridEdit::raised(std::move(tree), height, quadrant.cornerSlot());
        tree = assigned(tree.get(), height,
                        localRange(part, quadrant.originX(height), quadrant.originY(height)),
                        uniform ? &*uniform : nullptr);
        tree = TileGridEdit::lowered(std::move(tree), quadrant.cornerSlot());
    }
}

TileRangeContent TileGrid::contentOf(const TileRange& range) const {
    RegionLook look;
    if (!(intersectionOf(range, TileRange::everything()) == range)) look.addAbsent();
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileRange part = quadrant.partOf(range);
        if (part.isEmpty()) continue;
        const TileGridNode* node = root(quadrant).get();
        if (node == nullptr || quadrant.heightFor(part) > node->height) look.addAbsent();
        if (node == nullptr) continue;
        look.add(node, node->height,
                 localRange(part, quadrant.originX(node->height), quadrant.originY(node->height)));
    }
    return look.content();
}

TileGrid TileGrid::subgridOfTiles(const TileRange& range) const {
    TileGrid result(format_);
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileGridNode* node = root(quadrant).get();
        if (node == nullptr) continue;
        TileGridNodeRef kept =
            restricted(node, localRange(quadrant.partOf(range), quadrant.originX(node->height),
                                        quadrant.originY(node->height)));
        result.root(quadrant) = TileGridEdit::lowered(std::move(kept), quadrant.cornerSlot());
    }
    return result;
}

TileGrid TileGrid::subgrid(const PixelRect& rect) const {
    return subgridOfTiles(rect.tileRange());
}

TileGrid TileGrid::shiftedByTiles(std::int64_t dx, std::int64_t dy) const {
    TileGrid result(format_);
    if (isEmpty()) return result;
    TileRange bounds = tileBounds();
    const TileCoord least = TileCoord::checked(bounds.minX + dx, bounds.minY + dy);
    const TileCoord greatest = TileCoord::checked(bounds.maxX + dx, bounds.maxY + dy);
    bounds = {least.x, least.y, greatest.x, greatest.y};
    Shifter shifter(*this, dx, dy);
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        const TileRange part = quadrant.partOf(bounds);
        if (part.isEmpty()) continue;
        const int height = quadrant.heightFor(part);
        result.root(quadrant) = TileGridEdit::lowered(
            shifter.block(height, quadrant.originX(height), quadrant.originY(height)),
            quadrant.cornerSlot());
    }
    // Shared nodes have moved with the tiles in them.
    result.forEachTile([](TileCoord coord, const Tile& tile) { tile.storage().places.add(coord); });
    return result;
}

} // namespace ombrel
