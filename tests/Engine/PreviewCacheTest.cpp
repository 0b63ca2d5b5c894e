#include "Engine/PreviewCache.h"

#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "Engine/PyramidReference.h"
#include "Engine/RandomDocument.h"
#include "TestSeed.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr std::int64_t megabyte = std::int64_t{1} << 20;

/// What samples cannot tell exactly: noise by place, and grey levels of masks between bytes.
void makeExact(DocumentState& state, RandomDocument& random) {
    for (const LayerNode& node : state.allNodes()) {
        state.update(node.id(), [&](LayerNode& changed) {
            LayerProperties& properties = changed.writeProperties();
            if (properties.blendMode == BlendMode::dissolve)
                properties.blendMode = BlendMode::normal;
            std::optional<LayerMask>& mask = changed.writeMask();
            if (!mask) return;
            const TileGrid pixels = mask->pixels;
            pixels.forEach([&](TileCoord coord, const TileCell& cell) {
                if (cell.isSolid()) mask->pixels.set(coord, random.maskTile());
            });
        });
    }
}

void expectSamples(const PreviewCache& preview, const FlatImage& image, bool perceptual) {
    const std::int64_t step = std::int64_t{1} << preview.level();
    const PyramidGeometry geometry(image.size());
    for (const TileCoord coord : geometry.tiles(preview.level())) {
        const CompositeCache::Content* content = preview.content(coord);
        ASSERT_NE(content, nullptr) << coord.text();
        const PixelTile tile = pixelsOf(*content);
        for (std::size_t i = 0; i < pixelsPerTile; i += 7) {
            const auto at = static_cast<std::int64_t>(i);
            const std::int64_t x = (coord.x * 256 + at % 256) * step + step / 2;
            const std::int64_t y = (coord.y * 256 + at / 256) * step + step / 2;
            if (x >= image.size().width || y >= image.size().height) continue;
            PixelHalves found;
            for (std::size_t c = 0; c < 4; ++c)
                found[c] = Half{tile[4 * i + c]};
            ASSERT_LE(halfDistance(found, image.pixel(x, y).halves()), perceptual ? 1 : 0)
                << x << ", " << y;
        }
    }
}

} // namespace

TEST(PreviewCache, isExactAtTheSampledPixelsAfterAnyEdit) {
    const std::uint64_t seed = testSeed();
    const auto store = TileStore::create({512 * megabyte, 64 * megabyte, 64 * megabyte},
                                         std::filesystem::temp_directory_path());
    CpuDevice device;
    for (std::uint64_t round = 0; round < 3; ++round) {
        RandomDocument random(seed + round, *store, {1100, 700});
        DocumentState state = random.make();
        PreviewCache preview(device, *store, nullptr);
        int level = 1;
        for (int step = 0; step < 15; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed + round << " step " << step);
            makeExact(state, random);
            if (random.maker().oneIn(4)) level = 1 + static_cast<int>(random.maker().below(3));
            const bool perceptual = !state.canvas.blendUsingGamma1;
            preview.update(state.compositeProgram(), state.canvas.size, perceptual, level);
            const TileRange range = PyramidGeometry(state.canvas.size).tiles(level);
            const std::vector<TileCoord> coords(range.begin(), range.end());
            const auto past = PreviewCache::Clock::time_point::min();
            for (int tries = 0; !preview.refresh(coords, past, 1 << 30).value(); ++tries)
                ASSERT_LT(tries, 100) << "each time does some work";
            const auto image = Flattener::flatten(state, device, *store);
            ASSERT_TRUE(image.has_value());
            expectSamples(preview, *image, perceptual);
            random.edit(state);
        }
    }
}

} // namespace ombrel
