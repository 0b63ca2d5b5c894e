// Composites any number of tiles of one program in batches: what every form of flattening does
// with the tiles that need work. Memory in use is one batch: at most 128 output buffers, and inputs
// of at most a quarter of the store's resident budget (one tile's, where that is more).
#pragma once

#include "Base/Progress.h"
#include "Core/CompositeProgram.h"
#include "Core/TileStore.h"
#include "Engine/CompositeJobs.h"
#include "Engine/CompositeStops.h"
#include "Engine/PixelDevice.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <span>
#include <vector>

namespace ombrel {

class CompositeRun {
public:
    static constexpr std::size_t tilesOfBatch = 128;

    /// Takes the outputs of a batch, `buffers[i]` for `coords[i]`. It may keep buffers by moving
    /// from them; the others go back to the store.
    using Consume =
        std::function<void(std::span<const TileCoord> coords, std::span<TileBuffer> buffers)>;

    /// With `stops` (may be null) tiles go on from where they were stopped before.
    CompositeRun(const CompositeProgram& program, bool perceptual, PixelDevice& device,
                 TileStore& store, CompositeStops* stops = nullptr)
        : program_(program), perceptual_(perceptual), device_(device), store_(store),
          stops_(stops) {}

    /// Synchronous; `consume` is called on this thread after each batch. `cancellation` (may be
    /// null) is asked between tiles whether to go on; `report` (may be null) gets the share of
    /// `coords` that is done.
    std::expected<void, EngineError> run(std::span<const TileCoord> coords,
                                         const Progress* cancellation, Progress* report,
                                         const Consume& consume) const;

private:
    std::size_t firstStep(TileCoord coord) const;
    std::size_t nextBatch(const CompositeJobBuilder& builder, std::span<const TileCoord> coords,
                          std::vector<Tile>& tiles) const;
    /// Takes what was kept of a batch, or not.
    void settle(bool isDone) const;

    const CompositeProgram& program_;
    bool perceptual_;
    PixelDevice& device_;
    TileStore& store_;
    CompositeStops* stops_;
};

} // namespace ombrel
