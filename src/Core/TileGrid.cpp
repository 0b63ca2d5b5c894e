#include "Core/TileGrid.h"

#include "Base/Check.h"

#include <algorithm>
#include <limits>
#include <variant>

namespace ombrel {

namespace {

bool removesCell(const std::optional<TileContent>& content) {
    if (!content) return true;
    const auto* color = std::get_if<PremultipliedColor>(&*content);
    return color != nullptr && color->isTransparent();
}

// Whether writing would change nothing, down to the bits of a colour.
bool alreadyHolds(const TileCell& cell, const TileContent& content) {
    if (const auto* color = std::get_if<PremultipliedColor>(&content))
        return cell.isSolid() && isSameBits(cell.color(), *color);
    return cell.isPixels() && cell.tile() == std::get<Tile>(content);
}

enum class Axis { x, y };
enum class End { least, greatest };

// The least or greatest column or row of a cell below the node, counted from the node's corner.
// Only children along that side are looked at, and no more once nothing can lie further out.
std::int64_t outermost(const TileGridNode& node, Axis axis, End end) {
    const std::int64_t side = node.childSide();
    for (int step = 0; step < 8; ++step) {
        const int line = end == End::least ? step : 7 - step;
        std::uint64_t rest = node.occupancy & (axis == Axis::x ? 0x0101010101010101u << line
                                                               : std::uint64_t{0xFF} << (8 * line));
        if (rest == 0) continue;
        if (node.isLeaf()) return line;
        const std::int64_t limit = end == End::least ? 0 : side - 1;
        std::int64_t best = side - 1 - limit;
        for (; rest != 0 && best != limit; rest &= rest - 1) {
            const auto found = outermost(*branchOf(node).child(std::countr_zero(rest)), axis, end);
            best = end == End::least ? std::min(best, found) : std::max(best, found);
        }
        return line * side + best;
    }
    return 0;
}

} // namespace

TileRange TileGrid::Quadrant::partOf(const TileRange& range) const {
    TileRange part = intersectionOf(range, TileRange::everything());
    if (isLeft())
        part.maxX = std::min<std::int64_t>(part.maxX, -1);
    else
        part.minX = std::max<std::int64_t>(part.minX, 0);
    if (isUpper())
        part.maxY = std::min<std::int64_t>(part.maxY, -1);
    else
        part.minY = std::max<std::int64_t>(part.minY, 0);
    return part.isEmpty() ? TileRange{} : part;
}

int TileGrid::Quadrant::heightFor(const TileRange& range) const {
    // How far the range reaches from the origin, in cells, less one.
    const std::int64_t reachX = isLeft() ? -1 - range.minX : range.maxX;
    const std::int64_t reachY = isUpper() ? -1 - range.minY : range.maxY;
    int height = 1;
    while (std::max(reachX, reachY) >= TileGridNode::sideOfHeight(height))
        ++height;
    return height;
}

bool TileGrid::isEmpty() const {
    return std::ranges::none_of(roots_, [](const TileGridNodeRef& root) { return bool(root); });
}

std::int64_t TileGrid::tileCount() const {
    std::int64_t count = 0;
    for (const TileGridNodeRef& root : roots_)
        count += root ? root->cellCount() : 0;
    return count;
}

std::int64_t TileGrid::pixelTileCount() const {
    std::int64_t count = 0;
    for (const TileGridNodeRef& root : roots_)
        count += root ? root->pixelCellCount() : 0;
    return count;
}

TileRange TileGrid::tileBounds() const {
    using Limits = std::numeric_limits<std::int64_t>;
    TileRange bounds{Limits::max(), Limits::max(), Limits::min(), Limits::min()};
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        if (!root(quadrant)) continue;
        const TileGridNode& node = *root(quadrant).get();
        const std::int64_t x = quadrant.originX(node.height);
        const std::int64_t y = quadrant.originY(node.height);
        bounds.minX = std::min(bounds.minX, x + outermost(node, Axis::x, End::least));
        bounds.minY = std::min(bounds.minY, y + outermost(node, Axis::y, End::least));
        bounds.maxX = std::max(bounds.maxX, x + outermost(node, Axis::x, End::greatest));
        bounds.maxY = std::max(bounds.maxY, y + outermost(node, Axis::y, End::greatest));
    }
    return bounds.isEmpty() ? TileRange{} : bounds;
}

TileCell TileGrid::cell(TileCoord coord) const {
    const Quadrant quadrant = Quadrant::of(coord);
    const TileGridNode* node = root(quadrant).get();
    if (node == nullptr || quadrant.heightFor({coord.x, coord.y, coord.x, coord.y}) > node->height)
        return {};
    for (;;) {
        const int slot = node->slotOf(coord);
        if (!node->holds(slot)) return {};
        if (node->isLeaf()) return cellAt(leafOf(*node), slot, node->indexOf(slot));
        node = branchOf(*node).child(slot);
    }
}

void TileGrid::set(TileCoord coord, std::optional<TileContent> content) {
    const bool removes = removesCell(content);
    if (!removes && std::holds_alternative<Tile>(*content))
        OMBREL_CHECK(std::get<Tile>(*content).format() == format_,
                     "a tile must have the format of its grid");
    const TileCell before = cell(coord);
    const Quadrant quadrant = Quadrant::of(coord);
    TileGridNodeRef& tree = root(quadrant);
    if (removes) {
        if (before.isAbsent()) return;
        TileGridEdit::erase(tree.place(), coord);
        tree = TileGridEdit::lowered(std::move(tree), quadrant.cornerSlot());
        return;
    }
    if (alreadyHolds(before, *content)) return;
    const int height = quadrant.heightFor({coord.x, coord.y, coord.x, coord.y});
    if (!tree)
        tree = TileGridNodeRef(TileGridEdit::withCell(height, coord, *content));
    else {
        tree = TileGridEdit::raised(std::move(tree), height, quadrant.cornerSlot());
        TileGridEdit::put(tree.place(), coord, *content);
    }
}

void TileGrid::merge(std::span<const std::pair<TileCoord, TileContent>> entries) {
    for (const auto& [coord, content] : entries)
        set(coord, content);
}

bool TileGrid::operator==(const TileGrid& other) const {
    if (format_ != other.format_ || tileCount() != other.tileCount()) return false;
    bool isEqual = true;
    diff(*this, other, [&](TileCoord, const TileCell&, const TileCell&) {
        isEqual = false;
        return false;
    });
    return isEqual;
}

} // namespace ombrel
