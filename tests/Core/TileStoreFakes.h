// What the tests of the tile store share: tiles with contents that can be told apart, scratch space
// in memory that fails and calls back on demand, and a pressure source that the test drives.
#pragma once

#include "Core/TileStore.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <mutex>
#include <string>

namespace ombrel::testing {

inline constexpr std::int64_t r8Bytes = 65536;
inline constexpr std::int64_t plenty = std::int64_t{1} << 40;
inline constexpr TileStore::Budget noLimits{plenty, plenty, 0};

/// The seed of a random test, from OMBREL_TEST_SEED if set, printed for the record.
inline std::uint64_t testSeed(std::uint64_t usual) {
    const char* const set = std::getenv("OMBREL_TEST_SEED");
    const std::uint64_t seed = set != nullptr ? std::strtoull(set, nullptr, 10) : usual;
    std::cout << "OMBREL_TEST_SEED=" << seed << '\n';
    return seed;
}

/// SplitMix64.
class TestRandom {
public:
    explicit TestRandom(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15ull;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    std::uint64_t below(std::uint64_t limit) { return next() % limit; }

private:
    std::uint64_t state_;
};

/// Contents of a tile that follow from `seed`, compressing to about a third.
inline std::vector<std::byte> patternBytes(std::uint64_t seed, TileFormat format) {
    std::vector<std::byte> bytes(bytesPerTile(format));
    TestRandom random(seed);
    for (std::size_t i = 0; i < bytes.size(); i += 64) {
        const auto value = static_cast<std::byte>(random.next());
        for (std::size_t k = i; k < i + 64; ++k) {
            bytes[k] = k % 64 < 16 ? static_cast<std::byte>(random.next()) : value;
        }
    }
    return bytes;
}

inline Tile makeTile(TileStore& store, std::span<const std::byte> bytes, TileFormat format) {
    TileBuffer buffer = store.acquireBuffer(format);
    std::memcpy(buffer.bytes(), bytes.data(), bytes.size());
    return store.makeTile(std::move(buffer));
}
inline Tile patternTile(TileStore& store, std::uint64_t seed, TileFormat format = TileFormat::r8) {
    return makeTile(store, patternBytes(seed, format), format);
}

inline bool holds(const Tile& tile, std::span<const std::byte> bytes) {
    return std::memcmp(TilePin(tile).bytes(), bytes.data(), bytes.size()) == 0;
}
inline bool holdsPattern(const Tile& tile, std::uint64_t seed) {
    return holds(tile, patternBytes(seed, tile.format()));
}

/// Returns when the maintenance that was due has run.
inline void settle(TileStore& store) {
    store.evict(plenty, plenty, false);
}

/// Hooks run on the thread that reads or writes, before the bytes move.
class MemoryScratch final : public ScratchSpace {
public:
    std::expected<Extent, std::error_code> write(std::span<const std::byte> blob) override {
        if (onWrite) onWrite();
        const std::lock_guard lock(mutex_);
        if (writesLeft == 0) return std::unexpected(std::make_error_code(std::errc::io_error));
        --writesLeft;
        const Extent extent{end_, static_cast<std::int64_t>(blob.size())};
        end_ += extent.length;
        blobs_[extent.offset] = TileBlob(blob.begin(), blob.end());
        return extent;
    }
    std::expected<TileBlob, std::error_code> read(Extent extent) override {
        if (onRead) onRead();
        const std::lock_guard lock(mutex_);
        const auto found = blobs_.find(extent.offset);
        if (found == blobs_.end() || isUnreadable) {
            return std::unexpected(std::make_error_code(std::errc::io_error));
        }
        return found->second;
    }
    void release(Extent extent) override {
        const std::lock_guard lock(mutex_);
        EXPECT_EQ(blobs_.erase(extent.offset), 1u) << "released twice or never written";
    }

    std::size_t extentCount() const {
        const std::lock_guard lock(mutex_);
        return blobs_.size();
    }

    std::function<void()> onWrite;
    std::function<void()> onRead;
    std::int64_t writesLeft = plenty;
    bool isUnreadable = false;

private:
    mutable std::mutex mutex_;
    std::int64_t end_ = 0;
    std::map<std::int64_t, TileBlob> blobs_;
};

class DrivenPressure final : public MemoryPressureSource {
public:
    void start(Handler handler) override { report = std::move(handler); }

    Handler report;
};

/// A store with the fakes below it.
struct FakeStore {
    explicit FakeStore(TileStore::Budget budget = noLimits) {
        auto space = std::make_unique<MemoryScratch>();
        auto source = std::make_unique<DrivenPressure>();
        scratch = space.get();
        pressure = source.get();
        store = TileStore::create(budget, {std::move(space), std::move(source)});
    }

    TileStore& operator*() const { return *store; }
    TileStore* operator->() const { return store.get(); }

    std::shared_ptr<TileStore> store;
    MemoryScratch* scratch; ///< owned by the store
    DrivenPressure* pressure;
};

} // namespace ombrel::testing
