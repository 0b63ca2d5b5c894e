// Whole documents to one image: what an export waits for.
#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "TilePainter.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <vector>

namespace ombrel {

namespace {

constexpr std::int64_t side = 4096;
constexpr std::array mixedModes{BlendMode::normal, BlendMode::multiply, BlendMode::screen,
                                BlendMode::overlay, BlendMode::softLight};

// Every tile has memory of its own, so that all of it streams from memory; the pictures in them
// repeat after sixteen, half of these opaque.
DocumentState layersOf(int count, TileStore& store) {
    std::vector<TileBuffer> pictures;
    for (std::uint32_t i = 0; i < 16; ++i) {
        pictures.push_back(TileBuffer::allocate(TileFormat::rgba16Float));
        TilePainter(i + 1).paint(pictures.back().bytes(), i % 2 == 0);
    }
    DocumentState state;
    state.canvas.size = {side, side};
    std::size_t picture = 0;
    for (int i = 0; i < count; ++i) {
        PixelLayer layer;
        layer.properties.blendMode = mixedModes[static_cast<std::size_t>(i) % mixedModes.size()];
        for (const TileCoord coord : PixelRect::ofSize(state.canvas.size).tileRange()) {
            TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
            picture = (picture + 5) % pictures.size();
            std::memcpy(buffer.bytes(), pictures[picture].bytes(), buffer.size());
            layer.pixels.set(coord, store.makeTile(std::move(buffer)));
        }
        state.root.write().children.emplace_back(std::move(layer));
    }
    return state;
}

// Twenty layers of 4096 x 4096 in five modes, blended perceptually, on all cores: 2.7 GB of
// sources. Items are pixel-layers.
void flattenMixed(benchmark::State& run) {
    constexpr int layers = 20;
    constexpr std::int64_t gigabyte = std::int64_t{1} << 30;
    const auto store = TileStore::create({16 * gigabyte, gigabyte, gigabyte / 4},
                                         std::filesystem::temp_directory_path());
    const DocumentState state = layersOf(layers, *store);
    CpuDevice device;
    for (auto _ : run) {
        const auto image = Flattener::flatten(state, device, *store);
        if (!image) run.SkipWithError("flattening failed");
        benchmark::DoNotOptimize(image->bytes().data());
    }
    run.SetItemsProcessed(run.iterations() * layers * side * side);
}

BENCHMARK(flattenMixed)
    ->Name("Flatten/20x4096/mixed")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

} // namespace ombrel
