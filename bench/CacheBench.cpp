// The screen: what a person waits for. Times are those of one refresh or one frame, on the thread
// that draws; "worst" is the slowest one. Layers cover the whole canvas, in five modes, blended
// perceptually (or all normal where the name says so); tiles repeat after sixteen pictures, so that
// a document larger than memory can be looked at.
#include "Core/TileStore.h"
#include "Engine/CompositeCache.h"
#include "Engine/CpuDevice.h"
#include "Engine/DocumentRenderer.h"
#include "TilePainter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace ombrel {

namespace {

constexpr std::int64_t gigabyte = std::int64_t{1} << 30;
constexpr std::array mixedModes{BlendMode::normal, BlendMode::multiply, BlendMode::screen,
                                BlendMode::overlay, BlendMode::softLight};

enum class Modes { normal, mixed };

class Scene {
public:
    Scene(PixelSize size, int layers, Modes modes) {
        for (std::uint32_t i = 0; i < 16; ++i)
            pictures_.push_back(picture(i + 1, i % 2 == 0));
        state.canvas.size = size;
        std::size_t next = 0;
        for (int i = 0; i < layers; ++i) {
            PixelLayer layer;
            if (modes == Modes::mixed)
                layer.properties.blendMode =
                    mixedModes[static_cast<std::size_t>(i) % mixedModes.size()];
            for (const TileCoord coord : PixelRect::ofSize(size).tileRange())
                layer.pixels.set(coord, pictures_[next = (next + 5) % pictures_.size()]);
            state.root.write().children.emplace_back(std::move(layer));
        }
    }

    Tile picture(std::uint32_t seed, bool isOpaque) {
        TileBuffer buffer = store->acquireBuffer(TileFormat::rgba16Float);
        TilePainter(seed).paint(buffer.bytes(), isOpaque);
        return store->makeTile(std::move(buffer));
    }
    /// Other tiles in a square of a layer, so many below the top one.
    void paint(std::int32_t x, std::int32_t y, std::int32_t side, std::size_t above = 0) {
        const auto& layers = state.root->children;
        state.update(layers[layers.size() - 1 - above].id(), [&](LayerNode& node) {
            for (std::int32_t i = 0; i < side * side; ++i) {
                next_ = (next_ + 3) % pictures_.size();
                const TileCoord coord{x + i % side, y + i / side};
                TileGrid& pixels = node.writePixelLayer()->pixels;
                if (pixels[coord] == TileContent(pictures_[next_]))
                    next_ = (next_ + 1) % pictures_.size();
                pixels.set(coord, pictures_[next_]);
            }
        });
    }
    void setOpacity(std::size_t layer, float opacity) {
        state.update(state.root->children[layer].id(),
                     [&](LayerNode& node) { node.writeProperties().opacity = opacity; });
    }

    std::shared_ptr<TileStore> store = TileStore::create({16 * gigabyte, gigabyte, gigabyte / 2},
                                                         std::filesystem::temp_directory_path());
    CpuDevice device;
    DocumentState state;

private:
    std::vector<Tile> pictures_;
    std::size_t next_ = 0;
};

Viewport viewOf(double x, double y, double scale, double width, double height) {
    Viewport viewport;
    viewport.transform = {.center = {x, y}, .scale = scale, .viewportSize = {width, height}};
    return viewport;
}

/// Of all threads, in milliseconds: unlike a frame's time it tells little of what else runs.
double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
}

/// Frames, and what they took.
class Screen {
public:
    explicit Screen(Scene& scene) : renderer_(scene.device, *scene.store, {}), scene_(scene) {}

    bool draw(const Viewport& viewport) {
        const double before = processorTime();
        const auto frame = renderer_.draw(viewport, scene_.state);
        if (!frame || !*frame) return true;
        worstProcessor = std::max(worstProcessor, processorTime() - before);
        last = renderer_.lastFrame().encodeMilliseconds;
        worst = std::max(worst, last);
        sum += last;
        ++frames;
        return (*frame)->isComplete;
    }
    /// Frames until the picture is exact; milliseconds they took together.
    double finish(const Viewport& viewport) {
        const double before = sum;
        while (!draw(viewport)) {
        }
        return sum - before;
    }
    void forget() { worst = worstProcessor = sum = frames = 0; }

    double last = 0;
    double worst = 0;
    double worstProcessor = 0; ///< of all threads
    double sum = 0;
    double frames = 0;

private:
    DocumentRenderer renderer_;
    Scene& scene_;
};

// A brush over sixteen tiles of one of twenty layers, so many below the top one, seen at 100%: the
// refresh that a segment of the stroke waits for, from the second one on. What lies below the layer
// is kept, so that it costs by the layers from there on up.
void paint(benchmark::State& run, Modes modes, std::size_t above) {
    Scene scene({4096, 4096}, 20, modes);
    CompositeCache cache(scene.device, *scene.store);
    cache.update(scene.state, true);
    std::vector<TileCoord> view;
    for (const TileCoord coord : TileRange{2, 2, 9, 6})
        view.push_back(coord);
    for (int i = 0; i < 2; ++i) { // the first segment finds nothing kept
        if (!cache.refresh(0, view, {})) run.SkipWithError("refresh failed");
        scene.paint(3, 3, 4, above);
        cache.update(scene.state, true);
    }
    for (auto _ : run) {
        run.PauseTiming();
        scene.paint(3, 3, 4, above);
        run.ResumeTiming();
        cache.update(scene.state, true);
        if (!cache.refresh(0, view, {}) || cache.lastCompositedTiles() != 16)
            run.SkipWithError("not the work that was meant");
    }
    run.SetItemsProcessed(run.iterations() * 16 * 20 * static_cast<std::int64_t>(pixelsPerTile));
}

// 300 megapixels, thirty layers: the first frame of the whole, a way through it at 100% and back
// out over ground that was never seen, the same way once all of it was, and at last the whole until
// it is exact.
void panZoom(benchmark::State& run) {
    Scene scene({20000, 15000}, 30, Modes::mixed);
    const Viewport whole = viewOf(10000, 7500, 0.09, 1920, 1200);
    std::vector<Viewport> way;
    for (int i = 0; i < 40; ++i)
        way.push_back(viewOf(6000 + 60 * i, 6000 + 30 * i, 1, 1920, 1200));
    for (int i = 0; i < 16; ++i)
        way.push_back(viewOf(8400, 7200, std::exp2(-i / 8.0), 1920, 1200));
    for (auto _ : run) {
        Screen screen(scene);
        screen.draw(whole);
        run.counters["firstFrameMs"] = screen.last;
        screen.forget();
        for (const Viewport& viewport : way)
            screen.draw(viewport);
        run.counters["newGroundWorstMs"] = screen.worst;
        run.counters["newGroundMeanMs"] = screen.sum / screen.frames;
        run.counters["newGroundWorstCpuMs"] = screen.worstProcessor;
        for (const Viewport& viewport : way)
            screen.finish(viewport);
        screen.forget();
        for (const Viewport& viewport : way)
            screen.draw(viewport);
        run.counters["warmWorstMs"] = screen.worst;
        run.counters["warmMeanMs"] = screen.sum / screen.frames;
        screen.forget();
        run.counters["exactMs"] = screen.finish(whole);
        run.counters["worstUntilExactMs"] = screen.worst;
        run.counters["worstUntilExactCpuMs"] = screen.worstProcessor;
    }
}

// A slider: the opacity of one of twenty layers of 24 megapixels changes with every frame, the
// whole in view. The frames, and what it takes to be exact once the slider stands still.
void opacityDrag(benchmark::State& run, Modes modes) {
    Scene scene({6000, 4000}, 20, modes);
    const Viewport viewport = viewOf(3000, 2000, 0.25, 1500, 1000);
    Screen screen(scene);
    screen.finish(viewport);
    scene.setOpacity(10, 0.5f);
    screen.draw(viewport);
    run.counters["firstFrameMs"] = screen.last;
    screen.forget();
    int i = 0;
    for (auto _ : run) {
        scene.setOpacity(10, 0.2f + 0.001f * static_cast<float>(++i % 700));
        screen.draw(viewport);
    }
    run.counters["worstMs"] = screen.worst;
    run.counters["worstCpuMs"] = screen.worstProcessor;
    run.counters["exactMs"] = screen.finish(viewport);
}

// What finding the change costs: 100000 stored tiles of a layer replaced at once, a few of them in
// view; then one tile of them.
void diff(benchmark::State& run, std::int32_t side) {
    Scene scene({316 * 256, 316 * 256}, 2, Modes::normal);
    CompositeCache cache(scene.device, *scene.store);
    cache.update(scene.state, true);
    std::vector<TileCoord> view;
    for (const TileCoord coord : TileRange{100, 100, 107, 104})
        view.push_back(coord);
    if (!cache.refresh(0, view, {})) run.SkipWithError("refresh failed");
    for (auto _ : run) {
        run.PauseTiming();
        scene.paint(316 / 2 - side / 2, 316 / 2 - side / 2, side);
        run.ResumeTiming();
        cache.update(scene.state, true);
    }
    run.SetItemsProcessed(run.iterations() * side * side);
}

BENCHMARK_CAPTURE(paint, normal0, Modes::normal, 0)
    ->Name("Cache/paint/normal")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, normal3, Modes::normal, 3)
    ->Name("Cache/paint/normal/threeAbove")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, normal10, Modes::normal, 10)
    ->Name("Cache/paint/normal/middle")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, normal19, Modes::normal, 19)
    ->Name("Cache/paint/normal/bottom")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, mixed0, Modes::mixed, 0)
    ->Name("Cache/paint/mixed")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, mixed3, Modes::mixed, 3)
    ->Name("Cache/paint/mixed/threeAbove")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, mixed10, Modes::mixed, 10)
    ->Name("Cache/paint/mixed/middle")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK_CAPTURE(paint, mixed19, Modes::mixed, 19)
    ->Name("Cache/paint/mixed/bottom")
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(panZoom)
    ->Name("Cache/panZoom")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();
BENCHMARK_CAPTURE(opacityDrag, normal, Modes::normal)
    ->Name("Cache/opacityDrag/normal")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(opacityDrag, mixed, Modes::mixed)
    ->Name("Cache/opacityDrag/mixed")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(diff, all, 316)->Name("Diff/100k")->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(diff, one, 1)
    ->Name("Diff/100k/one")
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

} // namespace

} // namespace ombrel
