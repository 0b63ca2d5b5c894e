// Changes of size: a photograph of 24 megapixels in tiles. Items are pixels of the result.
#include "Core/TileStore.h"
#include "Engine/Resampling.h"
#include "PhotoTiles.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace ombrel {

namespace {

constexpr PixelSize photo{6000, 4000};

TileGrid photograph(TileStore& store) {
    const auto& pictures = bench::photoTiles();
    TileGrid grid(TileFormat::rgba16Float);
    std::size_t picture = 0;
    for (const TileCoord coord : PixelRect::ofSize(photo).tileRange()) {
        TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
        picture = (picture + 5) % pictures.size();
        std::memcpy(buffer.bytes(), pictures[picture].data(), buffer.size());
        grid.set(coord, store.makeTile(std::move(buffer)));
    }
    return grid.cropped(PixelRect::ofSize(photo), store);
}

void resample(benchmark::State& run, ResampleFilter filter, PixelSize to) {
    constexpr std::int64_t gigabyte = std::int64_t{1} << 30;
    const auto store = TileStore::create({8 * gigabyte, gigabyte, gigabyte},
                                         std::filesystem::temp_directory_path());
    const PlacedGrid grid{photograph(*store), {}};
    WorkMeter meter(nullptr);
    // Once beforehand: the first touch of fresh memory costs more than the work.
    benchmark::DoNotOptimize(resampled(grid, {photo, to, filter}, 0, *store, meter));
    for (auto _ : run) {
        auto result = resampled(grid, {photo, to, filter}, 0, *store, meter);
        if (!result) run.SkipWithError("resampling failed");
        benchmark::DoNotOptimize(result->tiles);
    }
    run.SetItemsProcessed(run.iterations() * to.width * to.height);
}

// The bound: read every source byte, write every target byte.
void copyBytes(benchmark::State& run, PixelSize to) {
    const auto bytesOf = [](PixelSize size) {
        return static_cast<std::size_t>(size.width * size.height) * 8;
    };
    const std::vector<std::byte> source(bytesOf(photo), std::byte{1});
    std::vector<std::byte> target(bytesOf(to));
    for (auto _ : run) {
        for (std::size_t at = 0; at < std::max(source.size(), target.size());) {
            const std::size_t from = at % source.size();
            const std::size_t place = at % target.size();
            const std::size_t count = std::min(source.size() - from, target.size() - place);
            std::memcpy(target.data() + place, source.data() + from, count);
            at += count;
        }
        benchmark::ClobberMemory();
    }
    run.SetItemsProcessed(run.iterations() * to.width * to.height);
}

[[maybe_unused]] const bool registered = [] {
    struct Job {
        const char* name;
        PixelSize to;
    };
    struct Filter {
        const char* name;
        ResampleFilter filter;
    };
    const auto add = [](const std::string& name, auto&& body) {
        benchmark::RegisterBenchmark(name.c_str(), body)
            ->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime()
            ->UseRealTime();
    };
    for (const Job& job : {Job{"half", {3000, 2000}}, Job{"x1.5", {9000, 6000}}}) {
        for (const Filter& filter : {Filter{"lanczos", ResampleFilter::lanczos},
                                     Filter{"bicubic", ResampleFilter::bicubic},
                                     Filter{"bilinear", ResampleFilter::bilinear},
                                     Filter{"nearest", ResampleFilter::nearest}})
            add(std::string("Resample/") + filter.name + "/" + job.name,
                [=](benchmark::State& run) { resample(run, filter.filter, job.to); });
        add(std::string("Resample/memcpy/") + job.name,
            [=](benchmark::State& run) { copyBytes(run, job.to); });
    }
    return true;
}();

} // namespace

} // namespace ombrel
