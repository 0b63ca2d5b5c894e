#include "Core/TileStore.h"

#include "Base/Check.h"
#include "Base/ParallelFor.h"
#include "Core/ScratchFile.h"
#include "Core/ScratchFolder.h"
#include "Core/TileStoreState.h"

#include <cstring>
#include <unistd.h>
#include <unordered_set>
#include <vector>

namespace ombrel {

TileStore::Budget TileStore::Budget::ofMemory(std::int64_t physicalBytes, double share) {
    const auto bytes = static_cast<double>(physicalBytes);
    return {static_cast<std::int64_t>(bytes * share), static_cast<std::int64_t>(bytes * 0.125),
            268435456};
}

TileStore& TileStore::shared() {
    static const std::shared_ptr<TileStore>& store = *new std::shared_ptr<TileStore>([] {
        const std::int64_t physicalBytes = sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE);
        return create(Budget::ofMemory(physicalBytes, 0.5),
                      {ScratchFolder::open(), MemoryPressureSource::ofSystem()});
    }());
    return *store;
}

std::shared_ptr<TileStore> TileStore::create(Budget budget,
                                             const std::filesystem::path& scratchDirectory) {
    auto file = ScratchFile::open(scratchDirectory);
    return create(budget, {file ? std::move(*file) : nullptr, MemoryPressureSource::ofSystem()});
}

std::shared_ptr<TileStore> TileStore::create(Budget budget, Services services) {
    std::shared_ptr<TileStore> store(new TileStore(budget, std::move(services.scratch)));
    if (services.pressure) {
        Implementation& state = *store->implementation_;
        state.pressure = std::move(services.pressure);
        // Holds the strand, not the store: the last handle on the store must not go on the thread
        // of the source, which the store's end waits for.
        state.pressure->start(
            [strand = state.maintenance, weak = std::weak_ptr(store)](MemoryPressure level) {
                strand->post([weak, level] {
                    if (const auto held = weak.lock()) held->implementation_->relieve(level);
                });
            });
    }
    return store;
}

TileStore::TileStore(Budget budget, std::unique_ptr<ScratchSpace> scratch)
    : implementation_(std::make_unique<Implementation>(*this, budget, std::move(scratch))) {}

TileStore::~TileStore() = default;

TileStore::Budget TileStore::budget() const {
    const LockGuard lock(implementation_->mutex);
    return implementation_->budget;
}

void TileStore::setBudget(Budget budget) {
    Implementation& state = *implementation_;
    bool isOver = false;
    {
        const LockGuard lock(state.mutex);
        state.budget = budget;
        isOver = state.claimMaintenance();
    }
    if (isOver) state.scheduleMaintenance();
}

TileStore::Statistics TileStore::statistics() const {
    const LockGuard lock(implementation_->mutex);
    return implementation_->counts;
}

std::int64_t TileStore::damagedTileCount() const {
    return implementation_->damagedTiles.load();
}

TileBuffer TileStore::acquireBuffer(TileFormat format) {
    return implementation_->acquireBuffer(format);
}

TileBuffer TileStore::Implementation::acquireBuffer(TileFormat format) {
    {
        const LockGuard lock(mutex);
        if (std::optional<TileBuffer> free = takeFree(format)) return std::move(*free);
    }
    return TileBuffer::allocate(format);
}

void TileStore::recycleBuffer(TileBuffer buffer) {
    OMBREL_CHECK(buffer.bytes() != nullptr, "a recycled buffer holds memory");
    const LockGuard lock(implementation_->mutex);
    implementation_->giveToPool(buffer); // what the pool refuses is freed after the lock
}

Tile TileStore::makeTile(TileBuffer buffer) {
    OMBREL_CHECK(buffer.bytes() != nullptr, "a tile's buffer holds memory");
    const TileFormat format = buffer.format();
    return implementation_->enter(format, std::move(buffer));
}

Tile TileStore::makeTile(TileBlob blob, TileFormat format) {
    return implementation_->enter(format, std::make_shared<const TileBlob>(std::move(blob)));
}

Tile TileStore::Implementation::enter(TileFormat format, Residency content) {
    auto storage = std::make_unique<TileStorage>(owner, format, std::move(content));
    bool isOver = false;
    {
        const LockGuard lock(mutex);
        storage->id = TileID{nextID++};
        touch(*storage);
        settle(*storage);
        if (counts.tileCount++ == 0) self = owner.shared_from_this();
        isOver = claimMaintenance();
    }
    if (isOver) scheduleMaintenance();
    return Tile(storage.release());
}

std::byte* TileStore::pin(const Tile& tile) {
    Implementation& state = *implementation_;
    TileStorage& storage = tile.storage();
    OMBREL_CHECK(&storage.store == this, "a tile is pinned in its own store");
    for (;;) {
        Implementation::Cold cold;
        {
            const LockGuard lock(state.mutex);
            state.touch(storage);
            if (const auto* buffer = std::get_if<TileBuffer>(&storage.residency)) {
                state.residentOrder.moveToEnd(storage);
                state.addPin(storage);
                return buffer->bytes();
            }
            cold = state.cold(storage);
        }
        if (std::byte* const bytes = state.pageIn(storage, std::move(cold))) return bytes;
    }
}

/// Null when another thread has changed the tile meanwhile.
std::byte* TileStore::Implementation::pageIn(TileStorage& storage, Cold cold) {
    if (cold.extent) {
        cold.blob = readBack(cold);
        if (!cold.blob) {
            OMBREL_CHECK(!isUnchanged(storage, cold), "a spilled tile can be read back");
            return nullptr;
        }
    }
    TileBuffer buffer = acquireBuffer(storage.format);
    std::byte* const bytes = buffer.bytes();
    const bool isWhole =
        TileCompression::decode(*cold.blob, {bytes, buffer.size()}, storage.format);
    if (!isWhole) std::memset(bytes, 0, buffer.size());
    Residency before = Extent{}; // dropped after the lock, as is the buffer of who comes second
    bool isOver = false;
    {
        const LockGuard lock(mutex);
        if (storage.generation != cold.generation) {
            giveToPool(buffer);
            return nullptr;
        }
        touch(storage);
        before = change(storage, std::move(buffer));
        addPin(storage);
        isOver = claimMaintenance();
    }
    if (!isWhole) ++damagedTiles;
    if (cold.extent) scratch->release(*cold.extent);
    if (isOver) scheduleMaintenance();
    return bytes;
}

/// Null when the scratch space could not give the blob. As long as the tile is unchanged the blob
/// is its own: once another thread has brought the tile back, its extent may hold another one.
TileStorage::SharedBlob TileStore::Implementation::readBack(const Cold& cold) {
    auto blob = scratch->read(*cold.extent);
    return blob ? std::make_shared<const TileBlob>(std::move(*blob)) : nullptr;
}

bool TileStore::Implementation::isUnchanged(const TileStorage& storage, const Cold& cold) {
    const LockGuard lock(mutex);
    return storage.generation == cold.generation;
}

void TileStore::unpin(const Tile& tile) {
    const LockGuard lock(implementation_->mutex);
    implementation_->removePin(tile.storage());
}

bool TileStore::isResident(const Tile& tile) const {
    const LockGuard lock(implementation_->mutex);
    return tile.storage().isResident();
}

TileBlob TileStore::compressedBlob(const Tile& tile) {
    Implementation& state = *implementation_;
    const TileStorage& storage = tile.storage();
    for (;;) {
        Implementation::Cold cold;
        {
            const LockGuard lock(state.mutex);
            if (storage.isResident()) break;
            cold = state.cold(storage);
        }
        if (cold.blob) return *cold.blob;
        auto blob = state.scratch->read(*cold.extent);
        if (!state.isUnchanged(storage, cold)) continue;
        if (blob) return std::move(*blob);
        break;
    }
    const TilePin pin(tile);
    return TileCompression::encode({pin.bytes(), bytesPerTile(tile.format())}, tile.format());
}

void TileStore::prefetch(std::span<const Tile> tiles) {
    std::unordered_set<const TileStorage*> seen;
    std::vector<const Tile*> cold;
    for (const Tile& tile : tiles) {
        if (seen.insert(&tile.storage()).second && !tile.store().isResident(tile)) {
            cold.push_back(&tile);
        }
    }
    if (cold.size() < 2) return;
    parallelFor(ThreadPool::shared(), cold.size(),
                [&](std::size_t i) { static_cast<void>(TilePin(*cold[i])); });
}

void TileStore::release(TileStorage& storage) {
    storage.store.implementation_->release(storage);
}

void TileStore::Implementation::release(TileStorage& storage) {
    std::optional<Residency> content;
    std::shared_ptr<TileStore> last; // of the last tile: the store may end with this call
    bool hasDiscarded = false;
    {
        const LockGuard lock(mutex);
        content = leave(storage);
        if (content) {
            if (auto* buffer = std::get_if<TileBuffer>(&*content)) {
                hasDiscarded = retire(std::move(*buffer));
            }
        }
        if (counts.tileCount == 0) last = std::move(self);
    }
    if (content) {
        if (const auto* extent = std::get_if<Extent>(&*content)) scratch->release(*extent);
    }
    if (hasDiscarded) scheduleDiscard();
    TileStorageReference::drop(storage);
}

} // namespace ombrel
