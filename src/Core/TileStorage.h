// The store's record of one tile, and the order in which tiles were used. Internal to the store and
// the handle: everything below the counts is guarded by the store's lock.
#pragma once

#include "Core/ScratchSpace.h"
#include "Core/TileBuffer.h"
#include "Core/TileCompression.h"
#include "Core/TilePlaces.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <variant>

namespace ombrel {

class TileStorage {
public:
    /// Shared, because a reader may still decode it while another one has already brought the tile
    /// back.
    using SharedBlob = std::shared_ptr<const TileBlob>;
    /// Resident, compressed or spilled.
    using Residency = std::variant<TileBuffer, SharedBlob, ScratchSpace::Extent>;
    using CompressedOrder = std::map<std::uint64_t, TileStorage*>; ///< by lastUse, which is unique

    TileStorage(TileStore& owner, TileFormat ownFormat, Residency content)
        : store(owner), format(ownFormat), residency(std::move(content)) {}
    TileStorage(const TileStorage&) = delete;
    TileStorage& operator=(const TileStorage&) = delete;

    bool isResident() const { return std::holds_alternative<TileBuffer>(residency); }

    TileStore& store;
    const TileFormat format;
    TileID id;                                ///< set once, before there is a handle
    std::atomic<std::int64_t> handles = 1;    ///< Tile objects; at 0 the tile is released
    std::atomic<std::int64_t> references = 1; ///< all handles together, and jobs of the store

    TilePlaces places; ///< of its own, not under the lock

    Residency residency;
    std::int64_t pinCount = 0;
    std::uint64_t lastUse = 0;    ///< the store's clock at the last pin, or when made
    std::uint64_t generation = 0; ///< raised by every change of residency
    bool isReleased = false;
    bool isBeingEncoded = false;   ///< a job reads the buffer: release leaves it there
    TileStorage* colder = nullptr; ///< neighbours among the resident tiles
    TileStorage* hotter = nullptr; ///<
    CompressedOrder::iterator compressedPosition{}; ///< of a compressed tile
};

/// Keeps the record (not the pixels) alive for a job.
class TileStorageReference {
public:
    explicit TileStorageReference(TileStorage& storage) : storage_(&storage) {
        storage.references.fetch_add(1, std::memory_order_relaxed);
    }
    TileStorageReference(TileStorageReference&& other) noexcept
        : storage_(std::exchange(other.storage_, nullptr)) {}
    TileStorageReference& operator=(TileStorageReference&& other) noexcept {
        std::swap(storage_, other.storage_);
        return *this;
    }
    TileStorageReference(const TileStorageReference&) = delete;
    TileStorageReference& operator=(const TileStorageReference&) = delete;
    ~TileStorageReference() {
        if (storage_ != nullptr) drop(*storage_);
    }

    TileStorage& operator*() const { return *storage_; }
    TileStorage* operator->() const { return storage_; }

    /// Gives one reference back; the last one frees the record.
    static void drop(TileStorage& storage) {
        if (storage.references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete &storage;
    }

private:
    TileStorage* storage_;
};

/// The resident tiles from the coldest to the one used last, linked through the records.
class ResidentOrder {
public:
    TileStorage* coldest() const { return coldest_; }

    void append(TileStorage& storage) {
        storage.colder = hottest_;
        storage.hotter = nullptr;
        (hottest_ != nullptr ? hottest_->hotter : coldest_) = &storage;
        hottest_ = &storage;
    }
    void remove(TileStorage& storage) {
        (storage.colder != nullptr ? storage.colder->hotter : coldest_) = storage.hotter;
        (storage.hotter != nullptr ? storage.hotter->colder : hottest_) = storage.colder;
    }
    void moveToEnd(TileStorage& storage) {
        if (hottest_ == &storage) return;
        remove(storage);
        append(storage);
    }

private:
    TileStorage* coldest_ = nullptr;
    TileStorage* hottest_ = nullptr;
};

} // namespace ombrel
