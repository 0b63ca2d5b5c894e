// Strokes: dabs a second, into a layer of 4096 x 4096 pixels of photographs, in batches of 32 as
// they pile up while a frame is drawn. Everything a batch costs is in it: masks, dabs, blending and
// new tiles. Round dabs of hardness 0.5, a fifth of the radius apart, along a wavy line; "opaque"
// and the like vary one thing. Beside them libmypaint draws the same dabs into its own surface.
#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/StrokeRenderer.h"
#include "TilePainter.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#ifdef OMBREL_LIBMYPAINT
#include <mypaint-fixed-tiled-surface.h>
#include <mypaint-surface.h>
#endif

namespace ombrel {

namespace {

constexpr std::int64_t side = 4096;
constexpr std::size_t dabsOfStroke = 512;
constexpr std::size_t dabsOfBatch = 32;

std::vector<BrushDab> strokeOf(float radius, std::size_t number) {
    std::vector<BrushDab> dabs;
    double x = 500 + 3000 * std::fmod(static_cast<double>(number) * 0.618, 1.0);
    double y = 500 + 3000 * std::fmod(static_cast<double>(number) * 0.414, 1.0);
    double direction = static_cast<double>(number);
    const double step = 0.2 * static_cast<double>(radius);
    for (std::size_t i = 0; i < dabsOfStroke; ++i) {
        dabs.push_back({.x = static_cast<float>(x),
                        .y = static_cast<float>(y),
                        .radius = radius,
                        .hardness = 0.5f,
                        .alpha = 0.5f});
        x += step * std::cos(direction);
        y += step * std::sin(direction);
        direction += 0.04 * std::cos(static_cast<double>(i) * 0.07);
        const bool leaves = x < 300 || y < 300 || x > side - 300 || y > side - 300;
        if (leaves) direction = std::atan2(side / 2.0 - y, side / 2.0 - x);
    }
    return dabs;
}

class Layer {
public:
    Layer() {
        std::vector<TileBuffer> pictures;
        for (std::uint32_t i = 0; i < 16; ++i) {
            pictures.push_back(TileBuffer::allocate(TileFormat::rgba16Float));
            TilePainter(i + 1).paint(pictures.back().bytes(), i % 2 == 0);
        }
        std::size_t next = 0;
        for (const TileCoord coord : PixelRect{0, 0, side, side}.tileRange()) {
            next = (next + 5) % pictures.size();
            TileBuffer buffer = store->acquireBuffer(TileFormat::rgba16Float);
            std::memcpy(buffer.bytes(), pictures[next].bytes(), buffer.size());
            pixels.set(coord, store->makeTile(std::move(buffer)));
        }
    }

    /// One stroke, batch by batch.
    void paint(PixelDevice& device, const StrokeStyle& style, bool perceptual,
               std::span<const BrushDab> dabs) {
        const StrokeRenderer::Target target{
            .original = pixels, .bounds = {0, 0, side, side}, .perceptual = perceptual};
        StrokeRenderer renderer(device, *store, target, style);
        for (std::size_t i = 0; i < dabs.size(); i += dabsOfBatch) {
            const auto tiles = renderer.render(dabs.subspan(i, dabsOfBatch));
            for (const auto& [coord, content] : *tiles)
                pixels.set(coord, content);
        }
    }

    std::shared_ptr<TileStore> store = TileStore::create({.residentBytes = std::int64_t{2} << 30,
                                                          .compressedBytes = std::int64_t{1} << 30,
                                                          .poolBytes = std::int64_t{128} << 20},
                                                         std::filesystem::temp_directory_path());
    TileGrid pixels{TileFormat::rgba16Float};
};

struct Work {
    float radius = 100;
    float hardness = 0.5f;
    bool perceptual = true;
    std::optional<float> spacing = 0.1f;
};

void paintStrokes(benchmark::State& state, const Work& work) {
    Layer layer;
    CpuDevice device;
    const StrokeStyle style{
        .color = {0.2f, 0.5f, 0.1f, 1}, .opacity = 0.8f, .spacing = work.spacing};
    std::size_t number = 0;
    const auto paint = [&] {
        std::vector<BrushDab> dabs = strokeOf(work.radius, number++);
        for (BrushDab& dab : dabs)
            dab.hardness = work.hardness;
        layer.paint(device, style, work.perceptual, dabs);
    };
    paint(); // a store that has worked before has buffers to give
    for (auto _ : state)
        paint();
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(dabsOfStroke));
}

#ifdef OMBREL_LIBMYPAINT
void paintByLibmypaint(benchmark::State& state, const Work& work) {
    MyPaintFixedTiledSurface* tiled = mypaint_fixed_tiled_surface_new(side, side);
    MyPaintSurface* surface = mypaint_fixed_tiled_surface_interface(tiled);
    std::size_t number = 0;
    const auto paint = [&] {
        const std::vector<BrushDab> dabs = strokeOf(work.radius, number++);
        for (std::size_t i = 0; i < dabs.size(); i += dabsOfBatch) {
            mypaint_surface_begin_atomic(surface);
            for (std::size_t k = i; k < i + dabsOfBatch; ++k) {
                mypaint_surface_draw_dab(surface, dabs[k].x, dabs[k].y, dabs[k].radius, 0.2f, 0.5f,
                                         0.1f, dabs[k].alpha, work.hardness, 1, 1, 0, 0, 0);
            }
            MyPaintRectangle changed;
            mypaint_surface_end_atomic(surface, &changed);
        }
    };
    paint();
    for (auto _ : state)
        paint();
    mypaint_surface_unref(surface);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(dabsOfStroke));
}
#endif

template <typename Function>
void add(const std::string& name, Function function, const Work& work) {
    benchmark::RegisterBenchmark(name.c_str(), function, work)
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

const bool registered = [] {
    for (const int radius : {15, 100, 500}) {
        const std::string name = "Brush/dabs/r" + std::to_string(radius);
        const Work work{.radius = static_cast<float>(radius)};
        add(name, paintStrokes, work);
#ifdef OMBREL_LIBMYPAINT
        add(name + "/libmypaint", paintByLibmypaint, work);
#endif
    }
    add("Brush/dabs/r100/hard", paintStrokes, {.hardness = 1});
    add("Brush/dabs/r100/linear", paintStrokes, {.perceptual = false});
    add("Brush/dabs/r100/noSpacing", paintStrokes, {.spacing = std::nullopt});
    return true;
}();

} // namespace

} // namespace ombrel
