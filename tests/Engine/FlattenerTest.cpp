#include "Engine/Flattener.h"

#include "Core/TileStore.h"
#include "Engine/CountingDevice.h"
#include "Engine/GridBands.h"
#include "Engine/RandomDocument.h"
#include "Engine/Sampling.h"
#include "Engine/StateBands.h"
#include "TestSeed.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr std::int64_t megabyte = std::int64_t{1} << 20;

std::shared_ptr<TileStore> storeOf(std::int64_t residentBytes) {
    return TileStore::create({residentBytes, 64 * megabyte, 4 * megabyte},
                             std::filesystem::temp_directory_path());
}

class FlattenerTest : public testing::Test {
protected:
    FlatImage flattened(const DocumentState& state) {
        auto image = Flattener::flatten(state, device, *store);
        EXPECT_TRUE(image.has_value());
        return std::move(*image);
    }
    std::vector<std::byte> bytesOf(CompositeBands& bands, std::int64_t rowsAtOnce) {
        const PixelSize size = bands.size();
        std::vector<std::byte> bytes(static_cast<std::size_t>(size.width * size.height * 8));
        for (std::int64_t row = 0; row < size.height; row += rowsAtOnce) {
            const std::int64_t rows = std::min(rowsAtOnce, size.height - row);
            const auto out =
                std::span(bytes).subspan(static_cast<std::size_t>(row * size.width * 8),
                                         static_cast<std::size_t>(rows * size.width * 8));
            EXPECT_TRUE(bands.read(row, rows, out));
        }
        return bytes;
    }
    std::vector<std::byte> bytesOf(const TileGrid& grid, PixelSize size) {
        GridBands bands(grid, size);
        return bytesOf(bands, 256);
    }
    static std::vector<std::byte> bytesOf(const FlatImage& image) {
        return {image.bytes().begin(), image.bytes().end()};
    }
    DocumentState stateOf(PixelSize size, std::vector<PixelLayer> layers) const {
        DocumentState state;
        state.canvas.size = size;
        for (PixelLayer& layer : layers)
            state.root.write().children.emplace_back(std::move(layer));
        return state;
    }
    PixelLayer filled(const PixelRect& rect, const PremultipliedColor& color) const {
        PixelLayer layer;
        layer.pixels.fill(rect, color, *store);
        return layer;
    }

    std::shared_ptr<TileStore> store = storeOf(512 * megabyte);
    CountingDevice device;
    std::uint64_t seed = testSeed();
};

} // namespace

TEST_F(FlattenerTest, aCanvasWithoutLayersIsZeroAndAsksNothingOfTheDevice) {
    const FlatImage image = flattened(stateOf({300, 260}, {}));
    EXPECT_EQ(image.byteCount(), 300 * 260 * 8);
    for (const std::byte byte : image.bytes())
        ASSERT_EQ(byte, std::byte{0});
    EXPECT_EQ(device.jobs(), 0u);
    EXPECT_EQ(flattened(stateOf({0, 0}, {})).byteCount(), 0);
}

TEST_F(FlattenerTest, equalsTheJudgeOnRandomDocuments) {
    for (std::uint64_t round = 0; round < 12; ++round) {
        SCOPED_TRACE(seed + round);
        RandomDocument random(seed + round, *store, {300, 270});
        const DocumentState state = random.make();
        const FlatImage image = flattened(state);
        const CompositeProgram program = state.compositeProgram();
        for (std::int64_t i = 0; i < 300 * 270; i += 37) {
            const std::int64_t x = i % 300;
            const std::int64_t y = i / 300;
            const PremultipliedColor expected =
                evaluateAt(program, !state.canvas.blendUsingGamma1, x, y);
            ASSERT_LE(halfDistance(image.pixel(x, y).halves(), expected.halves()), 1)
                << x << ", " << y << ": " << image.pixel(x, y).text() << " for " << expected.text();
        }
    }
}

TEST_F(FlattenerTest, allFormsGiveTheSamePicture) {
    for (std::uint64_t round = 0; round < 6; ++round) {
        SCOPED_TRACE(seed + round);
        RandomDocument random(seed + 100 + round, *store, {515, 600});
        const DocumentState state = random.make();
        const std::vector<std::byte> expected = bytesOf(flattened(state));
        const auto grid = Flattener::compositeGrid(state, device, *store);
        ASSERT_TRUE(grid.has_value());
        EXPECT_EQ(bytesOf(*grid, state.canvas.size), expected);
        StateBands bands(state, device, *store);
        for (const std::int64_t rows : {256, 100, 512, 600, 1})
            EXPECT_EQ(bytesOf(bands, rows), expected) << rows;
    }
}

TEST_F(FlattenerTest, anUpdatedCompositeEqualsAFreshOneAfterEveryEdit) {
    for (std::uint64_t round = 0; round < 4; ++round) {
        RandomDocument random(seed + 200 + round, *store, {515, 300});
        DocumentState state = random.make();
        auto composite = Flattener::composite(state, nullptr, device, *store);
        ASSERT_TRUE(composite.has_value());
        for (int step = 0; step < 25; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed + 200 + round << " step " << step);
            random.edit(state);
            auto updated = Flattener::composite(state, &*composite, device, *store);
            const auto fresh = Flattener::compositeGrid(state, device, *store);
            ASSERT_TRUE(updated && fresh);
            ASSERT_EQ(updated->tiles.tileBounds(), fresh->tileBounds());
            ASSERT_EQ(bytesOf(updated->tiles, state.canvas.size),
                      bytesOf(*fresh, state.canvas.size));
            composite = std::move(updated);
        }
    }
}

TEST_F(FlattenerTest, anUpdateComputesOnlyWhatAnEditTouched) {
    const PixelSize size{2560, 2560};
    const PixelRect all = PixelRect::ofSize(size);
    DocumentState state =
        stateOf(size, {filled(all, {0.5f, 0.25f, 0, 1}), filled(all, {0.1f, 0.1f, 0.1f, 0.5f})});
    const LayerID top = state.allNodes().back().id();
    auto composite = Flattener::composite(state, nullptr, device, *store);
    ASSERT_TRUE(composite.has_value());
    EXPECT_EQ(device.jobs(), 100u);

    RandomDocument random(seed, *store, size);
    device.batches.clear();
    state.update(
        top, [&](LayerNode& node) { node.writePixelLayer()->pixels.set({3, 4}, random.tile()); });
    composite = Flattener::composite(state, &*composite, device, *store);
    EXPECT_EQ(device.jobs(), 1u);

    device.batches.clear();
    composite = Flattener::composite(state, &*composite, device, *store);
    EXPECT_EQ(device.jobs(), 0u) << "nothing changed";

    device.batches.clear();
    state.canvas.size.width += 1;
    composite = Flattener::composite(state, &*composite, device, *store);
    EXPECT_EQ(device.jobs(), 100u) << "another size: everything afresh";

    device.batches.clear();
    state.canvas.blendUsingGamma1 = true;
    composite = Flattener::composite(state, &*composite, device, *store);
    EXPECT_EQ(device.jobs(), 100u) << "another blending space: everything afresh";
}

TEST_F(FlattenerTest, writesTilesThatTheCanvasCuts) {
    RandomDocument random(seed, *store, {300, 260});
    PixelLayer layer;
    layer.pixels.set({0, 0}, random.tile());
    layer.pixels.set({1, 0}, random.tile());
    layer.pixels.set({1, 1}, PremultipliedColor{0, 1, 0, 1});
    const DocumentState state = stateOf({300, 260}, {layer});
    const FlatImage image = flattened(state);
    EXPECT_EQ(device.jobs(), 0u) << "one plain layer needs no device";
    for (const auto& [x, y] : {std::pair{0, 0}, {255, 255}, {256, 0}, {299, 255}, {299, 259}})
        EXPECT_EQ(image.pixel(x, y), layer.pixels.color(x, y)) << x << ", " << y;
}

TEST_F(FlattenerTest, batchesHoldAtMost128Tiles) {
    for (const auto& [tiles, batches] :
         {std::pair{128, std::vector<std::size_t>{128}}, {129, {128, 1}}}) {
        device.batches.clear();
        const PixelSize size{256 * tiles, 256};
        const PixelRect all = PixelRect::ofSize(size);
        const DocumentState state =
            stateOf(size, {filled(all, {1, 0, 0, 1}), filled(all, {0, 0.25f, 0, 0.5f})});
        ASSERT_TRUE(Flattener::compositeGrid(state, device, *store));
        EXPECT_EQ(device.batches, batches);
    }
}

TEST_F(FlattenerTest, aHugeSparseCanvasCostsWhatItHolds) {
    const PixelSize size{300000, 300000};
    RandomDocument random(seed, *store, size);
    PixelLayer sparse;
    sparse.offset = {100, 0};
    sparse.pixels.set({1000, 1000}, random.tile());
    sparse.pixels.set({1171, 3}, random.tile()); // its right half lies beyond the canvas
    DocumentState state =
        stateOf(size, {filled(PixelRect::ofSize(size), PremultipliedColor::white()), sparse});
    const auto grid = Flattener::compositeGrid(state, device, *store);
    ASSERT_TRUE(grid.has_value());
    EXPECT_EQ(device.jobs(), 3u);
    EXPECT_EQ(grid->tileCount(), 1172 * 1172);
    EXPECT_EQ(grid->pixelTileCount(), 2 * 1172 - 1 + 2) << "the border of the fill, and two more";
}

TEST_F(FlattenerTest, worksInAStoreThatHoldsOnlyAFewTiles) {
    RandomDocument random(seed + 7, *store, {515, 600});
    const std::vector<std::byte> expected = bytesOf(flattened(random.make()));
    store = storeOf(2 * megabyte);
    RandomDocument again(seed + 7, *store, {515, 600});
    const DocumentState state = again.make();
    EXPECT_EQ(bytesOf(flattened(state)), expected);
    EXPECT_EQ(store->statistics().pinnedTiles, 0);
}

TEST_F(FlattenerTest, doesNotDependOnTheNumberOfThreads) {
    RandomDocument random(seed + 8, *store, {515, 600});
    const DocumentState state = random.make();
    const std::vector<std::byte> expected = bytesOf(flattened(state));
    for (const std::size_t threads : {1u, 2u, 7u}) {
        ThreadPool pool(TaskPriority::userInitiated, threads);
        CpuDevice limited(pool);
        const auto image = Flattener::flatten(state, limited, *store);
        ASSERT_TRUE(image.has_value());
        EXPECT_EQ(bytesOf(*image), expected) << threads;
    }
}

TEST_F(FlattenerTest, cancellingEndsItWithoutAPictureOrAPin) {
    const PixelSize size{256 * 129, 256};
    RandomDocument random(seed, *store, size);
    PixelLayer pixels;
    pixels.pixels.set({0, 0}, random.tile());
    const DocumentState state =
        stateOf(size, {filled(PixelRect::ofSize(size), {1, 0, 0, 1}),
                       filled(PixelRect::ofSize(size), {0, 0, 0.5f, 0.5f}), pixels});
    Progress progress;
    device.beforeBatch = [&] { progress.cancel(); };
    const auto image = Flattener::flatten(state, device, *store, nullptr, &progress);
    ASSERT_FALSE(image.has_value());
    EXPECT_EQ(image.error(), EngineError::cancelled());
    EXPECT_EQ(device.batches.size(), 1u);
    EXPECT_EQ(store->statistics().pinnedTiles, 0);
}

TEST_F(FlattenerTest, bakesEffectsFirst) {
    struct Greener : EffectBaking {
        std::optional<DocumentState> baked(const DocumentState& state) override {
            DocumentState result = state;
            result.update(state.allNodes().front().id(), [&](LayerNode& node) {
                node.writePixelLayer()->pixels.set({0, 0}, PremultipliedColor{0, 1, 0, 1});
            });
            return result;
        }
    } greener;
    const DocumentState state = stateOf({256, 256}, {filled({0, 0, 256, 256}, {1, 0, 0, 1})});
    const auto image = Flattener::flatten(state, device, *store, &greener);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->pixel(9, 9), (PremultipliedColor{0, 1, 0, 1}));
}

TEST_F(FlattenerTest, samplesTheMeanOfTheWindowOnTheCanvas) {
    RandomDocument random(seed + 9, *store, {300, 270});
    const DocumentState state = random.make();
    const FlatImage image = flattened(state);
    EXPECT_LE(halfDistance(sampleMerged(state, 30, 40, 0).halves(), image.pixel(30, 40).halves()),
              1);
    PremultipliedColor sum;
    for (std::int64_t y = 266; y < 270; ++y) {
        for (std::int64_t x = 0; x < 4; ++x)
            sum.alpha += image.pixel(x, y).alpha / 16;
    }
    EXPECT_NEAR(sampleMerged(state, 0, 269, 3).alpha, sum.alpha, 1e-3);
    EXPECT_EQ(sampleMerged(state, -10, 5, 3), PremultipliedColor::transparent());
}

} // namespace ombrel
