// One refresh of a CompositeCache: walks from the wanted tiles down to what they are made of and
// works in batches from the bottom up, until all is done or the budget is spent. What is finished
// by then stays.
#pragma once

#include "Engine/CompositeCache.h"
#include "Engine/ResourceTracker.h"

#include <optional>
#include <span>
#include <vector>

namespace ombrel {

class CompositeCache::Refresh {
public:
    Refresh(CompositeCache& cache, int level, const Budget& budget)
        : cache_(cache), level_(level), budget_(budget) {}

    std::optional<EngineError> run(std::span<const TileCoord> coords);

private:
    struct Parent {
        int level;
        TileCoord coord;
    };

    void visit(int level, TileCoord coord);
    /// Whether the tile needed no work and is valid now.
    bool settle(int level, TileCoord coord);
    bool isBatchFull() const;
    bool isLate() const;
    void flush();
    void composite();
    void downsample();
    void downsample(std::span<const Parent> parents);
    /// The content without work, where the children allow it.
    std::optional<Content> contentOfEqualChildren(const Parent& parent) const;
    DownsampleJob jobOf(const Parent& parent, std::byte* output, ResourceTracker& tracker) const;
    const Content& childContent(int level, TileCoord coord) const;
    void trim();
    bool isNeeded(int level, TileCoord coord, const Entry& entry) const;

    CompositeCache& cache_;
    const int level_; ///< the wanted one
    const Budget& budget_;
    std::vector<TileCoord> composites_; ///< pending, of level 0
    std::size_t compositeSteps_ = 0;    ///< what they come to
    std::vector<Parent> parents_;       ///< pending; their children are valid or pending
    bool isSpent_ = false;
    std::uint64_t visits_ = 0;
    std::optional<EngineError> error_;
};

} // namespace ombrel
