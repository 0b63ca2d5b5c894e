#include "Core/TileGridNode.h"

#include "Core/TileStorage.h"

#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <variant>

namespace ombrel {

static_assert(sizeof(TileGridCell) == 16);
static_assert(sizeof(TileGridLeaf) % alignof(TileGridCell) == 0);
static_assert(sizeof(TileGridBranch) % alignof(TileGridNode*) == 0);

namespace {

constexpr std::uint64_t bitOf(int slot) {
    return std::uint64_t{1} << slot;
}

// Powers of two, then multiples of 8: growing slot by slot stays cheap and a node is never much
// larger than what it holds.
int roundedCapacity(int needed) {
    return needed <= 8 ? static_cast<int>(std::bit_ceil(static_cast<unsigned>(needed)))
                       : (needed + 7) & ~7;
}

// Locked additions do not overlap their cache misses, so the lines are asked for beforehand.
void prefetchChildren(const TileGridBranch& branch) {
    const int count = branch.count();
    for (int index = 0; index < count; ++index)
        __builtin_prefetch(branch.children()[index], 1);
}

template <typename Action>
void forEachTileIndex(const TileGridLeaf& leaf, Action&& action) {
    if (leaf.tileMask == leaf.occupancy) {
        for (int index = 0, count = leaf.count(); index < count; ++index)
            action(index);
        return;
    }
    for (std::uint64_t rest = leaf.tileMask; rest != 0; rest &= rest - 1)
        action(leaf.indexOf(std::countr_zero(rest)));
}

void prefetchTiles(const TileGridLeaf& leaf) {
    forEachTileIndex(
        leaf, [&](int index) { __builtin_prefetch(&leaf.cells()[index].tile.storage(), 1); });
}

void freeNode(TileGridNode* node) {
    ::operator delete(static_cast<void*>(node));
}

// Bytes of the packed entries; they may be moved as they stand.
std::size_t entryBytes(const TileGridNode& node) {
    return static_cast<std::size_t>(node.count()) *
           (node.isLeaf() ? sizeof(TileGridCell) : sizeof(TileGridNode*));
}

void* entriesOf(TileGridNode& node) {
    return node.isLeaf() ? static_cast<void*>(leafOf(node).cells())
                         : static_cast<void*>(branchOf(node).children());
}

// A node with the same header and entries, whose entries are not yet counted as shared.
TileGridNode* bitwiseCopy(TileGridNode& node, int capacity) {
    TileGridNode* copy = nullptr;
    if (node.isLeaf()) {
        TileGridLeaf* leaf = TileGridLeaf::make(capacity);
        leaf->tileMask = leafOf(node).tileMask;
        copy = leaf;
    } else {
        TileGridBranch* branch = TileGridBranch::make(node.height, capacity);
        branch->cells = branchOf(node).cells;
        branch->pixelCells = branchOf(node).pixelCells;
        copy = branch;
    }
    copy->occupancy = node.occupancy;
    std::memcpy(entriesOf(*copy), entriesOf(node), entryBytes(node));
    return copy;
}

// Counts the entries of `copy` as shared with the node it was copied from.
void retainEntries(TileGridNode& copy, const TileGridNode& original) {
    if (copy.isLeaf()) {
        const TileGridLeaf& from = leafOf(original);
        TileGridCell* cells = leafOf(copy).cells();
        prefetchTiles(from);
        forEachTileIndex(
            from, [&](int index) { new (&cells[index].tile) Tile(from.cells()[index].tile); });
        return;
    }
    const TileGridBranch& branch = branchOf(copy);
    prefetchChildren(branch);
    for (int index = 0, count = branch.count(); index < count; ++index)
        TileGridNodeRef::retained(branch.children()[index]);
}

// Makes the node behind `place` one that may be changed, with room for `needed` entries.
TileGridNode& writable(TileGridNode*& place, int needed) {
    TileGridNode* node = place;
    const bool isShared = node->references.load(std::memory_order_acquire) != 1;
    if (isShared || node->capacity < needed) {
        place = bitwiseCopy(*node, roundedCapacity(needed));
        if (isShared) {
            retainEntries(*place, *node);
            TileGridNodeRef::release(node);
        } else {
            freeNode(node);
        }
    }
    place->isUniform = false;
    place->fingerprint.store(0, std::memory_order_relaxed);
    return *place;
}

// Opens a gap of one entry at a free slot of a node with room; the caller fills it.
void* openSlot(TileGridNode& node, int slot, std::size_t entrySize) {
    const auto index = static_cast<std::size_t>(node.indexOf(slot));
    const std::size_t after = static_cast<std::size_t>(node.count()) - index;
    auto* entry = static_cast<std::byte*>(entriesOf(node)) + index * entrySize;
    std::memmove(entry + entrySize, entry, after * entrySize);
    node.occupancy |= bitOf(slot);
    return entry;
}

// Closes the gap of an entry that the caller has given up.
void closeSlot(TileGridNode& node, int slot, std::size_t entrySize) {
    const auto index = static_cast<std::size_t>(node.indexOf(slot));
    const std::size_t after = static_cast<std::size_t>(node.count()) - index - 1;
    auto* entry = static_cast<std::byte*>(entriesOf(node)) + index * entrySize;
    std::memmove(entry, entry + entrySize, after * entrySize);
    node.occupancy &= ~bitOf(slot);
}

void storeContent(TileGridLeaf& leaf, TileCoord coord, void* cell, const TileContent& content) {
    const int slot = leaf.slotOf(coord);
    if (const Tile* tile = std::get_if<Tile>(&content)) {
        tile->storage().places.add(coord);
        new (cell) Tile(*tile);
        leaf.tileMask |= bitOf(slot);
    } else {
        new (cell) PremultipliedColor(std::get<PremultipliedColor>(content));
        leaf.tileMask &= ~bitOf(slot);
    }
}

void dropTile(TileGridLeaf& leaf, int slot) {
    if (leaf.isTile(slot)) leaf.cells()[leaf.indexOf(slot)].tile.~Tile();
}

void putInLeaf(TileGridNode*& place, TileCoord coord, const TileContent& content) {
    const int slot = place->slotOf(coord);
    if (place->holds(slot)) {
        TileGridLeaf& leaf = leafOf(writable(place, place->count()));
        dropTile(leaf, slot);
        storeContent(leaf, coord, leaf.cells() + leaf.indexOf(slot), content);
        return;
    }
    TileGridLeaf& leaf = leafOf(writable(place, place->count() + 1));
    storeContent(leaf, coord, openSlot(leaf, slot, sizeof(TileGridCell)), content);
}

// What putting one cell adds to the counts above it.
struct CountChange {
    int cells = 1;
    int pixelCells = 0;
};

CountChange changeOfPut(const TileGridNode* node, TileCoord coord, const TileContent& content) {
    CountChange change{1, std::holds_alternative<Tile>(content) ? 1 : 0};
    for (;; node = branchOf(*node).child(node->slotOf(coord))) {
        const int slot = node->slotOf(coord);
        if (!node->holds(slot)) return change;
        if (node->isLeaf()) return {0, change.pixelCells - (leafOf(*node).isTile(slot) ? 1 : 0)};
    }
}

bool isTileAt(const TileGridNode* node, TileCoord coord) {
    while (!node->isLeaf())
        node = branchOf(*node).child(node->slotOf(coord));
    return leafOf(*node).isTile(node->slotOf(coord));
}

void eraseBelow(TileGridNode*& place, TileCoord coord, int pixelCells) {
    if (place->cellCount() == 1) {
        TileGridNodeRef::release(std::exchange(place, nullptr));
        return;
    }
    TileGridNode& node = writable(place, place->count());
    const int slot = node.slotOf(coord);
    if (node.isLeaf()) {
        TileGridLeaf& leaf = leafOf(node);
        dropTile(leaf, slot);
        closeSlot(leaf, slot, sizeof(TileGridCell));
        leaf.tileMask &= ~bitOf(slot);
        return;
    }
    TileGridBranch& branch = branchOf(node);
    branch.cells -= 1;
    branch.pixelCells -= pixelCells;
    TileGridNode*& child = branch.children()[branch.indexOf(slot)];
    eraseBelow(child, coord, pixelCells);
    if (child == nullptr) closeSlot(branch, slot, sizeof(TileGridNode*));
}

} // namespace

TileGridLeaf* TileGridLeaf::make(int capacity) {
    const auto room = static_cast<std::size_t>(capacity) * sizeof(TileGridCell);
    return new (::operator new(sizeof(TileGridLeaf) + room)) TileGridLeaf(capacity);
}

void TileGridLeaf::append(int slot, const TileGridCell& cell, bool tile) {
    TileGridCell* place = cells() + count();
    if (tile) {
        new (&place->tile) Tile(cell.tile);
        tileMask |= bitOf(slot);
    } else {
        new (&place->color) PremultipliedColor(cell.color);
    }
    occupancy |= bitOf(slot);
}

void TileGridLeaf::append(int slot, const PremultipliedColor& color) {
    new (&cells()[count()].color) PremultipliedColor(color);
    occupancy |= bitOf(slot);
}

void TileGridLeaf::append(int slot, const Tile& tile) {
    new (&cells()[count()].tile) Tile(tile);
    tileMask |= bitOf(slot);
    occupancy |= bitOf(slot);
}

TileGridBranch* TileGridBranch::make(int height, int capacity) {
    const auto room = static_cast<std::size_t>(capacity) * sizeof(TileGridNode*);
    return new (::operator new(sizeof(TileGridBranch) + room)) TileGridBranch(height, capacity);
}

void TileGridBranch::append(int slot, TileGridNode* child) {
    children()[count()] = child;
    occupancy |= bitOf(slot);
    cells += child->cellCount();
    pixelCells += child->pixelCellCount();
}

void TileGridNodeRef::destroy(TileGridNode* node) {
    if (node->isLeaf()) {
        TileGridLeaf& leaf = leafOf(*node);
        prefetchTiles(leaf);
        forEachTileIndex(leaf, [&](int index) { leaf.cells()[index].tile.~Tile(); });
    } else {
        TileGridBranch& branch = branchOf(*node);
        prefetchChildren(branch);
        for (int index = 0, count = branch.count(); index < count; ++index)
            release(branch.children()[index]);
    }
    freeNode(node);
}

namespace TileGridEdit {

TileGridNode* withCell(int height, TileCoord coord, const TileContent& content) {
    TileGridLeaf* leaf = TileGridLeaf::make(1);
    const int slot = leaf->slotOf(coord);
    storeContent(*leaf, coord, openSlot(*leaf, slot, sizeof(TileGridCell)), content);
    TileGridNode* node = leaf;
    for (int level = 2; level <= height; ++level) {
        TileGridBranch* branch = TileGridBranch::make(level, 1);
        branch->append(branch->slotOf(coord), node);
        node = branch;
    }
    return node;
}

void put(TileGridNode*& root, TileCoord coord, const TileContent& content) {
    const CountChange change = changeOfPut(root, coord, content);
    TileGridNode** place = &root;
    while (!(*place)->isLeaf()) {
        const int slot = (*place)->slotOf(coord);
        const bool isThere = (*place)->holds(slot);
        TileGridBranch& branch = branchOf(writable(*place, (*place)->count() + (isThere ? 0 : 1)));
        branch.cells += change.cells;
        branch.pixelCells += change.pixelCells;
        if (!isThere) {
            TileGridNode* child = withCell(branch.height - 1, coord, content);
            new (openSlot(branch, slot, sizeof(TileGridNode*))) TileGridNode*(child);
            return;
        }
        place = &branch.children()[branch.indexOf(slot)];
    }
    putInLeaf(*place, coord, content);
}

void erase(TileGridNode*& root, TileCoord coord) {
    eraseBelow(root, coord, isTileAt(root, coord) ? 1 : 0);
}

TileGridNodeRef raised(TileGridNodeRef root, int height, int cornerSlot) {
    while (root && root->height < height) {
        TileGridBranch* parent = TileGridBranch::make(root->height + 1, 1);
        parent->append(cornerSlot, root.detach());
        root = TileGridNodeRef(parent);
    }
    return root;
}

TileGridNodeRef lowered(TileGridNodeRef root, int cornerSlot) {
    while (root && !root->isLeaf() && root->occupancy == bitOf(cornerSlot))
        root = TileGridNodeRef::sharing(branchOf(*root.get()).child(cornerSlot));
    return root;
}

} // namespace TileGridEdit

TileGridNodeRef UniformTileNodes::ofHeight(int height) {
    TileGridNodeRef& node = nodes_[height];
    if (node) return node;
    if (height == 1) {
        TileGridLeaf* leaf = TileGridLeaf::make(TileGridNode::slotCount);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot)
            leaf->append(slot, color_);
        node = TileGridNodeRef(leaf);
    } else {
        const TileGridNodeRef child = ofHeight(height - 1);
        TileGridBranch* branch = TileGridBranch::make(height, TileGridNode::slotCount);
        for (int slot = 0; slot < TileGridNode::slotCount; ++slot)
            branch->append(slot, TileGridNodeRef(child).detach());
        node = TileGridNodeRef(branch);
    }
    node.get()->isUniform = true;
    return node;
}

bool UniformTileNodes::matches(const TileGridNode& node) const {
    return node.isUniform && isSameBits(colorOfUniform(node), color_);
}

const PremultipliedColor& colorOfUniform(const TileGridNode& node) {
    const TileGridNode* below = &node;
    while (!below->isLeaf())
        below = branchOf(*below).children()[0];
    return leafOf(*below).cells()[0].color;
}

bool isSameBits(const PremultipliedColor& a, const PremultipliedColor& b) {
    using Words = std::array<std::uint64_t, 2>;
    return std::bit_cast<Words>(a) == std::bit_cast<Words>(b);
}

} // namespace ombrel
