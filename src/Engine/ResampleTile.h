// One tile of a picture that changes size: the source tiles it is made of are read in bands of a
// few rows, filtered along the rows, and added to the tile's rows, so memory does not grow with
// what a tile is made of. Tiles of one colour are filtered as one row. Any thread; a scratch
// belongs to one thread at a time.
#pragma once

#include "Base/Progress.h"
#include "Core/TileBuffer.h"
#include "Core/TileGrid.h"
#include "Core/TilePixels.h"
#include "Engine/ResampleAxis.h"

#include <memory>
#include <optional>
#include <vector>

namespace ombrel {

/// The taps of a tile along both axes and the targets within the tile that they cover.
struct TileTaps {
    const std::vector<TapStretch>* columns = nullptr;
    const std::vector<TapStretch>* rows = nullptr;
    TilePixels::LocalRect targets;
};

/// Working memory.
class ResampleScratch {
public:
    static constexpr std::int64_t rowsAtOnce = 16;
    static constexpr std::int64_t columnsAtOnce = 2048;
    static constexpr StretchCut columnCut{tileSize, columnsAtOnce};
    static constexpr StretchCut rowCut{rowsAtOnce, rowsAtOnce};
    static constexpr std::size_t targetStride = 4 * tileSize; ///< floats of a row of targets

    ResampleScratch();

    float* source() { return floats_.get(); }             ///< rows of a stretch
    float* filtered() { return source() + sourceFloats; } ///< rowsAtOnce rows of targets
    float* planar() { return filtered() + rowsAtOnce * targetStride; } ///< the same for r8
    float* flatPart() { return planar() + rowsAtOnce * targetStride; } ///< one row of targets
    float* totals(std::size_t pass) { return flatPart() + (1 + 256 * pass) * targetStride; }

private:
    static constexpr std::size_t sourceFloats = rowsAtOnce * 4 * (columnsAtOnce + 16);

    struct Free {
        void operator()(float* floats) const;
    };
    std::unique_ptr<float[], Free> floats_;
};

class TileResampler {
public:
    /// The grid must outlive it. `background` is what an absent cell of an r8 grid reads as, 0
    /// to 1.
    TileResampler(const TileGrid& grid, ResampleFilter filter, float background)
        : grid_(grid), filter_(filter), background_(background) {}

    /// Fills a whole tile; false when cancelled.
    bool render(const TileTaps& taps, ResampleScratch& scratch, std::byte* tile,
                const Progress* progress) const;

private:
    class Pass;

    bool renderColors(const TileTaps& taps, ResampleScratch& scratch, std::byte* tile,
                      const Progress* progress) const;
    bool renderCoverage(const TileTaps& taps, ResampleScratch& scratch, std::byte* tile,
                        const Progress* progress) const;

    const TileGrid& grid_;
    ResampleFilter filter_;
    float background_;
};

} // namespace ombrel
