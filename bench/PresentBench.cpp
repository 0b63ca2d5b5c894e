// A frame onto the screen, on the processor: the window's share of every frame, after the engine's.
// The view is full of tiles. The bound at 100% is reading 8 bytes and writing 4 for each pixel; at
// other sizes it is the arithmetic.
#include "App/Canvas/RasterPresenter.h"
#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/DocumentRenderer.h"
#include "TilePainter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace ombrel {

namespace {

enum class Tiles { opaque, translucent };

struct View {
    double scale = 1;
    double rotation = 0;
    Tiles tiles = Tiles::opaque;
    ColorProfile profile = ColorProfile::sRGB();
};

Frame frameOf(const View& view, TileStore& store) {
    constexpr PixelSize canvas{8192, 6144};
    PixelLayer layer;
    for (const TileCoord coord : PixelRect::ofSize(canvas).tileRange()) {
        TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
        TilePainter(static_cast<std::uint32_t>(coord.x % 4 + 1))
            .paint(buffer.bytes(), view.tiles == Tiles::opaque);
        layer.pixels.set(coord, store.makeTile(std::move(buffer)));
    }
    DocumentState state;
    state.canvas.size = canvas;
    state.canvas.profile = view.profile;
    state.root.write().children.emplace_back(std::move(layer));
    Viewport viewport;
    viewport.transform = {.center = {4100.5, 3050.5},
                          .scale = view.scale,
                          .rotation = view.rotation,
                          .viewportSize = {1920, 1080}};
    CpuDevice device;
    DocumentRenderer renderer(device, store, {.frameTime = {}, .makeEffects = {}});
    auto frame = renderer.draw(viewport, state);
    return *std::move(*frame);
}

void present(benchmark::State& run, const View& view) {
    const auto store = TileStore::create({std::int64_t{4} << 30, std::int64_t{1} << 30, 1 << 29},
                                         std::filesystem::temp_directory_path());
    const Frame frame = frameOf(view, *store);
    RasterPresenter presenter;
    presenter.present(frame);
    for (auto _ : run)
        presenter.present(frame);
    run.SetItemsProcessed(run.iterations() * 1920 * 1080);
}

void add(const char* name, const View& view) {
    benchmark::RegisterBenchmark(name, present, view)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

const bool isRegistered = [] {
    add("Present/raster/1080p/100%", {});
    add("Present/raster/1080p/400%", {.scale = 4});
    add("Present/raster/1080p/60%", {.scale = 0.6});
    add("Present/raster/1080p/90%", {.scale = 0.9});
    add("Present/raster/1080p/100%/translucent", {.tiles = Tiles::translucent});
    add("Present/raster/1080p/60%/translucent", {.scale = 0.6, .tiles = Tiles::translucent});
    add("Present/raster/1080p/100%/converted", {.profile = ColorProfile::displayP3()});
    add("Present/raster/1080p/60%/converted", {.scale = 0.6, .profile = ColorProfile::displayP3()});
    add("Present/raster/1080p/turned", {.scale = 0.6, .rotation = 0.3});
    return true;
}();

} // namespace

} // namespace ombrel
