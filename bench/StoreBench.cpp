// The tile store: what reaching a resident tile costs, what a working set of twice the budget
// costs, and what releasing a grid costs. Rates are tiles a second of all threads together.
#include "Core/ScratchFile.h"
#include "Core/TileStore.h"
#include "PhotoTiles.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <filesystem>

namespace {

using namespace ombrel;

constexpr TileFormat format = TileFormat::rgba16Float;
constexpr auto tileBytes = static_cast<std::int64_t>(bytesPerTile(format));
constexpr std::int64_t plenty = std::int64_t{1} << 40;
constexpr std::int64_t poolBytes = 268435456;

std::shared_ptr<TileStore> makeStore(TileStore::Budget budget) {
    auto file = ScratchFile::open(std::filesystem::temp_directory_path() / "OmbrelBenchScratch");
    return TileStore::create(budget, {file ? std::move(*file) : nullptr, nullptr});
}

std::vector<Tile> makeTiles(TileStore& store, std::size_t count) {
    const auto& photo = bench::photoTiles();
    std::vector<Tile> tiles;
    tiles.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        TileBuffer buffer = store.acquireBuffer(format);
        std::memcpy(buffer.bytes(), photo[i % photo.size()].data(), buffer.size());
        tiles.push_back(store.makeTile(std::move(buffer)));
    }
    return tiles;
}

struct HotSet {
    std::shared_ptr<TileStore> store = makeStore({plenty, plenty, poolBytes});
    std::vector<Tile> tiles = makeTiles(*store, 256);
};

void pinHot(benchmark::State& state) {
    static const HotSet hot;
    auto i = static_cast<std::size_t>(state.thread_index()) * 128;
    for (auto _ : state) {
        const Tile& tile = hot.tiles[i++ % hot.tiles.size()];
        benchmark::DoNotOptimize(hot.store->pin(tile));
        hot.store->unpin(tile);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(pinHot)->Name("Store/pinHot")->Threads(1)->Threads(2)->UseRealTime();

struct ThrashSet {
    static constexpr std::size_t tileCount = 512;
    static constexpr std::int64_t residentBytes = tileBytes * tileCount / 2;
    std::shared_ptr<TileStore> store = makeStore({residentBytes, plenty, poolBytes});
    std::vector<Tile> tiles = makeTiles(*store, tileCount);

    std::size_t next = 0; ///< goes on from run to run: at the start of a run the coldest

    ThrashSet() { store->evict(residentBytes, plenty, false); }
};

/// Walks over all tiles in a circle, the worst order for keeping the ones used last: every pin
/// decodes a tile, and maintenance encodes another one to make room. The walk waits for it every
/// 25 tiles (a tenth less than what it clears at once), so the rate is that of both together.
void thrash(benchmark::State& state) {
    static ThrashSet set;
    std::size_t& i = set.next;
    std::int64_t cold = 0;
    for (auto _ : state) {
        const Tile& tile = set.tiles[i++ % set.tiles.size()];
        cold += set.store->isResident(tile) ? 0 : 1;
        const TilePin pin(tile);
        benchmark::DoNotOptimize(pin.bytes()[i % bytesPerTile(format)]);
        if (i % 25 == 0) set.store->evict(plenty, plenty, false);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * tileBytes);
    state.counters["cold"] = static_cast<double>(cold) / static_cast<double>(state.iterations());
}
BENCHMARK(thrash)->Name("Store/thrash")->UseRealTime();

/// Makes tiles and fills them, with nothing in the pool: the cost of fresh memory.
void makeFresh(benchmark::State& state) {
    const std::shared_ptr<TileStore> store = makeStore({plenty, plenty, 0});
    for (auto _ : state) {
        benchmark::DoNotOptimize(makeTiles(*store, 64));
    }
    state.SetItemsProcessed(state.iterations() * 64);
    state.SetBytesProcessed(state.iterations() * 64 * tileBytes);
}
BENCHMARK(makeFresh)->Name("Store/makeFresh")->UseRealTime();

/// Drops the last handles on 2048 tiles, far more than the pool takes.
void release(benchmark::State& state) {
    const std::shared_ptr<TileStore> store = makeStore({plenty, plenty, poolBytes});
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<Tile> tiles = makeTiles(*store, 2048);
        state.ResumeTiming();
        tiles.clear();
        state.PauseTiming();
        store->evict(plenty, plenty, true); // waits until the memory has gone back
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * 2048);
}
BENCHMARK(release)->Name("Store/release")->UseRealTime()->Iterations(3);

} // namespace
