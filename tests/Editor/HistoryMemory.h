// What a history costs on a document that is all stored tiles: 200 brush-sized edits on a
// photograph, with what the store holds compared with what the history says it holds.
#pragma once

#include "Base/Half.h"
#include "Editor/SessionFixture.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ombrel {

class HistoryMemory {
public:
    static constexpr std::int64_t tileBytes = 524288;
    static constexpr int editCount = 200;
    static constexpr std::int32_t brushWidth = 3; ///< tiles; six are painted by an edit

    HistoryMemory(std::int32_t sideTiles, std::int64_t historyBudget) : side_(sideTiles) {
        fixture_.store = TileStore::create({.residentBytes = std::int64_t{1} << 40,
                                            .compressedBytes = std::int64_t{1} << 40,
                                            .poolBytes = 64 * tileBytes},
                                           TileStore::Services{});
        fixture_.settings.setJson("historyStates", 1000);
        auto services = fixture_.services();
        services.historyBudget = historyBudget;
        fixture_.open(services, photograph());
    }

    DocumentSession& session() { return *fixture_.session; }
    std::int64_t documentTiles() const { return std::int64_t{side_} * side_; }
    /// After all that was handed to the worker and to the store's maintenance.
    TileStore::Statistics settledStatistics() {
        fixture_.executors.settle();
        constexpr std::int64_t plenty = std::int64_t{1} << 40;
        fixture_.store->evict(plenty, plenty, false);
        return fixture_.store->statistics();
    }
    /// Paints six neighbouring tiles.
    void edit() {
        const TileCoord corner{place(), place()};
        const auto paint = [this, corner](DocumentState& state,
                                          const CommandContext&) -> CommandResult {
            state.update(*state.activeLayerID, [&](LayerNode& node) {
                for (std::int32_t i = 0; i < 2 * brushWidth; ++i)
                    node.writePixelLayer()->pixels.set(
                        {corner.x + i % brushWidth, corner.y + i / brushWidth}, noise());
            });
            return {};
        };
        session().perform(EditCommand{"Brush Tool", paint});
    }

private:
    std::int32_t place() { return static_cast<std::int32_t>(random_() % (side_ - brushWidth + 1)); }

    /// A soft gradient with the grain of a sensor, opaque; one of sixteen, and not twice the same.
    Tile noise() {
        if (pictures_.empty()) {
            for (int count = 0; count < 16; ++count)
                pictures_.push_back(picture(count));
        }
        TileBuffer buffer = fixture_.store->acquireBuffer(TileFormat::rgba16Float);
        std::memcpy(buffer.bytes(), pictures_[random_() % pictures_.size()].data(), buffer.size());
        const std::uint64_t mark = random_();
        std::memcpy(buffer.bytes(), &mark, sizeof(mark));
        return fixture_.store->makeTile(std::move(buffer));
    }
    std::vector<std::uint16_t> picture(int number) {
        std::normal_distribution<float> grain(0, 0.02f);
        std::vector<std::uint16_t> halves(4 * pixelsPerTile);
        for (std::size_t i = 0; i < pixelsPerTile; ++i) {
            const auto x = static_cast<float>(i % 256) / 256;
            const auto y = static_cast<float>(i / 256) / 256;
            const float light = 0.5f + 0.3f * std::sin(static_cast<float>(number) + 3 * x + 2 * y);
            for (std::size_t c = 0; c < 3; ++c)
                halves[4 * i + c] = toHalf(std::abs(light + grain(random_))).bits;
            halves[4 * i + 3] = toHalf(1.0f).bits;
        }
        return halves;
    }
    DocumentState photograph() {
        DocumentState state;
        const std::int64_t side = std::int64_t{side_} * tileSize;
        state.canvas.size = {side, side};
        PixelLayer layer = PixelLayer::named("Photograph");
        for (const TileCoord coord : PixelRect::ofSize(state.canvas.size).tileRange())
            layer.pixels.set(coord, noise());
        state.activeLayerID = layer.id;
        state.insert({std::move(layer)}, std::nullopt, 0);
        return state;
    }

    std::uint32_t side_;
    std::mt19937_64 random_{testSeed()};
    std::vector<std::vector<std::uint16_t>> pictures_;
    SessionFixture fixture_;
};

/// Every tile that left the document is compressed; the history holds what it says, and no more
/// than its budget.
inline void checkHistoryMemory(std::int32_t sideTiles) {
    constexpr std::int64_t tileBytes = HistoryMemory::tileBytes;
    HistoryMemory roomy(sideTiles, std::int64_t{4} << 30);
    for (int count = 0; count < HistoryMemory::editCount; ++count)
        roomy.edit();
    const TileStore::Statistics all = roomy.settledStatistics();
    const std::int64_t retained = roomy.session()._history->retainedTotal();
    EXPECT_EQ(roomy.session()._history->count(), HistoryMemory::editCount + 1);
    EXPECT_EQ(retained, std::int64_t{HistoryMemory::editCount} * 6 * tileBytes);
    EXPECT_EQ(all.tileCount * tileBytes, roomy.documentTiles() * tileBytes + retained);
    EXPECT_EQ(all.residentTiles, roomy.documentTiles());
    EXPECT_EQ(all.compressedTiles * tileBytes, retained);
    EXPECT_LT(all.compressedBytes, retained * 9 / 10);

    HistoryMemory tight(sideTiles, 100 * tileBytes);
    std::int64_t most = 0;
    for (int count = 0; count < HistoryMemory::editCount; ++count) {
        tight.edit();
        ASSERT_LE(tight.session()._history->retainedTotal(), 100 * tileBytes);
        if (count % 20 == 0) most = std::max(most, tight.settledStatistics().tileCount);
    }
    EXPECT_LE(most, tight.documentTiles() + 100);
    EXPECT_EQ(tight.settledStatistics().residentTiles, tight.documentTiles());
    EXPECT_EQ(tight.session()._history->count(), 1 + 100 / 6);
}

} // namespace ombrel
