#include "Core/TileStore.h"
#include "Core/TileStoreFakes.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace ombrel {
namespace {

using namespace testing;

TEST(TileStore, tilesKeepTheirBytesAndTheirStoreAlive) {
    FakeStore fake;
    const Tile tile = patternTile(*fake, 1);
    const Tile copy = fake->makeTile(fake->compressedBlob(tile), TileFormat::r8);
    const std::weak_ptr<TileStore> weak = fake.store;
    fake.store.reset();
    ASSERT_FALSE(weak.expired()) << "while there are tiles";
    EXPECT_EQ(tile.id().text(), "#1");
    EXPECT_EQ(copy.id().text(), "#2");
    EXPECT_NE(tile, copy);
    EXPECT_TRUE(holdsPattern(tile, 1));
    EXPECT_TRUE(holdsPattern(copy, 1));
}

TEST(TileStore, endsWithItsLastTile) {
    FakeStore fake;
    const std::weak_ptr<TileStore> weak = fake.store;
    {
        const Tile tile = patternTile(*fake, 1);
        fake.store.reset();
        const Tile other = patternTile(tile.store(), 2);
    }
    // Freeing what the pool did not take holds it a moment longer.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!weak.expired() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(weak.expired());
}

TEST(TileStore, theBudgetIsCutFromMemoryTowardZero) {
    EXPECT_EQ(TileStore::Budget::ofMemory(17179869183, 0.7),
              (TileStore::Budget{12025908428, 2147483647, 268435456}));
}

TEST(TileStore, aPinnedTileIsNeverEvicted) {
    FakeStore fake;
    const Tile pinned = patternTile(*fake, 1);
    const Tile loose = patternTile(*fake, 2);
    const std::byte* const bytes = fake->pin(pinned);
    fake->evict(0, 0, true);
    EXPECT_TRUE(fake->isResident(pinned));
    EXPECT_FALSE(fake->isResident(loose));
    const std::vector<std::byte> expected = patternBytes(1, TileFormat::r8);
    EXPECT_EQ(std::memcmp(bytes, expected.data(), expected.size()), 0);
    fake->unpin(pinned);
    fake->evict(0, 0, true);
    EXPECT_FALSE(fake->isResident(pinned));
    EXPECT_EQ(fake->statistics().spilledTiles, 2);
}

TEST(TileStore, passingTheResidentBudgetBringsItToNineTenths) {
    FakeStore fake({10 * r8Bytes, plenty, 0});
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 10; ++seed) {
        tiles.push_back(patternTile(*fake, seed));
    }
    settle(*fake);
    EXPECT_EQ(fake->statistics().residentTiles, 10) << "the limit itself is allowed";
    tiles.push_back(patternTile(*fake, 10));
    settle(*fake);
    EXPECT_EQ(fake->statistics().residentTiles, 9);
    EXPECT_FALSE(fake->isResident(tiles[0]));
    EXPECT_FALSE(fake->isResident(tiles[1]));
    EXPECT_TRUE(holdsPattern(tiles[0], 0));
    settle(*fake);
    EXPECT_EQ(fake->statistics().residentTiles, 10);
}

TEST(TileStore, aLoopThatKeepsPaceNeverGetsFarBeyondTheBudgets) {
    const std::int64_t limit = 20 * r8Bytes;
    FakeStore fake({limit, limit / 4, 0});
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 400; ++seed) {
        tiles.push_back(patternTile(*fake, seed));
        fake->keepPace();
        const TileStore::Statistics now = fake->statistics();
        ASSERT_LE(now.residentBytes, limit + limit / 4) << seed;
        ASSERT_LE(now.compressedBytes, limit / 4 + limit / 16 + r8Bytes) << seed;
    }
    EXPECT_TRUE(holdsPattern(tiles[0], 0));
}

TEST(TileStore, passingTheCompressedBudgetSpillsTheColdest) {
    const TileBlob blob = TileCompression::encode(patternBytes(1, TileFormat::r8), TileFormat::r8);
    const auto size = static_cast<std::int64_t>(blob.size());
    FakeStore fake({plenty, 10 * size, 0});
    std::vector<Tile> tiles;
    for (int i = 0; i < 11; ++i) {
        tiles.push_back(fake->makeTile(blob, TileFormat::r8));
    }
    settle(*fake);
    EXPECT_EQ(fake->statistics().spilledTiles, 2);
    EXPECT_EQ(fake->statistics().spilledBytes, 2 * size);
    for (const Tile& tile : tiles) {
        EXPECT_TRUE(holdsPattern(tile, 1));
    }
    EXPECT_EQ(fake.scratch->extentCount(), 0u);
}

TEST(TileStore, loweringTheBudgetStartsMaintenance) {
    FakeStore fake;
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        tiles.push_back(patternTile(*fake, seed));
    }
    const TileStore::Budget lower{10 * r8Bytes, 0, 0};
    fake->setBudget(lower);
    EXPECT_EQ(fake->budget(), lower);
    settle(*fake);
    EXPECT_EQ(fake->statistics().residentTiles, 9);
    EXPECT_EQ(fake->statistics().spilledTiles, 11);
}

TEST(TileStore, thePoolKeepsFreedBuffersUpToItsLimit) {
    FakeStore fake({plenty, plenty, 3 * r8Bytes + 1});
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 5; ++seed) {
        tiles.push_back(patternTile(*fake, seed));
    }
    const std::byte* const last = TilePin(tiles[2]).bytes();
    tiles.erase(tiles.begin() + 2, tiles.end());
    EXPECT_EQ(fake->statistics().pooledBytes, 3 * r8Bytes);
    tiles.pop_back();
    EXPECT_EQ(fake->statistics().pooledBytes, 3 * r8Bytes) << "there is no room for a fourth";
    const TileBuffer wrong = fake->acquireBuffer(TileFormat::rgba16Float);
    EXPECT_EQ(fake->statistics().pooledBytes, 3 * r8Bytes) << "formats do not mix";
    TileBuffer first = fake->acquireBuffer(TileFormat::r8);
    EXPECT_EQ(fake->statistics().pooledBytes, 2 * r8Bytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first.bytes()) % 4096, 0u);
    std::byte* const address = first.bytes();
    fake->recycleBuffer(std::move(first));
    EXPECT_EQ(fake->acquireBuffer(TileFormat::r8).bytes(), address) << "last in, first out";
    EXPECT_NE(last, nullptr);
    fake->evict(plenty, plenty, true);
    EXPECT_EQ(fake->statistics().pooledBytes, 0);
}

TEST(TileStore, aDamagedBlobReadsAsTransparentAndIsCountedOnce) {
    FakeStore fake;
    for (const TileFormat format : {TileFormat::r8, TileFormat::rgba16Float}) {
        const std::int64_t before = fake->damagedTileCount();
        TileBlob shortBlob(bytesPerTile(format));
        const Tile tiles[] = {fake->makeTile(TileBlob{}, format),
                              fake->makeTile(TileBlob(10, std::byte{2}), format),
                              fake->makeTile(std::move(shortBlob), format)};
        EXPECT_EQ(fake->damagedTileCount(), before) << "nothing is decoded before it is used";
        const std::vector<std::byte> zeros(bytesPerTile(format));
        for (const Tile& tile : tiles) {
            EXPECT_TRUE(holds(tile, zeros));
        }
        fake->evict(0, 0, true);
        for (const Tile& tile : tiles) {
            EXPECT_TRUE(holds(tile, zeros));
        }
        EXPECT_EQ(fake->damagedTileCount(), before + 3);
    }
}

TEST(TileStore, aStoredFormIsHadWithoutMakingTheTileResident) {
    FakeStore fake;
    const std::vector<std::byte> bytes = patternBytes(1, TileFormat::rgba16Float);
    const TileBlob blob = TileCompression::encode(bytes, TileFormat::rgba16Float);
    const Tile tile = patternTile(*fake, 1, TileFormat::rgba16Float);
    EXPECT_EQ(fake->compressedBlob(tile), blob);
    fake->evict(0, plenty, false);
    EXPECT_EQ(fake->compressedBlob(tile), blob);
    EXPECT_EQ(fake->statistics().compressedTiles, 1);
    fake->evict(0, 0, false);
    EXPECT_EQ(fake->compressedBlob(tile), blob);
    EXPECT_EQ(fake->statistics().spilledTiles, 1);
}

TEST(TileStore, prefetchLeavesASingleColdTileAlone) {
    FakeStore fake;
    FakeStore otherFake;
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 6; ++seed) {
        tiles.push_back(patternTile(seed % 2 == 0 ? *fake : *otherFake, seed));
    }
    fake->evict(0, 0, false);
    otherFake->evict(0, 0, false);
    const Tile one[] = {tiles[0], tiles[0]};
    TileStore::prefetch(one);
    EXPECT_FALSE(fake->isResident(tiles[0])) << "one tile, listed twice";
    TileStore::prefetch(tiles);
    EXPECT_EQ(fake->statistics().residentTiles, 3);
    EXPECT_EQ(otherFake->statistics().residentTiles, 3);
    EXPECT_EQ(fake->statistics().pinnedTiles, 0);
    fake->evict(2 * r8Bytes, plenty, false);
    TileStore::prefetch(tiles);
    EXPECT_EQ(fake->statistics().residentTiles, 2) << "only one of them was cold";
}

TEST(TileStore, theCompressHintServesEveryStoreWhateverTheBudget) {
    FakeStore fake;
    FakeStore otherFake;
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        tiles.push_back(patternTile(seed % 2 == 0 ? *fake : *otherFake, seed % 8));
    }
    tiles.push_back(tiles[0]);
    const Tile untouched = patternTile(*fake, 1);
    fake->pin(tiles[2]);
    TileStore::compress(tiles);
    settle(*fake);
    settle(*otherFake);
    fake->unpin(tiles[2]);
    EXPECT_TRUE(fake->isResident(untouched));
    EXPECT_TRUE(fake->isResident(tiles[2])) << "pinned";
    EXPECT_EQ(fake->statistics().compressedTiles, 99);
    EXPECT_EQ(otherFake->statistics().compressedTiles, 100);
    TileStore::compress(tiles);
    tiles.clear(); // the hint keeps no tile alive
    settle(*otherFake);
    EXPECT_EQ(otherFake->statistics().tileCount, 0);
}

TEST(TileStore, givesBackWhatItKeptAtHandWhenNothingIsEditedForAWhile) {
    FakeStore fake({plenty, plenty, plenty});
    const std::vector<Tile> tiles{patternTile(*fake, 1), patternTile(*fake, 2)};
    fake->recycleBuffer(fake->acquireBuffer(TileFormat::r8));
    fake->pin(tiles[1]);
    TileStore::compress(tiles);
    settle(*fake);
    fake->unpin(tiles[1]);
    EXPECT_TRUE(fake->isResident(tiles[1]));
    EXPECT_GT(fake->statistics().pooledBytes, 0);
    const auto isTidy = [&] {
        return !fake->isResident(tiles[1]) && fake->statistics().pooledBytes == 0;
    };
    for (int i = 0; i < 600 && !isTidy(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(isTidy());
}

TEST(TileStore, memoryPressureAimsAtHalfOfWhatIsThereOrAtNothing) {
    FakeStore fake({plenty, 4 * r8Bytes, plenty});
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        tiles.push_back(patternTile(*fake, seed));
    }
    fake->recycleBuffer(fake->acquireBuffer(TileFormat::r8));
    fake.pressure->report(MemoryPressure::warning);
    settle(*fake);
    TileStore::Statistics after = fake->statistics();
    EXPECT_EQ(after.residentTiles, 10);
    EXPECT_LE(after.compressedBytes, 2 * r8Bytes);
    EXPECT_GT(after.spilledTiles, 0);
    EXPECT_EQ(after.pooledBytes, 0);
    fake.pressure->report(MemoryPressure::critical);
    settle(*fake);
    after = fake->statistics();
    EXPECT_EQ(after.spilledTiles, 20);
    EXPECT_EQ(after.pooledBytes, 0);
    EXPECT_EQ(fake->budget().residentBytes, plenty) << "the budget is untouched";
}

TEST(TileStore, theSystemsPressureSourceStartsAndStops) {
    const std::unique_ptr<MemoryPressureSource> source = MemoryPressureSource::ofSystem();
    if (!source) GTEST_SKIP() << "the kernel gives no memory pressure triggers here";
    source->start([](MemoryPressure) {});
}

TEST(TileStore, withoutAScratchFileTilesStayCompressedPastTheBudget) {
    const std::shared_ptr<TileStore> store =
        TileStore::create({r8Bytes, 1, 0}, "/proc/no such directory");
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 30; ++seed) {
        tiles.push_back(patternTile(*store, seed));
    }
    store->evict(0, 0, false);
    EXPECT_EQ(store->statistics().spilledTiles, 0);
    EXPECT_EQ(store->statistics().residentTiles, 0);
    EXPECT_EQ(store->statistics().compressedTiles, 30);
    for (std::uint64_t seed = 0; seed < 30; ++seed) {
        EXPECT_TRUE(holdsPattern(tiles[seed], seed));
    }
}

TEST(TileStore, aFailedSpillEndsTheRoundAndTheNextTriesAgain) {
    FakeStore fake;
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
        tiles.push_back(patternTile(*fake, seed % 8));
    }
    fake.scratch->writesLeft = 40;
    fake->evict(0, 0, false);
    EXPECT_EQ(fake->statistics().spilledTiles, 40);
    EXPECT_EQ(fake->statistics().compressedTiles, 60);
    fake.scratch->writesLeft = plenty;
    fake->evict(0, 0, false);
    EXPECT_EQ(fake->statistics().spilledTiles, 100);
}

TEST(TileStore, aTileUsedWhileItIsSpilledStaysAndItsExtentGoes) {
    FakeStore fake;
    const Tile tile = patternTile(*fake, 1);
    bool isFirst = true;
    fake.scratch->onWrite = [&] {
        if (std::exchange(isFirst, false)) fake->pin(tile);
    };
    fake->evict(0, 0, false);
    EXPECT_TRUE(fake->isResident(tile));
    EXPECT_EQ(fake.scratch->extentCount(), 0u);
    fake->unpin(tile);
    EXPECT_TRUE(holdsPattern(tile, 1));
}

TEST(TileStore, aTileReleasedWhileItIsSpilledLeavesNothingBehind) {
    FakeStore fake;
    std::optional<Tile> tile = patternTile(*fake, 1);
    fake.scratch->onWrite = [&] { tile.reset(); };
    fake->evict(0, 0, false);
    EXPECT_EQ(fake.scratch->extentCount(), 0u);
    EXPECT_EQ(fake->statistics(), TileStore::Statistics{});
}

TEST(TileStore, whoComesSecondFindsTheTileThatTheFirstBroughtBack) {
    FakeStore fake;
    const Tile tile = patternTile(*fake, 1);
    fake->evict(0, 0, false);
    bool isFirst = true;
    const std::byte* inner = nullptr;
    // The inner pin takes the extent away, so that the outer one cannot even read its blob.
    fake.scratch->onRead = [&] {
        if (std::exchange(isFirst, false)) inner = fake->pin(tile);
    };
    EXPECT_EQ(fake->pin(tile), inner);
    EXPECT_EQ(fake->statistics().pinnedTiles, 1);
    EXPECT_EQ(fake->statistics().residentTiles, 1);
    fake->unpin(tile);
    EXPECT_EQ(fake->statistics().pinnedTiles, 1) << "pinned twice";
    fake->unpin(tile);
    EXPECT_TRUE(holdsPattern(tile, 1));
}

TEST(TileStore, aStoredFormReadWhileTheTileComesBackIsItsOwn) {
    FakeStore fake;
    const Tile tile = patternTile(*fake, 1);
    const TileBlob blob = fake->compressedBlob(tile);
    fake->evict(0, 0, false);
    bool isFirst = true;
    fake.scratch->onRead = [&] {
        if (std::exchange(isFirst, false)) static_cast<void>(TilePin(tile));
    };
    EXPECT_EQ(fake->compressedBlob(tile), blob);
}

TEST(TileStore, mayEndOnItsOwnMaintenanceThread) {
    /// Tells when the store, which owns it, has gone.
    struct Telltale final : MemoryPressureSource {
        explicit Telltale(std::latch& latch) : gone(latch) {}
        ~Telltale() override { gone.count_down(); }
        void start(Handler) override {}
        std::latch& gone;
    };
    std::latch gone(1);
    auto scratch = std::make_unique<MemoryScratch>();
    MemoryScratch& space = *scratch;
    std::shared_ptr<TileStore> store =
        TileStore::create(noLimits, {std::move(scratch), std::make_unique<Telltale>(gone)});
    std::vector<Tile> tiles;
    tiles.push_back(patternTile(*store, 1));
    std::latch ready(1);
    space.onWrite = [&] {
        ready.wait();
        tiles.clear();
    };
    store->setBudget({});
    store.reset();
    ready.count_down();
    gone.wait();
    SUCCEED();
}

TEST(TileStore, theSharedStoreIsOne) {
    TileStore& store = TileStore::shared();
    EXPECT_EQ(&store, &TileStore::shared());
    EXPECT_EQ(store.budget().poolBytes, 268435456);
    EXPECT_GT(store.budget().residentBytes, store.budget().compressedBytes);
    EXPECT_TRUE(holdsPattern(patternTile(store, 1), 1));
}

TEST(TileStoreDeath, programmingErrorsStopTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    FakeStore fake;
    FakeStore other;
    const Tile tile = patternTile(*fake, 1);
    EXPECT_DEATH(fake->unpin(tile), "an unpinned tile was pinned");
    EXPECT_DEATH(other->pin(tile), "pinned in its own store");
    fake->evict(0, 0, false);
    fake.scratch->isUnreadable = true;
    EXPECT_DEATH(fake->pin(tile), "a spilled tile can be read back");
    EXPECT_DEATH(fake->compressedBlob(tile), "a spilled tile can be read back");
}

} // namespace
} // namespace ombrel
