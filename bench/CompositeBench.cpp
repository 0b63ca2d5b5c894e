// The composite kernel: pixel-layers a second of every blend mode, over tiles that stay in the
// caches; from memory; and what memory alone would allow.
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

struct Work {
    BlendMode mode = BlendMode::normal;
    bool perceptual = false;
    bool clips = false;
    /// 4 with eight layers is 16 MiB of sources, which the last-level cache holds.
    std::size_t tileCount = 4;
    bool sharesSources = true; ///< all tiles read the same pixels
};

void compositeTiles(benchmark::State& state, const Work& work) {
    std::vector<TileBuffer> tiles;
    std::vector<TileBuffer> outputs;
    std::vector<CompositeJob> jobs(work.tileCount);
    for (CompositeJob& job : jobs) {
        const std::size_t firstTile = work.sharesSources ? 0 : tiles.size();
        for (std::uint32_t i = 0; tiles.size() < firstTile + layerCount; ++i)
            tiles.push_back(paintedTile(i + 1, i % 2 == 0));
        outputs.push_back(TileBuffer::allocate(TileFormat::rgba16Float));
        job.output = outputs.back().bytes();
        for (std::uint32_t i = 0; i < layerCount; ++i) {
            LayerSource source;
            source.quad[0] = static_cast<const std::byte*>(tiles[firstTile + i].bytes());
            job.inputs.push_back(source);
        }
    }
    GPUCompositeLayer layer;
    layer.blendMode = static_cast<std::uint32_t>(work.mode);
    std::vector<GPUCompositeLayer> program(layerCount, layer);
    for (std::size_t i = 1; work.clips && i < layerCount; ++i)
        program[i].flags = CompositeFlags::clipped;
    CpuDevice device;
    for (auto _ : state) {
        if (!device.composite({program, work.perceptual, jobs}, nullptr))
            state.SkipWithError("compositing failed");
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<std::int64_t>(layerCount * work.tileCount * pixelsPerTile));
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

void registerWork(const std::string& title, const Work& work) {
    benchmark::RegisterBenchmark(title.c_str(), compositeTiles, work)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

void registerAll() {
    for (const BlendModeName& name : blendModeNames) {
        const std::string title = "Composite/" + std::string(name.rawValue);
        registerWork(title + "/linear", {.mode = name.mode});
        registerWork(title + "/perceptual", {.mode = name.mode, .perceptual = true});
    }
    registerWork("Composite/normal/linear/clipped", {.clips = true});
    registerWork("Composite/normal/perceptual/clipped", {.perceptual = true, .clips = true});
    registerWork("Composite/normal/linear/fromMemory", {.tileCount = 128, .sharesSources = false});
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
