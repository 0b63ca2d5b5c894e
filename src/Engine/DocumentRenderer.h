// What a view shows: keeps a cache for the document and one for each node of the board around it,
// picks the level that the magnification needs, brings visible tiles up to date and describes the
// result as a Frame. Knows no window and no toolkit.
//
// It never waits for the picture to be complete: within the time of a frame the tiles nearest to
// the middle are done first, and the rest shows the best there is, a preview if need be, until
// later frames have caught up. All calls come from the render actor; frames may go anywhere.
#pragma once

#include "Base/Executor.h"
#include "Engine/CompositeCache.h"
#include "Engine/EffectBaking.h"
#include "Engine/Frame.h"

#include <chrono>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace ombrel {

class DocumentRenderer {
public:
    struct Options {
        /// For bringing tiles up to date; absent: as long as it takes.
        std::optional<std::chrono::nanoseconds> frameTime = std::chrono::milliseconds(8);
        /// The same as a number of tiles to composite, where results must not depend on time.
        std::size_t tilesOfFrame = std::numeric_limits<std::size_t>::max();
        std::int64_t cacheBytes = defaultCacheBytes(); ///< for one node, and for all hidden ones
        /// Draws layer effects, one for each node; may be empty.
        std::function<std::unique_ptr<EffectBaking>()> makeEffects;
    };

    /// An eighth of the physical memory, at most 3 GiB.
    static std::int64_t defaultCacheBytes();

    /// With an `actor` every call is checked to be made on it.
    DocumentRenderer(PixelDevice& device, TileStore& store, Options options,
                     const Executor* actor = nullptr);
    ~DocumentRenderer();
    DocumentRenderer(const DocumentRenderer&) = delete;
    DocumentRenderer& operator=(const DocumentRenderer&) = delete;

    /// The next frame, or nothing while more than two are in flight.
    std::expected<std::optional<Frame>, EngineError> draw(const Viewport& viewport,
                                                          const DocumentState& state);

    int frame() const { return frame_; } ///< drawn so far
    int framesInFlight() const;
    const FrameStatistics& lastFrame() const { return lastFrame_; }
    const std::set<BoardNodeID>& overBudget() const { return overBudget_; }
    std::size_t slotCount() const { return slots_.size(); }
    /// Called, on any thread, whenever a frame stops being in flight.
    void onFrameReleased(std::function<void()> released);

private:
    struct Slot;
    struct Flights;
    struct Work;
    using SlotKey = std::optional<BoardNodeID>; ///< absent: the document itself

    Slot& slot(const SlotKey& key);
    std::expected<void, EngineError> drawMain(const DocumentState& state, Work& work);
    std::expected<void, EngineError> drawNode(const BoardSceneNode& node, Work& work);
    std::expected<void, EngineError> addNode(Slot& slot, const DocumentState& state, FrameNode node,
                                             bool refreshes, Work& work);
    /// Where the exact picture is out of reach of this frame: a preview of what is not there.
    std::expected<void, EngineError> preview(Slot& slot, int level,
                                             std::span<const TileCoord> coords, Work& work);
    /// Makes tiles exact as far as the frame's time goes.
    std::expected<void, EngineError> refresh(Slot& slot, int level,
                                             std::span<const TileCoord> coords, Work& work);
    std::int64_t ownedBytes() const;
    /// Lets go of the coldest caches that this frame did not use, above the budget.
    void prune();

    PixelDevice& device_;
    TileStore& store_;
    Options options_;
    const Executor* actor_;
    std::map<SlotKey, std::unique_ptr<Slot>> slots_;
    std::set<BoardNodeID> overBudget_; ///< nodes shown as far as their caches go
    int frame_ = 0;
    FrameStatistics lastFrame_;
    std::shared_ptr<Flights> flights_;
};

} // namespace ombrel
