// Inside of the tile store: what its lock guards, and the bookkeeping that every change of a tile
// goes through, so that sums, counts and orders always agree with the records. Functions marked as
// requiring the lock never free big blocks, call out or touch the disk: they hand back what is to
// be dropped after the lock.
#pragma once

#include "Base/Strand.h"
#include "Base/ThreadAnnotations.h"
#include "Base/Timer.h"
#include "Core/MemoryPressure.h"
#include "Core/TileStorage.h"
#include "Core/TileStore.h"

#include <array>
#include <atomic>
#include <optional>
#include <vector>

namespace ombrel {

struct TileStore::Implementation {
    using SharedBlob = TileStorage::SharedBlob;
    using Residency = TileStorage::Residency;
    using Extent = ScratchSpace::Extent;

    /// A tile that is not resident, as it was under the lock.
    struct Cold {
        std::uint64_t generation = 0;
        SharedBlob blob;              ///< of a compressed tile
        std::optional<Extent> extent; ///< of a spilled one
    };

    Implementation(TileStore& store, Budget initial, std::unique_ptr<ScratchSpace> space);

    // What the handles and the public operations ask for (TileStore.cpp).
    Tile enter(TileFormat format, Residency content) OMBREL_EXCLUDES(mutex);
    std::byte* pageIn(TileStorage& storage, Cold cold) OMBREL_EXCLUDES(mutex);
    SharedBlob readBack(const Cold& cold) OMBREL_EXCLUDES(mutex);
    bool isUnchanged(const TileStorage& storage, const Cold& cold) OMBREL_EXCLUDES(mutex);
    TileBuffer acquireBuffer(TileFormat format) OMBREL_EXCLUDES(mutex);
    void release(TileStorage& storage) OMBREL_EXCLUDES(mutex);

    // Work on the maintenance strand (TileStoreEviction.cpp).
    struct EncodePick;
    struct SpillPick;
    void scheduleMaintenance();
    void scheduleDiscard();
    void freeDiscarded() OMBREL_EXCLUDES(mutex);
    void evict(std::int64_t residentTarget, std::int64_t compressedTarget, bool dropPool)
        OMBREL_EXCLUDES(mutex);
    void relieve(MemoryPressure level) OMBREL_EXCLUDES(mutex);
    void compressColdest(std::int64_t residentTarget, std::int64_t compressedTarget)
        OMBREL_EXCLUDES(mutex);
    void compressListed(std::span<const TileStorageReference> tiles) OMBREL_EXCLUDES(mutex);
    void compressUnneeded(std::vector<TileStorageReference> tiles) OMBREL_EXCLUDES(mutex);
    void tidyUpWhenQuiet();
    void tidyUp() OMBREL_EXCLUDES(mutex);
    void encode(std::span<EncodePick> picks) OMBREL_EXCLUDES(mutex);
    void encode(EncodePick& pick) OMBREL_EXCLUDES(mutex);
    void spillColdest(std::int64_t compressedTarget) OMBREL_EXCLUDES(mutex);
    bool spill(SpillPick& pick) OMBREL_EXCLUDES(mutex);
    EncodePick pickForEncoding(TileStorage& storage) OMBREL_REQUIRES(mutex);

    // Bookkeeping (TileStoreState.cpp).
    /// The clock moves on; every use of a tile has a time of its own.
    void touch(TileStorage& storage) OMBREL_REQUIRES(mutex) { storage.lastUse = ++clock; }
    void addPin(TileStorage& storage) OMBREL_REQUIRES(mutex);
    void removePin(TileStorage& storage) OMBREL_REQUIRES(mutex);
    /// Of a tile that is not resident.
    Cold cold(const TileStorage& storage) const OMBREL_REQUIRES(mutex);
    /// Moves a tile to another residency and returns the old one.
    Residency change(TileStorage& storage, Residency next) OMBREL_REQUIRES(mutex);
    /// Takes a tile whose handles are gone off the books and returns what it held; nothing while a
    /// job still reads its buffer.
    std::optional<Residency> leave(TileStorage& storage) OMBREL_REQUIRES(mutex);
    /// Adds a tile to sums, counts and orders by its residency, or takes it out.
    void settle(TileStorage& storage) OMBREL_REQUIRES(mutex);
    void unsettle(TileStorage& storage) OMBREL_REQUIRES(mutex);
    /// Moves the buffer into the pool if there is room; else it stays with the caller.
    void giveToPool(TileBuffer& buffer) OMBREL_REQUIRES(mutex);
    /// Into the pool, or to those that wait to be freed. True when the caller must schedule that.
    bool retire(TileBuffer buffer) OMBREL_REQUIRES(mutex);
    /// Off the pool, or one that waits to be freed.
    std::optional<TileBuffer> takeFree(TileFormat format) OMBREL_REQUIRES(mutex);
    std::array<std::vector<TileBuffer>, 2> emptyPool() OMBREL_REQUIRES(mutex);
    /// True at most once until maintenance has run: the caller then schedules it.
    bool claimMaintenance() OMBREL_REQUIRES(mutex);

    TileStore& owner;
    const std::unique_ptr<ScratchSpace> scratch; ///< may be absent
    const std::shared_ptr<Strand> maintenance;   ///< serial, utility priority
    std::atomic<std::int64_t> damagedTiles = 0;

    // On the maintenance strand only.
    std::vector<TileStorageReference> coolingTiles; ///< not needed any more; may be in use
    Timer quiet;                                    ///< until tidyUp()

    mutable Mutex mutex;
    Budget budget OMBREL_GUARDED_BY(mutex);
    Statistics counts OMBREL_GUARDED_BY(mutex);
    std::array<std::vector<TileBuffer>, 2> pool OMBREL_GUARDED_BY(mutex); ///< by format, a stack
    /// Buffers of released tiles that the pool had no room for: freed by maintenance, because
    /// giving memory back to the system takes long and releasing must not.
    std::vector<TileBuffer> discarded OMBREL_GUARDED_BY(mutex);
    bool isDiscardScheduled OMBREL_GUARDED_BY(mutex) = false;
    ResidentOrder residentOrder OMBREL_GUARDED_BY(mutex);
    TileStorage::CompressedOrder compressedOrder OMBREL_GUARDED_BY(mutex);
    std::uint64_t nextID OMBREL_GUARDED_BY(mutex) = 1;
    std::uint64_t clock OMBREL_GUARDED_BY(mutex) = 0;
    bool isMaintenanceScheduled OMBREL_GUARDED_BY(mutex) = false;
    std::shared_ptr<TileStore> self OMBREL_GUARDED_BY(mutex); ///< while there are tiles

    /// Last, so that it stops first: its handler posts to the strand.
    std::unique_ptr<MemoryPressureSource> pressure;
};

} // namespace ombrel
