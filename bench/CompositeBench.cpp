// The composite kernel: pixel-layers a second of every blend mode, over tiles that stay in the
// caches, and what memory alone would allow.
#include "Core/BlendMode.h"
#include "Core/TileBuffer.h"
#include "Engine/CpuDevice.h"
#include "TilePainter.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <tbb/parallel_for.h>
#include <vector>

namespace ombrel {

namespace {

TileBuffer paintedTile(std::uint32_t seed, bool isOpaque) {
    TileBuffer buffer = TileBuffer::allocate(TileFormat::rgba16Float);
    TilePainter(seed).paint(buffer.bytes(), isOpaque);
    return buffer;
}

constexpr std::uint32_t layerCount = 8;
constexpr std::size_t tileCount = 4;

// Eight layers in one mode over four tiles: 16 MiB of sources, so the last-level cache holds them.
void compositeMode(benchmark::State& state, BlendMode mode, bool perceptual) {
    std::vector<TileBuffer> tiles;
    for (std::uint32_t i = 0; i < layerCount; ++i)
        tiles.push_back(paintedTile(i + 1, i % 2 == 0));
    std::vector<TileBuffer> outputs;
    std::vector<CompositeJob> jobs(tileCount);
    for (CompositeJob& job : jobs) {
        outputs.push_back(TileBuffer::allocate(TileFormat::rgba16Float));
        job.output = outputs.back().bytes();
        for (const TileBuffer& tile : tiles) {
            LayerSource source;
            source.quad[0] = static_cast<const std::byte*>(tile.bytes());
            job.inputs.push_back(source);
        }
    }
    GPUCompositeLayer layer;
    layer.blendMode = static_cast<std::uint32_t>(mode);
    const std::vector<GPUCompositeLayer> program(layerCount, layer);
    CpuDevice device;
    for (auto _ : state) {
        if (!device.composite({program, perceptual, jobs}, nullptr))
            state.SkipWithError("compositing failed");
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<std::int64_t>(layerCount * tileCount * pixelsPerTile));
}

constexpr std::size_t streamBytes = std::size_t{256} << 20;

// Both cores copy memory that no cache holds; bytes are those read plus those written.
template <typename Copy>
void stream(benchmark::State& state, Copy copy) {
    const std::vector<std::uint16_t> from(streamBytes / 2, 0x3800);
    std::vector<std::uint16_t> to(streamBytes / 2);
    constexpr std::size_t chunk = std::size_t{1} << 20;
    for (auto _ : state) {
        tbb::parallel_for(std::size_t{0}, from.size() / chunk, [&](std::size_t i) {
            copy(from.data() + i * chunk, to.data() + i * chunk, chunk);
        });
    }
    state.SetBytesProcessed(state.iterations() * 2 * static_cast<std::int64_t>(streamBytes));
}

void registerAll() {
    for (const BlendModeName& name : blendModeNames) {
        for (const bool perceptual : {false, true}) {
            const std::string title = "Composite/" + std::string(name.rawValue) +
                                      (perceptual ? "/perceptual" : "/linear");
            benchmark::RegisterBenchmark(title.c_str(),
                                         [mode = name.mode, perceptual](benchmark::State& state) {
                                             compositeMode(state, mode, perceptual);
                                         })
                ->MeasureProcessCPUTime()
                ->UseRealTime();
        }
    }
    benchmark::RegisterBenchmark(
        "Composite/memcpy",
        [](benchmark::State& state) {
            stream(state, [](const std::uint16_t* from, std::uint16_t* to, std::size_t count) {
                std::memcpy(to, from, 2 * count);
            });
        })
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

const bool registered = [] {
    registerAll();
    return true;
}();

} // namespace

} // namespace ombrel
