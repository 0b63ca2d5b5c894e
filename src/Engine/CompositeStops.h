// What lies below the step that keeps changing. While somebody paints on a layer or drags its
// opacity, the steps below it give the same again and again: for tiles that are computed once more
// because of a change, the accumulators are kept as they stand before the changing step, and the
// next time the program goes on from there. A program that goes on computes exactly what the whole
// one does, wherever it was stopped.
//
// Part of a CompositeCache; on its actor. Memory is what the limit allows: a megabyte a tile, and
// one more for each group around the step.
#pragma once

#include "Core/TileStore.h"
#include "Engine/CompositeJob.h"
#include "Engine/ProgramDiff.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ombrel {

class CompositeStops {
public:
    explicit CompositeStops(TileStore& store) : store_(store) {}
    ~CompositeStops() { drop(); }
    CompositeStops(const CompositeStops&) = delete;
    CompositeStops& operator=(const CompositeStops&) = delete;

    /// Takes a program of the same shape as before and what changed in it.
    void update(const CompositeProgram& program, const ProgramChanges& changes);
    /// Gives everything back: nothing that was computed holds any more.
    void drop();
    std::int64_t bytes() const;

    /// A refresh begins. `changed` are tiles that are computed again, where keeping pays.
    void begin(std::span<const TileCoord> changed, std::int64_t limitBytes);
    /// The step from which a tile can go on; inputs of earlier ones are not needed.
    std::size_t firstStep(const CompositeProgram& program, TileCoord coord) const;
    /// Lets a job go on from where it can, and stop where that will be of use.
    void attach(const CompositeProgram& program, CompositeJob& job);
    /// What the attached jobs kept is there now, or is not.
    void commit();
    void abandon();
    /// Lets go of what the last refresh did not use.
    void dropUnused();

private:
    /// A place to stop, and how many levels are open there.
    struct Place {
        std::size_t step = 0;
        std::size_t levels = 1;
    };
    struct Stop {
        Place place;
        std::vector<TileBuffer> buffers;
        std::uint64_t lastUse = 0;
    };

    static Place placeFor(const CompositeProgram& program, std::size_t step);
    bool makeRoom(std::size_t buffers);
    void recycle(Stop& stop);
    static ProgramStop reference(const Stop& stop);

    TileStore& store_;
    Place hot_; ///< of the last change
    std::unordered_map<TileCoord, Stop> stops_;
    std::unordered_map<TileCoord, Stop> pending_;
    std::unordered_set<TileCoord> changed_;
    std::size_t bufferCount_ = 0;
    std::int64_t limitBytes_ = 0;
    std::uint64_t use_ = 0;
};

} // namespace ombrel
