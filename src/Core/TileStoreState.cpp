#include "Core/TileStoreState.h"

#include "Base/Check.h"

namespace ombrel {

namespace {

std::int64_t byteCount(const TileBuffer& buffer) {
    return static_cast<std::int64_t>(buffer.size());
}

std::int64_t byteCount(const TileStorage::SharedBlob& blob) {
    return static_cast<std::int64_t>(blob->size());
}

void lower(std::int64_t& counter, std::int64_t amount) {
    counter -= amount;
    OMBREL_CHECK(counter >= 0, "no sum of the tile store runs negative");
}

} // namespace

TileStore::Implementation::Implementation(TileStore& store, Budget initial,
                                          std::unique_ptr<ScratchSpace> space)
    : owner(store), scratch(std::move(space)),
      maintenance(std::make_shared<Strand>("TileStore", TaskPriority::utility)), budget(initial) {}

void TileStore::Implementation::settle(TileStorage& storage) {
    if (const auto* buffer = std::get_if<TileBuffer>(&storage.residency)) {
        counts.residentBytes += byteCount(*buffer);
        ++counts.residentTiles;
        residentOrder.append(storage);
    } else if (const auto* blob = std::get_if<SharedBlob>(&storage.residency)) {
        counts.compressedBytes += byteCount(*blob);
        ++counts.compressedTiles;
        storage.compressedPosition =
            compressedOrder.emplace_hint(compressedOrder.end(), storage.lastUse, &storage);
    } else {
        counts.spilledBytes += std::get<Extent>(storage.residency).length;
        ++counts.spilledTiles;
    }
}

void TileStore::Implementation::unsettle(TileStorage& storage) {
    if (const auto* buffer = std::get_if<TileBuffer>(&storage.residency)) {
        lower(counts.residentBytes, byteCount(*buffer));
        lower(counts.residentTiles, 1);
        residentOrder.remove(storage);
    } else if (const auto* blob = std::get_if<SharedBlob>(&storage.residency)) {
        lower(counts.compressedBytes, byteCount(*blob));
        lower(counts.compressedTiles, 1);
        compressedOrder.erase(storage.compressedPosition);
    } else {
        lower(counts.spilledBytes, std::get<Extent>(storage.residency).length);
        lower(counts.spilledTiles, 1);
    }
}

void TileStore::Implementation::addPin(TileStorage& storage) {
    if (storage.pinCount++ == 0) ++counts.pinnedTiles;
}

void TileStore::Implementation::removePin(TileStorage& storage) {
    OMBREL_CHECK(storage.pinCount > 0, "an unpinned tile was pinned");
    if (--storage.pinCount == 0) lower(counts.pinnedTiles, 1);
}

TileStore::Implementation::Cold TileStore::Implementation::cold(const TileStorage& storage) const {
    Cold cold{storage.generation, nullptr, std::nullopt};
    if (const auto* blob = std::get_if<SharedBlob>(&storage.residency)) {
        cold.blob = *blob;
    } else {
        cold.extent = std::get<Extent>(storage.residency);
    }
    return cold;
}

TileStorage::Residency TileStore::Implementation::change(TileStorage& storage, Residency next) {
    unsettle(storage);
    std::swap(storage.residency, next);
    ++storage.generation;
    settle(storage);
    return next;
}

std::optional<TileStorage::Residency> TileStore::Implementation::leave(TileStorage& storage) {
    OMBREL_CHECK(storage.pinCount == 0, "a pinned tile is held");
    unsettle(storage);
    lower(counts.tileCount, 1);
    storage.isReleased = true;
    if (storage.isBeingEncoded) return std::nullopt;
    return std::move(storage.residency);
}

void TileStore::Implementation::giveToPool(TileBuffer& buffer) {
    if (counts.pooledBytes + byteCount(buffer) > budget.poolBytes) return;
    counts.pooledBytes += byteCount(buffer);
    pool[static_cast<std::size_t>(buffer.format())].push_back(std::move(buffer));
}

bool TileStore::Implementation::retire(TileBuffer buffer) {
    giveToPool(buffer);
    if (buffer.bytes() == nullptr) return false;
    discarded.push_back(std::move(buffer));
    return !std::exchange(isDiscardScheduled, true);
}

std::optional<TileBuffer> TileStore::Implementation::takeFree(TileFormat format) {
    std::vector<TileBuffer>& stack = pool[static_cast<std::size_t>(format)];
    if (!stack.empty()) {
        TileBuffer buffer = std::move(stack.back());
        stack.pop_back();
        lower(counts.pooledBytes, byteCount(buffer));
        return buffer;
    }
    if (!discarded.empty() && discarded.back().format() == format) {
        TileBuffer buffer = std::move(discarded.back());
        discarded.pop_back();
        return buffer;
    }
    return std::nullopt;
}

std::array<std::vector<TileBuffer>, 2> TileStore::Implementation::emptyPool() {
    counts.pooledBytes = 0;
    return std::exchange(pool, {});
}

bool TileStore::Implementation::claimMaintenance() {
    const bool isOver = counts.residentBytes > budget.residentBytes ||
                        // Without a scratch file nothing could be done about it.
                        (scratch != nullptr && counts.compressedBytes > budget.compressedBytes);
    if (isMaintenanceScheduled || !isOver) return false;
    isMaintenanceScheduled = true;
    return true;
}

} // namespace ombrel
