// The tiles of one node for a frame, from what its cache holds: a valid tile where there is one,
// else the best stand-in: valid tiles of finer levels, a part of a valid coarser one or of the
// preview, and last the picture as it was before. No two of them overlap. Part of the renderer; on
// its actor.
#pragma once

#include "Engine/CompositeCache.h"
#include "Engine/Frame.h"
#include "Engine/PreviewCache.h"

#include <span>
#include <unordered_set>
#include <vector>

namespace ombrel {

class FrameTiles {
public:
    /// `deadline` (may be absent) is for layers' own tiles that are not in memory: past it they are
    /// not waited for, except for a few, so that frame after frame gets further.
    /// `preview` may be null.
    FrameTiles(const CompositeCache& cache, const PreviewCache* preview,
               std::optional<CompositeCache::Clock::time_point> deadline)
        : cache_(cache), preview_(preview), deadline_(deadline) {}

    /// Those of a level that are listed. `isComplete` tells whether all of them are current.
    void add(int level, std::span<const TileCoord> coords, FrameNode& node);

private:
    struct Place {
        int level;
        TileCoord coord;
    };

    void cover(const Place& place, int depth);
    bool hasFiner(const Place& place, int depth) const;
    /// Something for a place that has no current tile.
    void coverByStandIn(const Place& place);
    /// By a tile of this level or above it, up to `lastLevel`.
    bool coverByCoarser(const Place& place, int lastLevel, bool wantsValid);
    bool coverByPreview(const Place& place);
    void coverByOldFiner(const Place& place, int depth);
    /// Brings layers' own tiles into memory, several at once, while there is time.
    void pageIn(int level, std::span<const TileCoord> coords);
    /// The part of the entry at `from` that lies over `place`; false where it cannot be shown now.
    bool put(const Place& place, const Place& from, bool isCurrent);
    bool put(const Place& place, const Place& from, const CompositeCache::Content& content,
             bool isCurrent);
    std::optional<FramePixels> pixelsOf(const Tile& tile) const;
    bool isLate() const;

    const CompositeCache& cache_;
    const PreviewCache* preview_;
    std::optional<CompositeCache::Clock::time_point> deadline_;
    FrameNode* node_ = nullptr;
    std::unordered_set<TileID> pagedIn_;
};

} // namespace ombrel
