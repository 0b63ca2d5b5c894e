// The picture of a document as the screen needs it: a pyramid of tiles, level 0 the full composite,
// each further level half the size. Tiles that need no work are none: an entry is one colour, a
// layer's own tile, nothing, or a buffer that belongs to the cache. Only what is asked for is
// computed, and only where it changed.
//
// Memory is what is there: what was never asked for has no entry, an area without pixels one entry
// at the level looked at. An entry is valid while it is as young as the last time everything
// changed and no change touched it since; what has become invalid keeps its old content, which a
// view shows until there is something better. All calls come from the render actor.
#pragma once

#include "Base/Executor.h"
#include "Core/DocumentState.h"
#include "Engine/CompositeBuffer.h"
#include "Engine/CompositeStops.h"
#include "Engine/PixelDevice.h"
#include "Engine/ProgramDiff.h"
#include "Engine/PyramidGeometry.h"
#include "Engine/TileClassification.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <limits>
#include <optional>
#include <span>
#include <unordered_map>
#include <variant>
#include <vector>

namespace ombrel {

class CompositeCache {
public:
    using Clock = std::chrono::steady_clock;
    using Owned = std::shared_ptr<const CompositeBuffer>;
    /// One colour; exactly this tile of a layer; pixels of the cache's own; nothing.
    using Content = std::variant<PremultipliedColor, Tile, Owned, EmptyTile>;

    struct Entry {
        Content content = EmptyTile{};
        std::uint64_t validIn = 0; ///< the generation it belongs to, 0 once a change touched it
        std::uint64_t lastUse = 0; ///< the refresh that last asked for it
    };

    /// What one refresh may cost. It always does some work, so that repeating it comes to an end.
    struct Budget {
        std::optional<Clock::time_point> deadline =
            std::nullopt; ///< aimed at, missed by a part of a batch
        std::size_t tiles = std::numeric_limits<std::size_t>::max(); ///< to composite
        /// Above this, buffers that the present view does not show are given back.
        std::int64_t ownedBytes = std::numeric_limits<std::int64_t>::max();
    };

    /// With an `actor` every call is checked to be made on it.
    CompositeCache(PixelDevice& device, TileStore& store, const Executor* actor = nullptr);

    /// Takes a new state and finds what changed. Costs by the change, or by the entries there are,
    /// whichever is less.
    void update(const DocumentState& state, bool perceptual);
    /// The same for a program that was compiled already.
    void update(CompositeProgram program, PixelSize canvas, bool perceptual);

    /// Makes tiles of a level valid, the first ones first. Coordinates outside are ignored. True
    /// when all of them are valid, false when the budget was spent before.
    std::expected<bool, EngineError> refresh(int level, std::span<const TileCoord> coords,
                                             const Budget& budget);

    /// Whether every listed tile inside the level is valid; a level beyond the last is ready only
    /// for an empty list.
    bool isReady(int level, std::span<const TileCoord> coords) const;
    /// Gives everything back.
    void drop();

    const Entry* entry(int level, TileCoord coord) const; ///< null where there is none
    bool isValid(const Entry& entry) const { return entry.validIn == generation_; }
    bool isValid(int level, TileCoord coord) const;

    const PyramidGeometry& geometry() const { return geometry_; }
    PixelSize canvasSize() const { return geometry_.canvas(); }
    int maxLevel() const { return geometry_.maxLevel(); }
    const CompositeProgram& program() const { return program_; }
    bool perceptualBlend() const { return perceptualBlend_; }
    TileStore& store() const { return store_; }

    std::size_t lastCompositedTiles() const { return lastCompositedTiles_; }
    std::size_t lastDownsampledTiles() const { return lastDownsampledTiles_; }
    std::size_t ownedCount() const { return ownedCount_; }
    /// Of its buffers, and of what it keeps for going on with changing tiles.
    std::int64_t ownedBytes() const {
        return static_cast<std::int64_t>(ownedCount_ * bytesPerTile(TileFormat::rgba16Float)) +
               stops_.bytes();
    }
    std::size_t entryCount() const;
    /// What compositing a tile of which every layer has something may take.
    double secondsOfTile() const {
        return layerSeconds_ * static_cast<double>(program_.size() + stepsOfTile);
    }
    /// What a tile took lately, with all that could be left out; 0 before the first.
    double lastSecondsOfTile() const { return tileSeconds_; }
    /// Whether the tiles can be made valid in that time, as far as one can tell beforehand. Costs
    /// by the tiles that fit.
    bool fits(int level, std::span<const TileCoord> coords, double seconds) const;

private:
    class Refresh;

    static constexpr std::size_t stepsOfTile = 2; ///< that reading and writing a tile amounts to

    using Level = std::unordered_map<TileCoord, Entry>;

    Level& level(int index) { return levels_[static_cast<std::size_t>(index)]; }
    const Level& level(int index) const { return levels_[static_cast<std::size_t>(index)]; }
    Entry* find(int level, TileCoord coord);
    /// A valid entry; an owned buffer that it replaces is let go.
    void put(int level, TileCoord coord, Content content);
    void checkActor() const;
    /// Layers to be composited in a tile of level 0, and what comes with each tile.
    std::size_t stepsOf(TileCoord coord) const;
    /// Takes what making a tile valid costs away from the steps there are; false where they end.
    bool spend(int level, TileCoord coord, double& steps) const;

    void markEverything();
    void mark(const ProgramChanges& changes);
    bool markDifference(const ProgramChanges::Difference& difference, std::size_t limit);
    void markCovered(std::span<const ProgramChanges::Cover> covers);

    PixelDevice& device_;
    TileStore& store_;
    const Executor* actor_;
    std::vector<Level> levels_;
    PyramidGeometry geometry_;
    CompositeProgram program_; ///< of the last update
    std::optional<TileClassifier> classifier_;
    CompositeStops stops_;
    bool perceptualBlend_ = true;
    std::uint64_t generation_ = 1; ///< raised when everything changes
    std::uint64_t refreshCount_ = 0;
    std::size_t ownedCount_ = 0;
    std::size_t lastCompositedTiles_ = 0;
    std::size_t lastDownsampledTiles_ = 0;
    /// What a layer of a tile, and a tile, took lately: tells how many fit before a deadline.
    double layerSeconds_ = 1e-4;
    double tileSeconds_ = 0;
    double downsampleSeconds_ = 1e-4;
};

} // namespace ombrel
