// A tile store for tests, roomy enough never to evict unless a test asks for it, and tiles with
// pixels that say where they come from.
#pragma once

#include "Core/TileStore.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>

namespace ombrel {

inline std::shared_ptr<TileStore> makeTestStore() {
    constexpr std::int64_t gibibyte = std::int64_t{1} << 30;
    return TileStore::create(
        {.residentBytes = gibibyte, .compressedBytes = gibibyte, .poolBytes = gibibyte / 16},
        std::filesystem::temp_directory_path());
}

/// A tile with every byte the same.
inline Tile makeTestTile(TileStore& store, TileFormat format, std::uint8_t byte = 1) {
    TileBuffer buffer = store.acquireBuffer(format);
    std::memset(buffer.bytes(), byte, buffer.size());
    return store.makeTile(std::move(buffer));
}

} // namespace ombrel
