#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "support/Golden.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr std::int64_t side = 120; // one swatch of 24 x 24 for each mode, five a row

TileGrid painted(TileStore& store, PremultipliedColor (*color)(int x, int y)) {
    TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
    for (int i = 0; i < 65536; ++i) {
        const std::array<Half, 4> halves = color(i % 256, i / 256).halves();
        std::memcpy(buffer.bytes() + 8 * static_cast<std::size_t>(i), halves.data(), 8);
    }
    TileGrid grid(TileFormat::rgba16Float);
    grid.set({0, 0}, store.makeTile(std::move(buffer)));
    return grid;
}

// A backdrop that turns through the hues from dark to light in every swatch.
PremultipliedColor backdrop(int x, int y) {
    const float hue = static_cast<float>(x % 24) / 24 * 6.2832f;
    const float light = 0.15f + 0.5f * static_cast<float>(y % 24) / 24;
    return {light * (1 + 0.6f * std::cos(hue)), light * (1 + 0.6f * std::cos(hue + 2.1f)),
            light * (1 + 0.6f * std::cos(hue + 4.2f)), 1};
}

// A source with a soft edge that turns the other way.
PremultipliedColor source(int x, int y) {
    const auto u = static_cast<float>(x % 24) / 12 - 1;
    const auto v = static_cast<float>(y % 24) / 12 - 1;
    const float alpha = std::fmin(std::fmax(2.2f - 2 * std::hypot(u, v), 0.0f), 1.0f);
    return {(0.5f + 0.5f * v) * alpha, (0.5f - 0.4f * u) * alpha, (0.4f + 0.3f * u * v) * alpha,
            alpha};
}

GoldenImage goldenOf(const FlatImage& image) {
    GoldenImage golden{
        static_cast<int>(image.size().width), static_cast<int>(image.size().height), {}};
    for (std::int64_t i = 0; i < image.size().width * image.size().height; ++i) {
        const PremultipliedColor c = image.pixel(i % image.size().width, i / image.size().width);
        for (const float channel : {c.red, c.green, c.blue, c.alpha}) {
            const float unit = std::fmin(std::fmax(channel, 0.0f), 1.0f);
            golden.samples.push_back(static_cast<std::uint16_t>(std::lround(unit * 65535)));
        }
    }
    return golden;
}

// Every mode in a swatch of its own: the source cropped to it lies in that mode on the backdrop.
DocumentState swatches(TileStore& store, bool perceptual) {
    DocumentState state;
    state.canvas.size = {side, side};
    state.canvas.blendUsingGamma1 = !perceptual;
    GroupLayer& root = state.root.write();
    PixelLayer base = PixelLayer::named("Backdrop");
    base.pixels = painted(store, backdrop);
    root.children.emplace_back(base);
    const TileGrid sources = painted(store, source);
    for (std::size_t i = 0; i < blendModeCount; ++i) {
        PixelLayer layer = PixelLayer::named(std::string(blendModeNames[i].displayName));
        layer.properties.blendMode = blendModeNames[i].mode;
        const auto place = static_cast<std::int64_t>(i);
        layer.pixels = sources.cropped({place % 5 * 24, place / 5 * 24, 24, 24}, store);
        root.children.emplace_back(std::move(layer));
    }
    return state;
}

} // namespace

TEST(GoldenComposite, everyModeLooksAsItDid) {
    // One half at 1 is 32 of 65535; the curves may differ by one half between instruction sets.
    constexpr int tolerance = 40;
    const auto store = TileStore::create({std::int64_t{64} << 20, 1 << 20, 1 << 20},
                                         std::filesystem::temp_directory_path());
    CpuDevice device;
    for (const bool perceptual : {false, true}) {
        const auto image = Flattener::flatten(swatches(*store, perceptual), device, *store);
        ASSERT_TRUE(image.has_value());
        EXPECT_EQ(goldenDifference(perceptual ? "modes-perceptual" : "modes-linear",
                                   goldenOf(*image), tolerance),
                  "");
    }
}

} // namespace ombrel
