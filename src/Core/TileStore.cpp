#include "Core/TileStore.h"

#include "Base/Check.h"
#include "Base/ThreadAnnotations.h"
#include "Core/TileStorage.h"

#include <array>
#include <atomic>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace ombrel {

struct TileStore::Implementation {
    using SharedBlob = TileStorage::SharedBlob;

    mutable Mutex mutex;
    Budget budget OMBREL_GUARDED_BY(mutex);
    Statistics counts OMBREL_GUARDED_BY(mutex);
    std::array<std::vector<TileBuffer>, 2> pool OMBREL_GUARDED_BY(mutex);
    std::uint64_t nextID OMBREL_GUARDED_BY(mutex) = 1;
    std::shared_ptr<TileStore> self OMBREL_GUARDED_BY(mutex); ///< while there are tiles
    std::atomic<std::int64_t> damagedTiles = 0;

    /// Takes the buffer when it fits in the pool; what is left is dropped by the caller, unlocked.
    void giveToPool(TileBuffer& buffer) OMBREL_REQUIRES(mutex) {
        const auto size = static_cast<std::int64_t>(buffer.size());
        if (counts.pooledBytes + size > budget.poolBytes) return;
        counts.pooledBytes += size;
        pool[static_cast<std::size_t>(buffer.format())].push_back(std::move(buffer));
    }
};

TileStore::Budget TileStore::Budget::ofMemory(std::int64_t physicalBytes, double share) {
    const auto bytes = static_cast<double>(physicalBytes);
    return {static_cast<std::int64_t>(bytes * share), static_cast<std::int64_t>(bytes * 0.125),
            268435456};
}

TileStore& TileStore::shared() {
    static const std::shared_ptr<TileStore>& store = *new std::shared_ptr<TileStore>(
        create(Budget::ofMemory(sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE), 0.5),
               std::filesystem::temp_directory_path() / "OmbrelScratch"));
    return *store;
}

std::shared_ptr<TileStore> TileStore::create(Budget budget, const std::filesystem::path&) {
    auto implementation = std::make_unique<Implementation>();
    implementation->budget = budget;
    return std::shared_ptr<TileStore>(new TileStore(std::move(implementation)));
}

TileStore::TileStore(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

TileStore::~TileStore() = default;

TileStore::Budget TileStore::budget() const {
    const LockGuard lock(implementation_->mutex);
    return implementation_->budget;
}

void TileStore::setBudget(Budget budget) {
    const LockGuard lock(implementation_->mutex);
    implementation_->budget = budget;
}

TileStore::Statistics TileStore::statistics() const {
    const LockGuard lock(implementation_->mutex);
    return implementation_->counts;
}

std::int64_t TileStore::damagedTileCount() const {
    return implementation_->damagedTiles;
}

TileBuffer TileStore::acquireBuffer(TileFormat format) {
    {
        Implementation& state = *implementation_;
        const LockGuard lock(state.mutex);
        std::vector<TileBuffer>& free = state.pool[static_cast<std::size_t>(format)];
        if (!free.empty()) {
            TileBuffer buffer = std::move(free.back());
            free.pop_back();
            state.counts.pooledBytes -= static_cast<std::int64_t>(buffer.size());
            return buffer;
        }
    }
    return TileBuffer::allocate(format);
}

void TileStore::recycleBuffer(TileBuffer buffer) {
    const LockGuard lock(implementation_->mutex);
    implementation_->giveToPool(buffer);
}

Tile TileStore::makeTile(TileBuffer buffer) {
    Implementation& state = *implementation_;
    const LockGuard lock(state.mutex);
    const TileFormat format = buffer.format();
    state.counts.residentBytes += static_cast<std::int64_t>(buffer.size());
    ++state.counts.residentTiles;
    if (state.counts.tileCount++ == 0) state.self = shared_from_this();
    return Tile(new TileStorage(*this, TileID{state.nextID++}, format, std::move(buffer)));
}

Tile TileStore::makeTile(TileBlob blob, TileFormat format) {
    const auto size = static_cast<std::int64_t>(blob.size());
    auto shared = std::make_shared<const TileBlob>(std::move(blob));
    Implementation& state = *implementation_;
    const LockGuard lock(state.mutex);
    state.counts.compressedBytes += size;
    ++state.counts.compressedTiles;
    if (state.counts.tileCount++ == 0) state.self = shared_from_this();
    return Tile(new TileStorage(*this, TileID{state.nextID++}, format, std::move(shared)));
}

std::byte* TileStore::pin(const Tile& tile) {
    Implementation& state = *implementation_;
    TileStorage& storage = tile.storage();
    for (;;) {
        TileStorage::SharedBlob blob;
        std::uint64_t generation = 0;
        {
            const LockGuard lock(state.mutex);
            if (const auto* buffer = std::get_if<TileBuffer>(&storage.residency)) {
                if (storage.pinCount++ == 0) ++state.counts.pinnedTiles;
                return buffer->bytes();
            }
            blob = std::get<TileStorage::SharedBlob>(storage.residency);
            generation = storage.generation;
        }
        TileBuffer buffer = acquireBuffer(storage.format);
        if (!TileCompression::decode(*blob, {buffer.bytes(), buffer.size()}, storage.format)) {
            std::memset(buffer.bytes(), 0, buffer.size());
            ++state.damagedTiles;
        }
        const LockGuard lock(state.mutex);
        if (storage.generation != generation) {
            state.giveToPool(buffer);
            continue;
        }
        ++storage.generation;
        state.counts.compressedBytes -= static_cast<std::int64_t>(blob->size());
        --state.counts.compressedTiles;
        state.counts.residentBytes += static_cast<std::int64_t>(buffer.size());
        ++state.counts.residentTiles;
        if (storage.pinCount++ == 0) ++state.counts.pinnedTiles;
        storage.residency = std::move(buffer);
        return std::get<TileBuffer>(storage.residency).bytes();
    }
}

void TileStore::unpin(const Tile& tile) {
    const LockGuard lock(implementation_->mutex);
    TileStorage& storage = tile.storage();
    OMBREL_CHECK(storage.pinCount > 0, "an unpinned tile was pinned");
    if (--storage.pinCount == 0) --implementation_->counts.pinnedTiles;
}

bool TileStore::isResident(const Tile& tile) const {
    const LockGuard lock(implementation_->mutex);
    return std::holds_alternative<TileBuffer>(tile.storage().residency);
}

TileBlob TileStore::compressedBlob(const Tile& tile) {
    TileStorage::SharedBlob blob;
    {
        const LockGuard lock(implementation_->mutex);
        if (const auto* held = std::get_if<TileStorage::SharedBlob>(&tile.storage().residency)) {
            blob = *held;
        }
    }
    if (blob) return *blob;
    const TilePin pin(tile);
    return TileCompression::encode({pin.bytes(), bytesPerTile(tile.format())}, tile.format());
}

void TileStore::prefetch(std::span<const Tile>) {}

void TileStore::compress(std::span<const Tile>) {}

void TileStore::evict(std::int64_t, std::int64_t, bool) {}

void TileStore::release(TileStorage& storage) {
    std::unique_ptr<TileStorage> owned(&storage);
    std::shared_ptr<TileStore> last; // dropped after the lock
    Implementation& state = *implementation_;
    const LockGuard lock(state.mutex);
    if (auto* buffer = std::get_if<TileBuffer>(&storage.residency)) {
        state.counts.residentBytes -= static_cast<std::int64_t>(buffer->size());
        --state.counts.residentTiles;
        state.giveToPool(*buffer);
    } else {
        const auto& blob = std::get<TileStorage::SharedBlob>(storage.residency);
        state.counts.compressedBytes -= static_cast<std::int64_t>(blob->size());
        --state.counts.compressedTiles;
    }
    if (--state.counts.tileCount == 0) last = std::move(state.self);
}

} // namespace ombrel
