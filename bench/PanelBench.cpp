// What panels do beside the canvas: the small picture and the counts of tones, on a document of 300
// megapixels in five layers. "slice" is the longest stretch that one call took of those asked to
// last 4 ms: so long a canvas may have to wait for a thread.
#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/SmallPicture.h"
#include "Engine/ToneSurvey.h"
#include "TilePainter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

namespace ombrel {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto slice = std::chrono::milliseconds(4);
constexpr std::int64_t gigabyte = std::int64_t{1} << 30;
constexpr PixelSize size{20'000, 15'000};

struct LargeDocument {
    explicit LargeDocument(int layers) {
        store = TileStore::create({16 * gigabyte, gigabyte, gigabyte / 2},
                                  std::filesystem::temp_directory_path());
        for (std::uint32_t i = 0; i < 16; ++i) {
            TileBuffer buffer = store->acquireBuffer(TileFormat::rgba16Float);
            TilePainter(i + 1).paint(buffer.bytes(), i % 2 == 0);
            pictures.push_back(store->makeTile(std::move(buffer)));
        }
        state.canvas.size = size;
        std::size_t next = 0;
        for (int i = 0; i < layers; ++i) {
            PixelLayer layer;
            for (const TileCoord coord : PixelRect::ofSize(size).tileRange())
                layer.pixels.set(coord, pictures[next = (next + 5) % pictures.size()]);
            state.root.write().children.emplace_back(std::move(layer));
        }
    }
    /// As a stroke: four tiles of the top layer become others.
    void paint(int step) {
        state.update(state.root->children.back().id(), [&](LayerNode& node) {
            PixelLayer layer = *node.pixelLayer();
            for (std::int32_t i = 0; i < 4; ++i)
                layer.pixels.set({step % 60 + i, step % 40},
                                 pictures[static_cast<std::size_t>(step + i) % pictures.size()]);
            node = LayerNode(std::move(layer));
        });
    }

    CpuDevice device;
    std::shared_ptr<TileStore> store;
    std::vector<Tile> pictures;
    DocumentState state;
};

/// Until it is done; the longest slice in milliseconds.
double finish(auto& work) {
    double longest = 0;
    for (;;) {
        const Clock::time_point begin = Clock::now();
        const auto result = work.advance(slice);
        const std::chrono::duration<double, std::milli> taken = Clock::now() - begin;
        longest = std::max(longest, taken.count());
        if (!result || *result) return longest;
    }
}

void NavigatorFirst(benchmark::State& bench) {
    LargeDocument document(5);
    double longest = 0;
    for (auto _ : bench) {
        SmallPicture small(document.device, *document.store);
        small.follow(document.state, 250);
        longest = std::max(longest, finish(small));
    }
    bench.counters["slice_ms"] = longest;
}

void NavigatorStroke(benchmark::State& bench) {
    LargeDocument document(5);
    SmallPicture small(document.device, *document.store);
    small.follow(document.state, 250);
    finish(small);
    double longest = 0;
    int step = 0;
    for (auto _ : bench) {
        document.paint(++step);
        small.follow(document.state, 250);
        longest = std::max(longest, finish(small));
        benchmark::DoNotOptimize(small.picture());
    }
    bench.counters["slice_ms"] = longest;
}

void Tones(benchmark::State& bench, ToneSurvey::Detail detail) {
    LargeDocument document(5);
    double longest = 0;
    for (auto _ : bench) {
        ToneSurvey survey(document.device, *document.store);
        survey.begin(ToneSurvey::merged(document.state), detail);
        longest = std::max(longest, finish(survey));
        benchmark::DoNotOptimize(survey.counts());
    }
    bench.counters["slice_ms"] = longest;
    bench.SetItemsProcessed(bench.iterations() * size.width * size.height);
}

BENCHMARK(NavigatorFirst)->Unit(benchmark::kMillisecond);
BENCHMARK(NavigatorStroke)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Tones, samples, ToneSurvey::Detail::samples)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Tones, everyPixel, ToneSurvey::Detail::everyPixel)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace ombrel
