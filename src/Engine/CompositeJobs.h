// From a program to records and jobs: which tiles each step reads for an output tile, pinned.
#pragma once

#include "Core/CompositeProgram.h"
#include "Engine/CompositeJob.h"
#include "Engine/ResourceTracker.h"
#include "Engine/TileQuad.h"

#include <cstddef>
#include <span>
#include <vector>

namespace ombrel {

/// The records of a program's steps.
std::vector<GPUCompositeLayer> compositeRecords(const CompositeProgram& program);

/// Builds the jobs of one program, which must outlive it. Const use from any thread.
class CompositeJobBuilder {
public:
    explicit CompositeJobBuilder(const CompositeProgram& program);

    /// The stored tiles that the composite of `coord` reads from a step on.
    void appendTiles(TileCoord coord, std::size_t firstStep, std::vector<Tile>& tiles) const;
    /// One input for each step, empty ones before the first; the tiles it reads are pinned by the
    /// tracker.
    CompositeJob job(TileCoord coord, std::size_t firstStep, std::byte* output,
                     ResourceTracker& tracker) const;

private:
    struct Step {
        const TileGrid* pixels = nullptr; ///< of a layer, or the mask of an end
        TileShift shift;
        const TileGrid* mask = nullptr; ///< of a layer
        TileShift maskShift;
    };

    std::vector<Step> steps_;
};

} // namespace ombrel
