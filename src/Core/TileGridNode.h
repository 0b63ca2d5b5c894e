// The nodes of a TileGrid's tree. A node covers a square of 8^height x 8^height cells; its 64 slots
// (row times 8 plus column) hold children one lower, or cells in a leaf (height 1), and only the
// occupied ones are stored, packed in slot order. Nodes are shared between grids by reference count
// and changed only while exactly one grid holds them; full subtrees of one colour share one node a
// height. Coordinates are cut into digits of 3 bits as they stand, in two's complement, so slots
// run in ascending order on both sides of zero.
#pragma once

#include "Core/Geometry.h"
#include "Core/PremultipliedColor.h"
#include "Core/Tile.h"

#include <atomic>
#include <bit>
#include <cstdint>
#include <utility>

namespace ombrel {

/// One stored cell; which of the two it is stands in the leaf's tile mask.
union TileGridCell {
    PremultipliedColor color;
    Tile tile;

    TileGridCell() : color() {}
    ~TileGridCell() {}
    TileGridCell(const TileGridCell&) = delete;
    TileGridCell& operator=(const TileGridCell&) = delete;
};

struct TileGridNode {
    static constexpr int slotCount = 64;
    static constexpr int maximumHeight = 11; ///< 8^11 cells a side hold every 32-bit coordinate

    std::atomic<std::uint32_t> references{1};
    const std::uint8_t height;   ///< 1 for a leaf
    const std::uint8_t capacity; ///< slots there is room for
    bool isUniform = false;      ///< full, and every cell below is the same solid
    std::uint64_t occupancy = 0; ///< a bit a slot
    /// The sum of fingerprint terms below, taken from this node's corner; 0 while not known.
    mutable std::atomic<std::uint64_t> fingerprint{0};

    TileGridNode(int nodeHeight, int nodeCapacity)
        : height(static_cast<std::uint8_t>(nodeHeight)),
          capacity(static_cast<std::uint8_t>(nodeCapacity)) {}

    static constexpr std::int64_t sideOfHeight(int height) {
        return std::int64_t{1} << (3 * height);
    }
    std::int64_t side() const { return sideOfHeight(height); } ///< in cells
    std::int64_t childSide() const { return sideOfHeight(height - 1); }
    bool isLeaf() const { return height == 1; }
    int count() const { return std::popcount(occupancy); }
    bool holds(int slot) const { return (occupancy >> slot & 1) != 0; }
    /// Where an occupied slot's entry lies among the packed ones.
    int indexOf(int slot) const {
        return std::popcount(occupancy & ((std::uint64_t{1} << slot) - 1));
    }
    int slotOf(TileCoord coord) const {
        const int shift = 3 * (height - 1);
        return ((coord.y >> shift) & 7) << 3 | ((coord.x >> shift) & 7);
    }
    std::int64_t cellCount() const;
    std::int64_t pixelCellCount() const; ///< cells that are stored tiles
};

struct TileGridLeaf : TileGridNode {
    std::uint64_t tileMask = 0; ///< which occupied slots are tiles; the others are solids

    explicit TileGridLeaf(int leafCapacity) : TileGridNode(1, leafCapacity) {}

    /// Room for `capacity` cells; none is stored yet.
    static TileGridLeaf* make(int capacity);

    TileGridCell* cells() { return reinterpret_cast<TileGridCell*>(this + 1); }
    const TileGridCell* cells() const { return reinterpret_cast<const TileGridCell*>(this + 1); }
    bool isTile(int slot) const { return (tileMask >> slot & 1) != 0; }

    /// Adds a cell after all that are stored: slots must come in ascending order.
    void append(int slot, const TileGridCell& cell, bool tile);
    void append(int slot, const PremultipliedColor& color);
    void append(int slot, const Tile& tile);
};

struct TileGridBranch : TileGridNode {
    std::int64_t cells = 0;
    std::int64_t pixelCells = 0;

    TileGridBranch(int branchHeight, int branchCapacity)
        : TileGridNode(branchHeight, branchCapacity) {}

    static TileGridBranch* make(int height, int capacity);

    TileGridNode** children() { return reinterpret_cast<TileGridNode**>(this + 1); }
    TileGridNode* const* children() const {
        return reinterpret_cast<TileGridNode* const*>(this + 1);
    }
    TileGridNode* child(int slot) const { return children()[indexOf(slot)]; }

    /// Adds a child after all that are stored, adopting one reference.
    void append(int slot, TileGridNode* child);
};

inline TileGridLeaf& leafOf(TileGridNode& node) {
    return static_cast<TileGridLeaf&>(node);
}
inline const TileGridLeaf& leafOf(const TileGridNode& node) {
    return static_cast<const TileGridLeaf&>(node);
}
inline TileGridBranch& branchOf(TileGridNode& node) {
    return static_cast<TileGridBranch&>(node);
}
inline const TileGridBranch& branchOf(const TileGridNode& node) {
    return static_cast<const TileGridBranch&>(node);
}

inline std::int64_t TileGridNode::cellCount() const {
    return isLeaf() ? count() : branchOf(*this).cells;
}
inline std::int64_t TileGridNode::pixelCellCount() const {
    return isLeaf() ? std::popcount(leafOf(*this).tileMask) : branchOf(*this).pixelCells;
}

/// Shares a node. Null is allowed and means a subtree without cells.
class TileGridNodeRef {
public:
    TileGridNodeRef() = default;
    /// Adopts one reference.
    explicit TileGridNodeRef(TileGridNode* node) : node_(node) {}
    TileGridNodeRef(const TileGridNodeRef& other) : node_(retained(other.node_)) {}
    TileGridNodeRef(TileGridNodeRef&& other) noexcept
        : node_(std::exchange(other.node_, nullptr)) {}
    TileGridNodeRef& operator=(TileGridNodeRef other) noexcept {
        std::swap(node_, other.node_);
        return *this;
    }
    ~TileGridNodeRef() { release(node_); }

    static TileGridNodeRef sharing(const TileGridNode* node) {
        return TileGridNodeRef(retained(const_cast<TileGridNode*>(node)));
    }

    TileGridNode* get() const { return node_; }
    const TileGridNode* operator->() const { return node_; }
    explicit operator bool() const { return node_ != nullptr; }
    /// Gives the reference up to the caller.
    TileGridNode* detach() { return std::exchange(node_, nullptr); }
    /// The pointer itself, for edits that replace the node.
    TileGridNode*& place() { return node_; }

    static TileGridNode* retained(TileGridNode* node) {
        if (node != nullptr) node->references.fetch_add(1, std::memory_order_relaxed);
        return node;
    }
    static void release(TileGridNode* node) {
        if (node == nullptr) return;
        // The only holder needs no locked decrement: nobody else can raise the count meanwhile.
        if (node->references.load(std::memory_order_acquire) == 1 ||
            node->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy(node);
    }

private:
    static void destroy(TileGridNode* node);

    TileGridNode* node_ = nullptr;
};

/// Edits of one subtree, below a pointer that owns one reference. Shared nodes are cloned on the
/// way, so no other grid sees a change.
namespace TileGridEdit {

/// A fresh subtree with one cell; the caller owns the reference.
TileGridNode* withCell(int height, TileCoord coord, const TileContent& content);
/// Adds or replaces the cell; the root must cover the coordinate.
void put(TileGridNode*& root, TileCoord coord, const TileContent& content);
/// Removes a cell that is there; the root becomes null with its last cell.
void erase(TileGridNode*& root, TileCoord coord);
/// The root grown to `height` by parents that hold it in their corner slot.
TileGridNodeRef raised(TileGridNodeRef root, int height, int cornerSlot);
/// Without the parents that hold nothing but a child in their corner slot.
TileGridNodeRef lowered(TileGridNodeRef root, int cornerSlot);

} // namespace TileGridEdit

/// Full nodes of one colour, made when first asked for.
class UniformTileNodes {
public:
    explicit UniformTileNodes(const PremultipliedColor& color) : color_(color) {}

    const PremultipliedColor& color() const { return color_; }
    TileGridNodeRef ofHeight(int height);
    /// Whether the node is such a full node already.
    bool matches(const TileGridNode& node) const;

private:
    PremultipliedColor color_;
    TileGridNodeRef nodes_[TileGridNode::maximumHeight + 1];
};

/// The colour of a uniform node.
const PremultipliedColor& colorOfUniform(const TileGridNode& node);
/// Bit for bit: tells the zeros apart and NaN equal to itself.
bool isSameBits(const PremultipliedColor& a, const PremultipliedColor& b);

} // namespace ombrel
