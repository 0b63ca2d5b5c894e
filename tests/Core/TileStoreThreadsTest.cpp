// The store under eight threads, a budget of a few tiles, pressure events and a scratch file: every
// tile must hold its bytes whenever it is looked at, and nothing may be left at the end.
// OMBREL_STORE_OPERATIONS sets the number of operations of all threads together.
#include "Core/ScratchFile.h"
#include "Core/TileStore.h"
#include "Core/TileStoreFakes.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

namespace ombrel {
namespace {

using namespace testing;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr std::uint64_t usualOperations = 30000;
#else
constexpr std::uint64_t usualOperations = 1000000;
#endif

constexpr int threadCount = 8;
constexpr std::size_t slotCount = 64;
constexpr std::uint64_t contentCount = 24; ///< the last ones are rgba16Float
constexpr std::uint64_t halfContents = 2;

/// What tiles may hold, made once: content `contentCount` stands for the zeros of a damaged tile.
struct Contents {
    Contents() {
        for (std::uint64_t seed = 0; seed < contentCount; ++seed) {
            const TileFormat format = formatOf(seed);
            bytes.push_back(patternBytes(seed, format));
            blobs.push_back(TileCompression::encode(bytes.back(), format));
        }
        bytes.emplace_back(bytesPerTile(TileFormat::r8));
    }
    static TileFormat formatOf(std::uint64_t content) {
        return content >= contentCount - halfContents && content < contentCount
                   ? TileFormat::rgba16Float
                   : TileFormat::r8;
    }
    bool matches(const std::byte* pixels, std::uint64_t content) const {
        return std::memcmp(pixels, bytes[content].data(), bytes[content].size()) == 0;
    }

    std::vector<std::vector<std::byte>> bytes;
    std::vector<TileBlob> blobs;
};

struct Held {
    Tile tile;
    std::uint64_t content;
};

class Arena {
public:
    Arena() {
        auto file = ScratchFile::open(std::filesystem::temp_directory_path() / "OmbrelTestScratch");
        auto source = std::make_unique<DrivenPressure>();
        pressure_ = source.get();
        if (file) scratch_ = file->get();
        store_ =
            TileStore::create(budgets[0], {file ? std::move(*file) : nullptr, std::move(source)});
    }

    /// One thread's share of the operations.
    void work(std::uint64_t seed, std::uint64_t operations) {
        TestRandom random(seed);
        std::vector<Held> pinned;
        for (std::uint64_t i = 0; i < operations; ++i) {
            step(random, pinned);
        }
        for (const Held& held : pinned) {
            store_->unpin(held.tile);
        }
    }

    void checkAll() {
        for (const Slot& slot : slots_) {
            if (!slot.held) continue;
            const TilePin pin(slot.held->tile);
            ASSERT_TRUE(contents_.matches(pin.bytes(), slot.held->content));
        }
        EXPECT_LE(store_->damagedTileCount(), damagedMade_) << "each is counted once";
    }

    void checkEmpty() {
        for (Slot& slot : slots_) {
            slot.held.reset();
        }
        store_->evict(0, 0, true);
        EXPECT_EQ(store_->statistics(), TileStore::Statistics{});
        EXPECT_EQ(wrongTiles_, 0);
        EXPECT_GT(store_->damagedTileCount(), 0);
        if (scratch_ == nullptr) return;
        EXPECT_EQ(scratch_->liveBytes(), 0);
        EXPECT_EQ(scratch_->sizeOnDisk(), 0);
    }

private:
    struct Slot {
        mutable std::mutex mutex;
        std::optional<Held> held;
    };

    static constexpr TileStore::Budget budgets[] = {
        {12 * r8Bytes, 4 * r8Bytes, 4 * r8Bytes},
        {30 * r8Bytes, 2 * r8Bytes, 0},
        {4 * r8Bytes, 0, 8 * r8Bytes},
        {plenty, plenty, 16 * r8Bytes},
    };

    void step(TestRandom& random, std::vector<Held>& pinned) {
        const std::uint64_t kind = random.below(1000);
        if (kind < 60) return put(random, makeFromPixels(random));
        if (kind < 100) return put(random, makeFromBlob(random));
        if (kind < 140) return put(random, std::nullopt);
        if (kind < 400) return pin(random, pinned);
        if (kind < 650) return unpin(random, pinned);
        if (kind < 900) return look(random);
        if (kind < 940) return save(random);
        if (kind < 960) return static_cast<void>(store_->statistics());
        if (kind < 975) return TileStore::compress(some(random));
        if (kind < 990) return TileStore::prefetch(some(random));
        if (kind < 994) return store_->recycleBuffer(store_->acquireBuffer(TileFormat::r8));
        if (kind < 997) return store_->setBudget(budgets[random.below(std::size(budgets))]);
        if (kind == 997) {
            return pressure_->report(random.below(4) == 0 ? MemoryPressure::critical
                                                          : MemoryPressure::warning);
        }
        store_->evict(static_cast<std::int64_t>(random.below(10)) * r8Bytes,
                      static_cast<std::int64_t>(random.below(10)) * r8Bytes, random.below(2) == 0);
    }

    std::optional<Held> get(TestRandom& random) {
        const Slot& slot = slots_[random.below(slotCount)];
        const std::lock_guard lock(slot.mutex);
        return slot.held;
    }
    void put(TestRandom& random, std::optional<Held> held) {
        Slot& slot = slots_[random.below(slotCount)];
        const std::lock_guard lock(slot.mutex);
        std::swap(slot.held, held);
    }

    std::optional<Held> makeFromPixels(TestRandom& random) {
        const std::uint64_t content = random.below(contentCount);
        const TileFormat format = Contents::formatOf(content);
        if (random.below(4) != 0)
            return Held{testing::makeTile(*store_, contents_.bytes[content], format), content};
        // A tile that nobody else has seen yet may still be written to.
        Tile tile = store_->makeTile(store_->acquireBuffer(format));
        std::byte* const pixels = store_->pin(tile);
        std::memcpy(pixels, contents_.bytes[content].data(), contents_.bytes[content].size());
        store_->unpin(tile);
        return Held{std::move(tile), content};
    }
    std::optional<Held> makeFromBlob(TestRandom& random) {
        const std::uint64_t content = random.below(contentCount);
        if (random.below(8) == 0) {
            TileBlob blob = contents_.blobs[0];
            blob.resize(blob.size() - 1 - random.below(40));
            ++damagedMade_;
            return Held{store_->makeTile(std::move(blob), TileFormat::r8), contentCount};
        }
        return Held{store_->makeTile(contents_.blobs[content], Contents::formatOf(content)),
                    content};
    }
    void pin(TestRandom& random, std::vector<Held>& pinned) {
        if (pinned.size() >= 3) return unpin(random, pinned);
        std::optional<Held> held = get(random);
        if (!held) return;
        expectRight(store_->pin(held->tile), held->content);
        pinned.push_back(std::move(*held));
    }
    void unpin(TestRandom& random, std::vector<Held>& pinned) {
        if (pinned.empty()) return;
        std::swap(pinned[random.below(pinned.size())], pinned.back());
        const Held held = std::move(pinned.back());
        pinned.pop_back();
        if (random.below(8) == 0) {
            expectRight(TilePin(held.tile).bytes(), held.content);
        }
        store_->unpin(held.tile);
    }
    void look(TestRandom& random) {
        const std::optional<Held> held = get(random);
        if (held) expectRight(TilePin(held->tile).bytes(), held->content);
    }
    void save(TestRandom& random) {
        const std::optional<Held> held = get(random);
        if (!held || held->content == contentCount) return;
        if (store_->compressedBlob(held->tile) != contents_.blobs[held->content]) ++wrongTiles_;
    }
    std::vector<Tile> some(TestRandom& random) {
        std::vector<Tile> tiles;
        for (std::uint64_t i = random.below(8); i > 0; --i) {
            if (std::optional<Held> held = get(random)) tiles.push_back(std::move(held->tile));
        }
        return tiles;
    }
    void expectRight(const std::byte* pixels, std::uint64_t content) {
        if (!contents_.matches(pixels, content)) ++wrongTiles_;
    }
    const Contents contents_;
    std::shared_ptr<TileStore> store_;
    DrivenPressure* pressure_ = nullptr; ///< both owned by the store
    ScratchFile* scratch_ = nullptr;
    std::array<Slot, slotCount> slots_;
    std::atomic<std::int64_t> damagedMade_ = 0;
    std::atomic<std::int64_t> wrongTiles_ = 0;
};

TEST(TileStoreThreads, aMillionRandomOperationsKeepEveryByte) {
    const char* const set = std::getenv("OMBREL_STORE_OPERATIONS");
    const std::uint64_t operations =
        set != nullptr ? std::strtoull(set, nullptr, 10) : usualOperations;
    const std::uint64_t seed = testSeed(8);
    Arena arena;
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&arena, seed, operations, i] {
            arena.work(seed + static_cast<std::uint64_t>(i) * 1000003, operations / threadCount);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    arena.checkAll();
    arena.checkEmpty();
}

} // namespace
} // namespace ombrel
