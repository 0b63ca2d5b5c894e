// The tile grid at the sizes of documents: 1.4 million cells are a layer of 300000 x 300000 pixels.
// Rates are cells a second: written ones, differing ones, walked ones.
#include "Core/TileGrid.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstring>
#include <random>
#include <unordered_map>
#include <vector>

namespace ombrel {
namespace {

constexpr std::int64_t cellCounts[] = {1000, 100000, 1400000};

std::int32_t sideFor(std::int64_t cells) {
    return static_cast<std::int32_t>(std::sqrt(static_cast<double>(cells)) + 0.5);
}

PremultipliedColor colorAt(TileCoord coord) {
    return {static_cast<float>(coord.x), static_cast<float>(coord.y), 0, 1};
}

/// A square of cells that all differ, so that nothing is shared between subtrees.
const TileGrid& squareGrid(std::int64_t cells) {
    static std::unordered_map<std::int64_t, TileGrid> grids;
    const auto [entry, isNew] = grids.try_emplace(cells, TileFormat::rgba16Float);
    if (isNew) {
        const std::int32_t side = sideFor(cells);
        for (const TileCoord coord : TileRange{0, 0, side - 1, side - 1})
            entry->second.set(coord, colorAt(coord));
    }
    return entry->second;
}

/// Four cells far from one another, new ones each time.
class ScatteredCells {
public:
    explicit ScatteredCells(std::int64_t cells) : last_(0, sideFor(cells) - 1) {}
    TileCoord next() { return {last_(random_), last_(random_)}; }

private:
    std::mt19937 random_{1};
    std::uniform_int_distribution<std::int32_t> last_;
};

void copyWrite4(benchmark::State& state, std::int64_t cells) {
    const TileGrid grid = squareGrid(cells);
    ScatteredCells scattered(cells);
    TileGrid current = grid;
    float red = 0;
    for (auto _ : state) {
        TileGrid version = current;
        for (int count = 0; count < 4; ++count)
            version.set(scattered.next(), PremultipliedColor{red += 1, 1, 1, 1});
        current = std::move(version);
    }
    benchmark::DoNotOptimize(current.tileCount());
    state.SetItemsProcessed(state.iterations() * 4);
}

// What a history that keeps every version pays: nothing is freed meanwhile.
void copyWrite4Kept(benchmark::State& state, std::int64_t cells) {
    ScatteredCells scattered(cells);
    std::vector<TileGrid> history{squareGrid(cells)};
    float red = 0;
    for (auto _ : state) {
        TileGrid version = history.back();
        for (int count = 0; count < 4; ++count)
            version.set(scattered.next(), PremultipliedColor{red += 1, 1, 1, 1});
        history.push_back(std::move(version));
        if (history.size() < 50) continue;
        state.PauseTiming();
        history.erase(history.begin(), history.end() - 1);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * 4);
}

void copyWrite4HashMap(benchmark::State& state, std::int64_t cells) {
    std::unordered_map<TileCoord, PremultipliedColor> map;
    squareGrid(cells).forEach(
        [&](TileCoord coord, const TileCell& cell) { map.emplace(coord, cell.color()); });
    ScatteredCells scattered(cells);
    float red = 0;
    for (auto _ : state) {
        auto version = map;
        for (int count = 0; count < 4; ++count)
            version[scattered.next()] = PremultipliedColor{red += 1, 1, 1, 1};
        map = std::move(version);
    }
    state.SetItemsProcessed(state.iterations() * 4);
}

void diff(benchmark::State& state, std::int64_t cells) {
    const TileGrid& before = squareGrid(cells);
    ScatteredCells scattered(cells);
    TileGrid after = before;
    for (int count = 0; count < 4; ++count)
        after.set(scattered.next(), PremultipliedColor{-1, 1, 1, 1});
    std::int64_t found = 0;
    for (auto _ : state)
        TileGrid::diff(before, after,
                       [&](TileCoord, const TileCell&, const TileCell&) { ++found; });
    state.SetItemsProcessed(found);
}

void walk(benchmark::State& state, std::int64_t cells) {
    const TileGrid& grid = squareGrid(cells);
    for (auto _ : state) {
        float sum = 0;
        grid.forEach([&](TileCoord, const TileCell& cell) { sum += cell.color().red; });
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * grid.tileCount());
    state.SetBytesProcessed(state.iterations() * grid.tileCount() * 16);
}

void walkMemcpy(benchmark::State& state, std::int64_t cells) {
    const std::size_t bytes = static_cast<std::size_t>(squareGrid(cells).tileCount()) * 16;
    std::vector<char> from(bytes, 1);
    std::vector<char> to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * squareGrid(cells).tileCount());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void fingerprintAfterWrite(benchmark::State& state, std::int64_t cells) {
    TileGrid grid = squareGrid(cells);
    ScatteredCells scattered(cells);
    float red = 0;
    for (auto _ : state) {
        grid.set(scattered.next(), PremultipliedColor{red += 1, 2, 1, 1});
        benchmark::DoNotOptimize(grid.fingerprint());
    }
    state.SetItemsProcessed(state.iterations());
}

void lookup(benchmark::State& state, std::int64_t cells) {
    const TileGrid& grid = squareGrid(cells);
    ScatteredCells scattered(cells);
    std::vector<TileCoord> coords(4096);
    for (TileCoord& coord : coords)
        coord = scattered.next();
    for (auto _ : state) {
        for (const TileCoord coord : coords)
            benchmark::DoNotOptimize(grid.cell(coord).color().red);
    }
    state.SetItemsProcessed(state.iterations() * std::ssize(coords));
}

[[maybe_unused]] const bool registered = [] {
    const struct {
        const char* name;
        const char* suffix;
        void (*run)(benchmark::State&, std::int64_t);
    } benches[] = {
        {"Grid/copyWrite4/", "", copyWrite4},
        {"Grid/copyWrite4/", "/kept", copyWrite4Kept},
        {"Grid/copyWrite4/", "/hashMap", copyWrite4HashMap},
        {"Grid/diff/", "", diff},
        {"Grid/walk/", "", walk},
        {"Grid/walk/", "/memcpy", walkMemcpy},
        {"Grid/lookup/", "", lookup},
        {"Grid/fingerprintAfterWrite/", "", fingerprintAfterWrite},
    };
    for (const auto& bench : benches) {
        for (const std::int64_t cells : cellCounts) {
            const std::string name = bench.name + std::to_string(cells) + bench.suffix;
            benchmark::RegisterBenchmark(
                name.c_str(), [run = bench.run, cells](auto& state) { run(state, cells); });
        }
    }
    return true;
}();

} // namespace
} // namespace ombrel
