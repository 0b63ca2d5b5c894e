// A fast look at a document from far away, for while the exact picture is not ready: layers are
// sampled at every 2^level-th pixel, and the samples are composited. Compositing works pixel by
// pixel, so what is shown is exact at those pixels (up to the noise of dissolve); only the pixels
// between them are left out. Samples are kept as tiles of the store: a drag of an opacity costs
// compositing the samples, a look from far away at a huge document a fraction of its pixels.
// All calls come from the render actor.
#pragma once

#include "Engine/CompositeCache.h"

#include <map>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

namespace ombrel {

class PreviewCache {
public:
    using Clock = CompositeCache::Clock;

    PreviewCache(PixelDevice& device, TileStore& store, const Executor* actor)
        : device_(device), store_(store), cache_(device, store, actor) {}

    /// Takes a compiled program; samples that did not change are kept while the level stays.
    void update(const CompositeProgram& program, PixelSize canvas, bool perceptual, int level);
    /// Samples and composites tiles of the level, the first ones first, until the deadline; some
    /// layers of one or one tile each time. True when all are done.
    std::expected<bool, EngineError> refresh(std::span<const TileCoord> coords,
                                             Clock::time_point deadline, std::int64_t ownedBytes);
    void drop();
    /// Tiles of the samples' picture halved so many times, once all samples below them are taken.
    std::expected<bool, EngineError> refreshHalved(int times, std::span<const TileCoord> coords,
                                                   Clock::time_point deadline);

    int level() const { return level_; }
    /// What compositing a tile of the present level took lately; 0 before the first.
    double secondsOfTile() const { return cache_.lastSecondsOfTile(); }
    bool hasWorked() const { return hasWorked_; } ///< the last refresh, at all
    /// The content of a tile of the level; null where there is none that is up to date.
    const CompositeCache::Content* content(TileCoord coord) const;
    /// The same of the halved picture; null too where its last refresh did not get.
    const CompositeCache::Content* halved(int times, TileCoord coord) const;
    /// Of the samples as a picture of its own.
    const PyramidGeometry& geometry() const { return cache_.geometry(); }
    std::int64_t ownedBytes() const { return cache_.ownedBytes(); }

private:
    /// The samples of one grid of a program.
    struct Samples {
        explicit Samples(const TileGrid& grid) : source(grid), pixels(grid.format()) {}

        TileGrid source;
        PixelOffset offset;
        float background = 0;
        TileGrid pixels;
        std::unordered_set<TileCoord> taken; ///< tiles of the level for which `pixels` is right
        bool isUsed = true;
    };
    struct PendingSample {
        Samples* samples = nullptr;
        SampleJob job;
    };
    /// A layer's pixels (0) or mask (1) by its identity, or an end's mask (2) by its place.
    struct Key {
        LayerID layer;
        std::size_t place = 0;
        int part = 0;

        auto operator<=>(const Key&) const = default;
    };

    void use(const Key& key, const TileGrid& grid, PixelOffset offset, float background);
    /// The program with samples in place of pixels, masks and offsets.
    CompositeProgram reduced() const;
    void reduceMask(LayerMask& mask, const Key& key) const;
    bool isTaken(TileCoord coord) const;
    /// Whether there is time, or nothing was done yet in this refresh.
    bool mayGoOn(Clock::time_point deadline) const;
    /// The samples of a tile, a few layers after the other; false where time was up before.
    bool take(TileCoord coord, Clock::time_point deadline);
    bool takeSome(std::span<PendingSample> pending, std::span<const Tile> tiles, TileCoord coord,
                  Clock::time_point deadline);
    /// False where tiles are left out because time is up.
    bool pageIn(std::span<const Tile> tiles, Clock::time_point deadline);
    bool run(std::span<PendingSample> pending, std::span<const Tile> tiles, TileCoord coord);
    /// `reserved` of a cell holds the number of its tile among `tiles`, counted from 1.
    std::optional<SampleJob> jobOf(const Samples& samples, TileCoord coord,
                                   std::vector<Tile>& tiles) const;
    TileRange cellsBelow(const Samples& samples, TileCoord coord) const;

    PixelDevice& device_;
    TileStore& store_;
    CompositeCache cache_;
    int level_ = 0;
    PixelSize canvas_; ///< of the samples
    bool perceptual_ = true;
    bool hasWorked_ = false;
    CompositeProgram program_;
    std::map<Key, Samples> samples_;
};

} // namespace ombrel
