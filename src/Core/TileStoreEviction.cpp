// The slow half of the store: what runs on its maintenance strand, one job at a time.
#include "Base/Check.h"
#include "Base/Log.h"
#include "Base/ParallelFor.h"
#include "Core/TileStoreState.h"

#include <algorithm>
#include <chrono>
#include <latch>
#include <unordered_map>
#include <utility>

namespace ombrel {

namespace {

/// Tiles that are picked under one hold of the lock. Few enough that nobody waits for the picking,
/// enough that all threads have something to encode.
constexpr std::size_t batchSize = 32;

/// Without a commit, an undo or a redo in it, somebody looks at the picture and does not work on
/// it: what was kept at hand for the next edit goes back to the system.
constexpr std::chrono::seconds quietTime{5};

/// What is looked at again then: bounds the list while somebody never pauses.
constexpr std::size_t mostCoolingTiles = std::size_t{1} << 17;

/// Nine tenths of a limit: room before the next round.
constexpr std::int64_t targetOf(std::int64_t limit) {
    return limit / 10 * 9 + limit % 10 * 9 / 10;
}

} // namespace

/// A buffer that a job encodes. Installed only if nobody has used the tile since.
struct TileStore::Implementation::EncodePick {
    TileStorageReference storage;
    std::uint64_t generation;
    std::uint64_t lastUse;
    std::span<const std::byte> bytes;
};

struct TileStore::Implementation::SpillPick {
    TileStorageReference storage;
    std::uint64_t generation;
    SharedBlob blob;
};

void TileStore::Implementation::scheduleMaintenance() {
    maintenance->post([weak = owner.weak_from_this()] {
        const auto store = weak.lock();
        if (!store) return;
        Implementation& state = *store->implementation_;
        Budget limits;
        {
            const LockGuard lock(state.mutex);
            limits = state.budget;
        }
        state.evict(targetOf(limits.residentBytes), targetOf(limits.compressedBytes), false);
        const LockGuard lock(state.mutex);
        state.isMaintenanceScheduled = false;
    });
}

void TileStore::Implementation::scheduleDiscard() {
    maintenance->post([weak = owner.weak_from_this()] {
        if (const auto store = weak.lock()) store->implementation_->freeDiscarded();
    });
}

void TileStore::Implementation::freeDiscarded() {
    std::vector<TileBuffer> garbage;
    const LockGuard lock(mutex);
    garbage.swap(discarded); // freed after the lock
    isDiscardScheduled = false;
}

void TileStore::evict(std::int64_t residentTarget, std::int64_t compressedTarget, bool dropPool) {
    Implementation& state = *implementation_;
    if (state.maintenance->isCurrent()) {
        state.evict(residentTarget, compressedTarget, dropPool);
        return;
    }
    OMBREL_CHECK(!ThreadPool::shared(TaskPriority::utility).isCurrent(),
                 "no task of the utility pool waits for the store's maintenance");
    std::latch done(1);
    state.maintenance->post([&] {
        state.evict(residentTarget, compressedTarget, dropPool);
        done.count_down();
    });
    done.wait();
}

void TileStore::keepPace() {
    Implementation& state = *implementation_;
    const auto isFarOver = [](std::int64_t bytes, std::int64_t limit) {
        return bytes - limit > limit / 4;
    };
    Budget limits;
    {
        const LockGuard lock(state.mutex);
        limits = state.budget;
        if (!isFarOver(state.counts.residentBytes, limits.residentBytes) &&
            !(state.scratch && isFarOver(state.counts.compressedBytes, limits.compressedBytes))) {
            return;
        }
    }
    evict(targetOf(limits.residentBytes), targetOf(limits.compressedBytes), false);
}

void TileStore::Implementation::evict(std::int64_t residentTarget, std::int64_t compressedTarget,
                                      bool dropPool) {
    const TimingInterval interval("Evict");
    compressColdest(residentTarget, compressedTarget);
    spillColdest(compressedTarget);
    if (dropPool) {
        std::array<std::vector<TileBuffer>, 2> dropped;
        const LockGuard lock(mutex);
        dropped = emptyPool(); // freed after the lock
    }
    freeDiscarded();
}

void TileStore::Implementation::relieve(MemoryPressure level) {
    std::int64_t residentBytes = 0;
    std::int64_t compressedLimit = 0;
    {
        const LockGuard lock(mutex);
        residentBytes = counts.residentBytes;
        compressedLimit = budget.compressedBytes;
    }
    if (level == MemoryPressure::critical) {
        evict(0, 0, true);
    } else {
        evict(residentBytes / 2, compressedLimit / 2, true);
    }
}

TileStore::Implementation::EncodePick
TileStore::Implementation::pickForEncoding(TileStorage& storage) {
    const auto& buffer = std::get<TileBuffer>(storage.residency);
    storage.isBeingEncoded = true;
    return {TileStorageReference(storage),
            storage.generation,
            storage.lastUse,
            {buffer.bytes(), buffer.size()}};
}

/// Spills as it goes, so that what is compressed does not pile up in memory meanwhile.
void TileStore::Implementation::compressColdest(std::int64_t residentTarget,
                                                std::int64_t compressedTarget) {
    std::int64_t excess = 0;
    {
        const LockGuard lock(mutex);
        excess = counts.residentBytes - residentTarget;
    }
    // In batches: a tile that was picked is gone from the cold end when the next batch is picked,
    // compressed, released or used again.
    while (excess >= 1) {
        std::vector<EncodePick> picks;
        picks.reserve(batchSize);
        {
            const LockGuard lock(mutex);
            TileStorage* storage = residentOrder.coldest();
            for (; storage != nullptr && excess >= 1 && picks.size() < batchSize;
                 storage = storage->hotter) {
                if (storage->pinCount != 0) continue;
                picks.push_back(pickForEncoding(*storage));
                excess -= static_cast<std::int64_t>(bytesPerTile(storage->format));
            }
        }
        if (picks.empty()) return;
        encode(picks);
        spillColdest(compressedTarget);
    }
}

void TileStore::Implementation::compressListed(std::span<const TileStorageReference> tiles) {
    while (!tiles.empty()) {
        const std::span<const TileStorageReference> batch =
            tiles.first(std::min(tiles.size(), batchSize));
        tiles = tiles.subspan(batch.size());
        std::vector<EncodePick> picks;
        picks.reserve(batchSize);
        {
            const LockGuard lock(mutex);
            for (const TileStorageReference& storage : batch) {
                if (!storage->isReleased && storage->isResident() && storage->pinCount == 0 &&
                    !storage->isBeingEncoded) { // listed twice
                    picks.push_back(pickForEncoding(*storage));
                }
            }
        }
        encode(picks);
    }
}

void TileStore::Implementation::compressUnneeded(std::vector<TileStorageReference> tiles) {
    compressListed(tiles);
    bool isOver = false;
    {
        const LockGuard lock(mutex);
        // Somebody still draws the state before and may bring them back: they are looked at again.
        for (TileStorageReference& storage : tiles) {
            if (coolingTiles.size() == mostCoolingTiles) break;
            if (!storage->isReleased) coolingTiles.push_back(std::move(storage));
        }
        isOver = claimMaintenance();
    }
    if (isOver) scheduleMaintenance();
    tidyUpWhenQuiet();
}

void TileStore::Implementation::tidyUpWhenQuiet() {
    quiet.startOnce(quietTime, *maintenance, [weak = owner.weak_from_this()] {
        if (const auto store = weak.lock()) store->implementation_->tidyUp();
    });
}

void TileStore::Implementation::tidyUp() {
    const std::vector<TileStorageReference> cold = std::exchange(coolingTiles, {});
    compressListed(cold);
    std::array<std::vector<TileBuffer>, 2> dropped; // freed after the lock
    bool isAtRest = false;
    {
        const LockGuard lock(mutex);
        isAtRest = counts.pooledBytes == 0;
        dropped = emptyPool();
    }
    // Somebody still draws what was edited: later there may be buffers again.
    if (!isAtRest) tidyUpWhenQuiet();
}

void TileStore::Implementation::encode(std::span<EncodePick> picks) {
    // Nobody waits for the encoding, unless tiles are made so fast that threads which yield to
    // everything else would never catch up.
    const bool isUrgent = [this] {
        const LockGuard lock(mutex);
        return counts.residentBytes - budget.residentBytes > budget.residentBytes / 4;
    }();
    const TaskPriority priority = isUrgent ? TaskPriority::userInitiated : TaskPriority::utility;
    parallelFor(ThreadPool::shared(priority), picks.size(),
                [&](std::size_t i) { encode(picks[i]); });
    freeDiscarded();
}

void TileStore::Implementation::encode(EncodePick& pick) {
    TileStorage& storage = *pick.storage;
    SharedBlob blob =
        std::make_shared<const TileBlob>(TileCompression::encode(pick.bytes, storage.format));
    Residency left = blob; // whatever is left over is dropped after the lock
    const LockGuard lock(mutex);
    storage.isBeingEncoded = false;
    if (storage.isReleased) {
        left = std::move(storage.residency);
    } else if (storage.pinCount == 0 && storage.generation == pick.generation &&
               storage.lastUse == pick.lastUse) {
        left = change(storage, std::move(blob));
    } else {
        return;
    }
    giveToPool(std::get<TileBuffer>(left));
}

void TileStore::Implementation::spillColdest(std::int64_t compressedTarget) {
    if (!scratch) return;
    std::int64_t excess = 0;
    {
        const LockGuard lock(mutex);
        excess = counts.compressedBytes - compressedTarget;
    }
    while (excess >= 1) {
        std::vector<SpillPick> picks;
        picks.reserve(batchSize);
        {
            const LockGuard lock(mutex);
            for (const auto& [lastUse, storage] : compressedOrder) {
                if (excess < 1 || picks.size() == batchSize) break;
                const auto& blob = std::get<SharedBlob>(storage->residency);
                picks.push_back({TileStorageReference(*storage), storage->generation, blob});
                excess -= static_cast<std::int64_t>(blob->size());
            }
        }
        if (picks.empty()) return;
        for (SpillPick& pick : picks) {
            if (!spill(pick)) return;
        }
    }
}

/// False when the scratch space takes no more.
bool TileStore::Implementation::spill(SpillPick& pick) {
    const auto extent = scratch->write(*pick.blob);
    if (!extent) return false;
    TileStorage& storage = *pick.storage;
    Residency left = *extent; // the new extent, unless it is installed
    {
        const LockGuard lock(mutex);
        if (!storage.isReleased && storage.generation == pick.generation) {
            left = change(storage, *extent);
        }
    }
    if (const auto* unused = std::get_if<Extent>(&left)) scratch->release(*unused);
    return true;
}

void TileStore::compress(std::span<const Tile> tiles) {
    std::unordered_map<TileStore*, std::vector<TileStorageReference>> byStore;
    for (const Tile& tile : tiles) {
        byStore[&tile.store()].emplace_back(tile.storage());
    }
    for (auto& [store, listed] : byStore) {
        store->implementation_->maintenance->post(
            [weak = store->weak_from_this(), storages = std::move(listed)]() mutable {
                if (const auto held = weak.lock()) {
                    held->implementation_->compressUnneeded(std::move(storages));
                }
            });
    }
}

} // namespace ombrel
