// A layer to paint on, a way to read what came of it, and dabs made at random.
#pragma once

#include "Engine/CpuDevice.h"
#include "Engine/StrokeRenderer.h"
#include "support/TestStore.h"

#include <cstdint>
#include <random>
#include <vector>

namespace ombrel {

struct StrokeScene {
    std::shared_ptr<TileStore> store = makeTestStore();
    CpuDevice device;
    StrokeRenderer::Target target{.original = TileGrid(TileFormat::rgba16Float),
                                  .bounds = {-1000, -1000, 3000, 3000}};
    StrokeStyle style;

    /// The grid after a stroke that came in these batches.
    TileGrid paintedInBatches(const std::vector<std::vector<BrushDab>>& batches) {
        StrokeRenderer renderer(device, *store, target, style);
        TileGrid grid = target.original;
        for (const auto& batch : batches) {
            const auto tiles = renderer.render(batch);
            if (!tiles) continue;
            for (const auto& [coord, content] : *tiles)
                grid.set(coord, content);
        }
        return grid;
    }
    TileGrid painted(const std::vector<BrushDab>& dabs) { return paintedInBatches({dabs}); }
};

/// The byte of an r8 grid that has a tile there.
inline std::uint8_t byteAt(const TileGrid& grid, std::int64_t x, std::int64_t y) {
    const TileCoord coord{static_cast<std::int32_t>(x >> tileShift),
                          static_cast<std::int32_t>(y >> tileShift)};
    const TilePin pin(grid.cell(coord).tile());
    return static_cast<std::uint8_t>(pin.bytes()[(y & 255) * 256 + (x & 255)]);
}

class DabMaker {
public:
    explicit DabMaker(std::uint64_t seed) : random_(seed) {}

    float between(float low, float high) {
        return low + (high - low) * static_cast<float>(random_() >> 40) * 0x1p-24f;
    }
    int below(int n) { return static_cast<int>(random_() % static_cast<std::uint64_t>(n)); }

    BrushDab dab(float area) {
        return {.x = between(-area, area),
                .y = between(-area, area),
                .radius = between(0.3f, 60),
                .hardness = between(0, 1),
                .alpha = between(0.1f, 1),
                .aliased = below(4) == 0,
                .angle = between(-4, 4),
                .roundness = below(2) == 0 ? 1 : between(0.1f, 1),
                .speckle = below(6) == 0 ? between(0.5f, 6) : 0,
                .seed = static_cast<std::uint32_t>(random_())};
    }
    std::vector<BrushDab> dabs(int count, float area) {
        std::vector<BrushDab> result;
        while (static_cast<int>(result.size()) < count)
            result.push_back(dab(area));
        return result;
    }

private:
    std::mt19937_64 random_;
};

} // namespace ombrel
