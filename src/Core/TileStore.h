// The one owner of all pixels. Each tile is resident (a buffer that can be touched), compressed (a
// blob in memory) or spilled (the same blob in an unlinked scratch file); the store moves the
// coldest tiles down when a budget is passed and brings them back when they are pinned.
// Every operation may be called from any thread. No lock is held across compression or I/O: slow
// work runs on a remembered generation and is installed only if that still matches.
// A store lives as long as somebody holds it or any of its tiles exists.
#pragma once

#include "Core/MemoryPressure.h"
#include "Core/ScratchSpace.h"
#include "Core/Tile.h"
#include "Core/TileBuffer.h"
#include "Core/TileCompression.h"

#include <filesystem>
#include <memory>
#include <span>

namespace ombrel {

class TileStore : public std::enable_shared_from_this<TileStore> {
public:
    struct Budget {
        std::int64_t residentBytes = 0;   ///< uncompressed tile bytes
        std::int64_t compressedBytes = 0; ///< blobs in memory
        std::int64_t poolBytes = 0;       ///< free buffers kept for reuse

        /// Limits from the size of the physical memory in bytes and the share of it that
        /// uncompressed tiles may take (0 to 1).
        static Budget ofMemory(std::int64_t physicalBytes, double share);
        bool operator==(const Budget&) const = default;
    };

    struct Statistics {
        std::int64_t tileCount = 0;
        std::int64_t residentTiles = 0;
        std::int64_t residentBytes = 0;
        std::int64_t compressedTiles = 0;
        std::int64_t compressedBytes = 0;
        std::int64_t spilledTiles = 0;
        std::int64_t spilledBytes = 0;
        std::int64_t pooledBytes = 0;
        std::int64_t pinnedTiles = 0;

        bool operator==(const Statistics&) const = default;
    };

    /// What the store stands on; either may be absent. Without scratch space nothing is spilled,
    /// without a pressure source only the budget counts.
    struct Services {
        std::unique_ptr<ScratchSpace> scratch;
        std::unique_ptr<MemoryPressureSource> pressure;
    };

    /// The store of the process, made on first use with half of the physical memory, scratch space
    /// in "OmbrelScratch" under the temporary directory, and the system's pressure source. Never
    /// destroyed.
    static TileStore& shared();

    /// With the system's pressure source. Without a usable scratch directory the store has two
    /// levels and nothing is spilled.
    static std::shared_ptr<TileStore> create(Budget budget,
                                             const std::filesystem::path& scratchDirectory);
    static std::shared_ptr<TileStore> create(Budget budget, Services services);
    ~TileStore();
    TileStore(const TileStore&) = delete;
    TileStore& operator=(const TileStore&) = delete;

    Budget budget() const;
    void setBudget(Budget budget); ///< may start maintenance
    Statistics statistics() const;
    std::int64_t damagedTileCount() const; ///< tiles that failed to decode and read as transparent

    TileBuffer acquireBuffer(TileFormat format);     ///< from the pool, or new; contents undefined
    void recycleBuffer(TileBuffer buffer);           ///< to the pool while it has room
    Tile makeTile(TileBuffer buffer);                ///< resident
    Tile makeTile(TileBlob blob, TileFormat format); ///< compressed; decoded when first pinned

    /// The tile's pixels, resident until the matching unpin. They may be written only while nobody
    /// else holds or reads the tile. A tile that cannot be decoded reads as zeros and is counted;
    /// one that cannot be read back from the scratch space ends the process. Prefer TilePin.
    std::byte* pin(const Tile& tile);
    void unpin(const Tile& tile);
    bool isResident(const Tile& tile) const;
    /// The stored form without making the tile resident; a resident tile is encoded for the call.
    TileBlob compressedBlob(const Tile& tile);

    /// Pages the non-resident tiles in, in parallel, where there are at least two: a single one is
    /// cheaper to bring in when it is used. The tiles may belong to different stores.
    static void prefetch(std::span<const Tile> tiles);
    /// A hint that these tiles are needed less from now on: encoded in the background, whatever
    /// the budget. Does not keep them alive. The tiles may belong to different stores.
    static void compress(std::span<const Tile> tiles);
    /// Compresses the coldest unpinned tiles until `residentTarget` bytes are left, then spills the
    /// coldest blobs until `compressedTarget` bytes are left, and empties the pool if asked. Waits
    /// until that is done; not to be called from a task of the utility pool. Maintenance does the
    /// same by itself when a budget is passed.
    void evict(std::int64_t residentTarget, std::int64_t compressedTarget, bool dropPool);
    /// For loops that make or page in tiles by the gigabyte (import, flattening): waits while the
    /// store is more than a quarter over a budget, so that they cannot outrun maintenance. With
    /// many tiles pinned it returns over the budget; not for the utility pool.
    void keepPace();

private:
    friend class Tile;
    struct Implementation;

    TileStore(Budget budget, std::unique_ptr<ScratchSpace> scratch);
    static void release(TileStorage& storage); ///< the last handle has gone

    std::unique_ptr<Implementation> implementation_;
};

/// Keeps a tile resident for a scope.
class TilePin {
public:
    explicit TilePin(const Tile& tile) : tile_(tile), bytes_(tile.store().pin(tile)) {}
    TilePin(TilePin&& other) noexcept
        : tile_(std::move(other.tile_)), bytes_(std::exchange(other.bytes_, nullptr)) {}
    TilePin(const TilePin&) = delete;
    TilePin& operator=(const TilePin&) = delete;
    TilePin& operator=(TilePin&&) = delete;
    ~TilePin() {
        if (bytes_ != nullptr) tile_.store().unpin(tile_);
    }

    const std::byte* bytes() const { return bytes_; }

private:
    Tile tile_;
    std::byte* bytes_;
};

} // namespace ombrel
