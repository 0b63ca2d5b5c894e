#include "Engine/StrokeRenderer.h"

#include "Core/FillComposite.h"
#include "Engine/CountingDevice.h"
#include "Engine/HalfDistance.h"
#include "Engine/KernelScene.h"
#include "Engine/Kernels/SimdTargets.h"
#include "Engine/StrokeScene.h"
#include "TestSeed.h"

#include <cmath>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

/// A dab that covers the pixels around (x, y) wholly.
BrushDab solidDab(float x, float y, float radius, float alpha = 1) {
    return {.x = x, .y = y, .radius = radius, .hardness = 1, .alpha = alpha};
}

Tile tileOf(TileStore& store, const PixelTile& pixels) {
    TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
    std::memcpy(buffer.bytes(), pixels.data(), buffer.size());
    return store.makeTile(std::move(buffer));
}

bool equalPixels(const TileGrid& a, const TileGrid& b) {
    bool isEqual = a.tileCount() == b.tileCount();
    a.forEach([&](TileCoord coord, const TileCell& cell) {
        const TileCell other = b.cell(coord);
        if (!cell.isPixels() || !other.isPixels()) {
            isEqual = isEqual && cell == other;
            return;
        }
        const TilePin first(cell.tile());
        const TilePin second(other.tile());
        isEqual =
            isEqual && std::memcmp(first.bytes(), second.bytes(), bytesPerTile(a.format())) == 0;
    });
    return isEqual;
}

} // namespace

TEST(StrokeRenderer, paintsNothingWhereNoDabBringsAnything) {
    StrokeScene scene;
    scene.target.bounds = {0, 0, 100, 100};
    StrokeRenderer renderer(scene.device, *scene.store, scene.target, scene.style);
    const TileStore::Statistics before = scene.store->statistics();
    const std::vector<BrushDab> dabs{solidDab(50, 50, 10, 0),
                                     solidDab(50, 50, 0),
                                     solidDab(300, 50, 10),
                                     solidDab(50, -40, 20),
                                     solidDab(NAN, 50, 10),
                                     solidDab(50, HUGE_VALF, 10),
                                     {.x = 50, .y = 50, .radius = 10, .angle = NAN}};
    EXPECT_TRUE(renderer.render(dabs)->empty());
    EXPECT_TRUE(renderer.render({})->empty());
    EXPECT_FALSE(renderer.coverage().has_value());
    EXPECT_EQ(scene.store->statistics(), before);
}

TEST(StrokeRenderer, doesNotDependOnHowDabsAreBatched) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    for (const std::optional<float> spacing : {std::optional<float>(), {0.05f}, {0.8f}}) {
        DabMaker maker(seed);
        StrokeScene scene;
        scene.style.spacing = spacing;
        scene.style.color = {0.1f, 0.4f, 0.2f, 0.8f};
        scene.style.opacity = 0.7f;
        scene.target.perceptual = true;
        scene.target.original.set({0, 0}, PremultipliedColor{0.5f, 0.25f, 0.1f, 0.75f});
        const std::vector<BrushDab> dabs = maker.dabs(60, 300);
        std::vector<std::vector<BrushDab>> batches;
        for (const BrushDab& dab : dabs) {
            if (batches.empty() || maker.below(4) == 0) batches.emplace_back();
            batches.back().push_back(dab);
        }
        EXPECT_TRUE(equalPixels(scene.painted(dabs), scene.paintedInBatches(batches)));
    }
}

TEST(StrokeRenderer, neverPassesItsOpacityWithinAStroke) {
    StrokeScene scene;
    scene.style.opacity = 0.5f;
    std::vector<BrushDab> dabs;
    for (int i = 0; i < 200; ++i)
        dabs.push_back({.x = 128 + static_cast<float>(i % 7),
                        .y = 128,
                        .radius = 30,
                        .hardness = 0.3f,
                        .alpha = 0.4f});
    const TileGrid first = scene.painted(dabs);
    EXPECT_EQ(first.color(130, 128).alpha, 0.5f);
    for (int x = 90; x < 170; ++x)
        EXPECT_LE(first.color(x, 128).alpha, 0.5f);
    scene.target.original = first;
    EXPECT_EQ(scene.painted(dabs).color(130, 128).alpha, 0.75f);
}

TEST(StrokeRenderer, keepsWhatWasPaintedBeforeABatchThatFailed) {
    StrokeScene scene;
    CountingDevice device;
    StrokeRenderer renderer(device, *scene.store, scene.target, scene.style);
    TileGrid grid = scene.target.original;
    const auto paint = [&](const BrushDab& dab) {
        const auto tiles = renderer.render({&dab, 1});
        if (!tiles) return false;
        for (const auto& [coord, content] : *tiles)
            grid.set(coord, content);
        return true;
    };
    EXPECT_TRUE(paint(solidDab(50, 50, 10)));
    device.failsToPaint = true;
    EXPECT_FALSE(paint(solidDab(150, 50, 10)));
    EXPECT_FALSE(paint(solidDab(400, 50, 10))) << "a tile of its own";
    device.failsToPaint = false;
    EXPECT_TRUE(paint(solidDab(100, 150, 10)));
    EXPECT_TRUE(paint(solidDab(400, 150, 10)));
    for (const auto& [x, y, alpha] : {std::tuple{50, 50, 1.0f},
                                      {100, 150, 1.0f},
                                      {150, 50, 0.0f},
                                      {400, 150, 1.0f},
                                      {400, 50, 0.0f}})
        EXPECT_EQ(grid.color(x, y).alpha, alpha) << x << " " << y;
}

TEST(StrokeRenderer, blendsInEveryModeAsTheJudgeDoes) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    StrokeScene scene;
    scene.style.color = {0.3f, 0.05f, 0.5f, 0.75f};
    scene.style.opacity = 0.8f;
    PixelMaker maker(seed, false);
    scene.target.original.set({0, 0}, tileOf(*scene.store, maker.tile()));
    const std::vector<BrushDab> dabs{solidDab(100, 120, 70, 0.9f)};
    for (const Kernels::SimdTarget& simd : Kernels::simdTargets()) {
        SCOPED_TRACE(simd.name);
        const Kernels::SimdTargetOverride scope(simd);
        for (const BlendModeName& name : blendModeNames) {
            for (const bool perceptual : {false, true}) {
                SCOPED_TRACE(std::string(name.rawValue) + (perceptual ? " perceptual" : ""));
                scene.target.perceptual = perceptual;
                scene.style.blend.value = PaintBlend::Blend{name.mode};
                const TileGrid result = scene.painted(dabs);
                const BlendMode judged =
                    name.mode == BlendMode::passThrough ? BlendMode::normal : name.mode;
                const FillComposite judge{judged, 1, perceptual};
                int further = 0;
                for (int i = 0; i < 3000; ++i) {
                    const int x = static_cast<int>(maker.below(256));
                    const int y = static_cast<int>(maker.below(256));
                    const double distance = std::hypot(x + 0.5 - 100, y + 0.5 - 120);
                    if (std::fabs(distance - 70) < 1.5) continue;
                    const PremultipliedColor before = scene.target.original.color(x, y);
                    const float m = distance < 70 ? 0.9f * 0.8f : 0;
                    const PremultipliedColor expected =
                        m > 0 ? judge.apply(scene.style.color, before, m, x, y) : before;
                    const PixelHalves found = result.color(x, y).halves();
                    if (halfDistance(found, expected.halves()) > (perceptual ? 1 : 0)) ++further;
                }
                EXPECT_EQ(further, 0);
            }
        }
    }
}

TEST(StrokeRenderer, landsWithinBoundsAndSelection) {
    StrokeScene scene;
    scene.target.bounds = {10, 20, 270, 200};
    TileGrid selection(TileFormat::r8);
    selection.set({0, 0}, makeTestTile(*scene.store, TileFormat::r8, 51));
    scene.target.selection = selection;
    const TileGrid grid = scene.painted({solidDab(150, 110, 400)});
    EXPECT_EQ(grid.color(100, 100).alpha, toFloat(toHalf(0.2f)));
    EXPECT_EQ(grid.color(10, 20).alpha, toFloat(toHalf(0.2f)));
    for (const auto& [x, y] : {std::pair{9, 100}, {100, 19}, {100, 220}, {260, 100}, {279, 30}})
        EXPECT_EQ(grid.color(x, y), PremultipliedColor::transparent()) << x << " " << y;
    EXPECT_TRUE(grid.cell({1, 0}).isPixels()) << "a tile that is not selected is made anew";
}

TEST(StrokeRenderer, takesAwayInProportionToTheMask) {
    StrokeScene scene;
    const PremultipliedColor before{0.5f, 0.25f, 0.125f, 0.5f};
    scene.target.original.set({0, 0}, before);
    for (const bool clears : {false, true}) {
        scene.style.mode = clears ? StrokeStyle::Mode::paint : StrokeStyle::Mode::erase;
        if (clears) scene.style.blend.value = PaintBlend::Clear{};
        scene.style.opacity = 0.75f;
        const TileGrid grid = scene.painted({solidDab(100, 100, 20)});
        EXPECT_EQ(grid.color(100, 100), (PremultipliedColor{0.125f, 0.0625f, 0.03125f, 0.125f}));
        EXPECT_EQ(grid.color(150, 100), before);
    }
}

TEST(StrokeRenderer, paintsBehindWhatIsThere) {
    StrokeScene scene;
    scene.style.blend.value = PaintBlend::Behind{};
    scene.style.color = {0, 0.5f, 0, 1};
    scene.target.original.set({0, 0}, PremultipliedColor{0.5f, 0, 0, 0.5f});
    const TileGrid grid = scene.painted({solidDab(256, 100, 40)});
    EXPECT_EQ(grid.color(250, 100), (PremultipliedColor{0.5f, 0.25f, 0, 1}));
    EXPECT_EQ(grid.color(260, 100), (PremultipliedColor{0, 0.5f, 0, 1}));
}

TEST(StrokeRenderer, paintsGreyIntoMasks) {
    StrokeScene scene;
    scene.target.original = TileGrid(TileFormat::r8);
    scene.target.original.set({1, 0}, PremultipliedColor::white());
    scene.target.original.set({0, 1}, makeTestTile(*scene.store, TileFormat::r8, 100));
    scene.target.absentValue = 0.2f;
    scene.target.perceptual = true;
    scene.style.color = {0.5f, 0.5f, 0.5f, 1};
    const TileGrid grid = scene.painted({solidDab(256, 256, 100, 0.5f)});
    EXPECT_EQ(grid.format(), TileFormat::r8);
    EXPECT_EQ(byteAt(grid, 250, 250), 89); // (0.2 + 0.5) / 2
    EXPECT_EQ(byteAt(grid, 1, 1), 51);
    EXPECT_EQ(byteAt(grid, 260, 250), 191);
    EXPECT_EQ(byteAt(grid, 500, 250), 255);
    EXPECT_EQ(byteAt(grid, 250, 260), 114);
    EXPECT_EQ(byteAt(grid, 250, 500), 100);
    scene.style.mode = StrokeStyle::Mode::erase;
    EXPECT_EQ(byteAt(scene.painted({solidDab(256, 256, 100, 0.5f)}), 250, 260), 50);
}

TEST(StrokeRenderer, tellsItsCoverageAsBytes) {
    StrokeScene scene;
    scene.target.bounds = {200, 90, 100, 20};
    StrokeRenderer renderer(scene.device, *scene.store, scene.target, scene.style);
    const std::vector<BrushDab> dabs{solidDab(256, 100, 30, 0.6f)};
    ASSERT_TRUE(renderer.render(dabs).has_value());
    const StrokeCoverage coverage = renderer.coverage().value();
    EXPECT_EQ(coverage.rect, (PixelRect{200, 90, 100, 20}));
    EXPECT_EQ(coverage.bytes[10 * 100 + 56], 153);
    EXPECT_EQ(coverage.bytes[10 * 100 + 10], 0);
}

TEST(StrokeRenderer, looksTheSameWhereverItLiesOnTheTiles) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    DabMaker maker(seed);
    std::vector<BrushDab> dabs = maker.dabs(40, 200);
    for (BrushDab& dab : dabs) {
        dab.x = std::round(dab.x * 8) / 8;
        dab.y = std::round(dab.y * 8) / 8;
    }
    StrokeScene scene;
    scene.style.spacing = 0.1f;
    scene.style.color = PremultipliedColor::white();
    scene.target.bounds = {-4000, -4000, 8000, 8000};
    const TileGrid first = scene.painted(dabs);
    for (const auto& [dx, dy] : {std::pair{100, 37}, {-511, 256}, {1, -1337}}) {
        std::vector<BrushDab> moved = dabs;
        for (BrushDab& dab : moved) {
            dab.x += static_cast<float>(dx);
            dab.y += static_cast<float>(dy);
        }
        const TileGrid second = scene.painted(moved);
        float worst = 0;
        for (int i = 0; i < 20000; ++i) {
            const int x = maker.below(540) - 270;
            const int y = maker.below(540) - 270;
            worst = std::max(
                worst, std::fabs(first.color(x, y).alpha - second.color(x + dx, y + dy).alpha));
        }
        EXPECT_LE(worst, 0.0006f) << dx << " " << dy;
    }
}

TEST(StrokeRenderer, agreesOnEverySimdTarget) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    StrokeScene scene;
    scene.style.spacing = 0.07f;
    scene.style.color = PremultipliedColor::white();
    const std::vector<BrushDab> dabs = DabMaker(seed).dabs(60, 250);
    const TileGrid best = scene.painted(dabs);
    for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
        const Kernels::SimdTargetOverride scope(target);
        const TileGrid grid = scene.painted(dabs);
        int further = 0;
        for (int y = -256; y < 256; ++y) {
            for (int x = -256; x < 256; ++x) {
                const PremultipliedColor found = grid.color(x, y);
                const PremultipliedColor expected = best.color(x, y);
                // Faint paint is what is left of differences from 1, with their last places.
                if (halfDistance(found.halves(), expected.halves()) > 1 &&
                    std::fabs(found.alpha - expected.alpha) > 2e-6f)
                    further += 1;
            }
        }
        EXPECT_EQ(further, 0) << target.name;
    }
}

} // namespace ombrel
