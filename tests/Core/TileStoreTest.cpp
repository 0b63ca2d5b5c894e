#include "Core/TileStore.h"

#include <cstring>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

TEST(TileStore, tilesKeepTheirBytesAndTheirStore) {
    std::shared_ptr<TileStore> store = TileStore::create({1 << 20, 1 << 20, 1 << 20}, "");
    TileBuffer buffer = store->acquireBuffer(TileFormat::r8);
    std::memset(buffer.bytes(), 7, buffer.size());
    const Tile tile = store->makeTile(std::move(buffer));
    const Tile copy = store->makeTile(store->compressedBlob(tile), TileFormat::r8);
    store.reset();
    EXPECT_EQ(tile.id().text(), "#1");
    EXPECT_EQ(std::memcmp(TilePin(tile).bytes(), TilePin(copy).bytes(), 65536), 0);
    EXPECT_EQ(tile.store().statistics().residentTiles, 2);
}

} // namespace
} // namespace ombrel
