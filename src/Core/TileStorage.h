// The store's record of one tile. Only the store and the handle look inside; everything but the
// counts is guarded by the store's lock.
#pragma once

#include "Core/TileBuffer.h"
#include "Core/TileCompression.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <variant>

namespace ombrel {

class TileStorage {
public:
    using SharedBlob = std::shared_ptr<const TileBlob>;

    TileStorage(TileStore& owner, TileID ownID, TileFormat ownFormat,
                std::variant<TileBuffer, SharedBlob> content)
        : store(owner), id(ownID), format(ownFormat), residency(std::move(content)) {}

    TileStore& store;
    const TileID id;
    const TileFormat format;
    std::atomic<std::int64_t> handles = 1; ///< Tile objects that hold this record

    std::variant<TileBuffer, SharedBlob> residency;
    std::int64_t pinCount = 0;
    std::uint64_t generation = 0; ///< raised by every change of residency
};

} // namespace ombrel
