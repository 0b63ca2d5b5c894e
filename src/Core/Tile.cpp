#include "Core/Tile.h"

#include "Core/TileStorage.h"
#include "Core/TileStore.h"

#include <fmt/format.h>

namespace ombrel {

std::string TileID::text() const {
    return fmt::format("#{}", rawValue);
}

Tile::Tile(const Tile& other) noexcept : storage_(other.storage_) {
    if (storage_ != nullptr) storage_->handles.fetch_add(1, std::memory_order_relaxed);
}

Tile::~Tile() {
    if (storage_ == nullptr) return;
    // Released and acquired: what every other holder did to the tile happens before its end.
    if (storage_->handles.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        TileStore::release(*storage_);
    }
}

TileID Tile::id() const {
    return storage_->id;
}

TileFormat Tile::format() const {
    return storage_->format;
}

TileStore& Tile::store() const {
    return storage_->store;
}

} // namespace ombrel
