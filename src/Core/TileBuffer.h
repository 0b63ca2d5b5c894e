// The memory of one uncompressed tile: a page-aligned block that is owned by whoever holds it.
// Blocks are cut from slabs of 2 MiB that the kernel may back with one huge page, because the page
// faults of a fresh block cost more than compressing the tile. Any thread.
#pragma once

#include "Core/Tile.h"

#include <cstddef>

namespace ombrel {

struct TileSlab;

/// bytesPerTile(format) bytes, freed when dropped, unless given to TileStore::makeTile or
/// TileStore::recycleBuffer.
class TileBuffer {
public:
    /// Contents undefined. Stops the process when there is no memory.
    static TileBuffer allocate(TileFormat format);

    TileBuffer(TileBuffer&& other) noexcept
        : format_(other.format_), bytes_(std::exchange(other.bytes_, nullptr)), slab_(other.slab_) {
    }
    TileBuffer& operator=(TileBuffer&& other) noexcept {
        std::swap(format_, other.format_);
        std::swap(bytes_, other.bytes_);
        std::swap(slab_, other.slab_);
        return *this;
    }
    ~TileBuffer();

    TileFormat format() const { return format_; }
    std::byte* bytes() const { return bytes_; }
    std::size_t size() const { return bytesPerTile(format_); }

private:
    TileBuffer(TileFormat format, std::byte* bytes, TileSlab* slab)
        : format_(format), bytes_(bytes), slab_(slab) {}

    TileFormat format_;
    std::byte* bytes_; ///< null only after a move
    TileSlab* slab_;   ///< where the block was cut from
};

} // namespace ombrel
