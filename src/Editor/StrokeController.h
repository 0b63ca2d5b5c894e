// The session's side of one stroke: gives the dabs to a renderer, shows each batch of tiles as a
// live edit, and makes one history entry of it at the end. A stroke takes a turn in the session's
// queue: it begins when what was asked for before is done, and what is asked for later waits for
// its end, so that strokes that follow quickly all land and an undo takes back the last of them.
//
// Main thread, but for the rendering, which runs on the executor that is given. A stroke whose dabs
// have all come goes on by itself until they are rendered; it knows its session weakly.
#pragma once

#include "Base/Signal.h"
#include "Editor/EditRouting.h"
#include "Engine/BrushDab.h"
#include "Engine/StrokeStyle.h"
#include "Tools/SegmentQueue.h"
#include "Tools/StrokeHandle.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ombrel {

class StrokeController final : public StrokeHandle,
                               public std::enable_shared_from_this<StrokeController> {
    struct Private {};

public:
    struct Plan {
        LayerID layerID;
        EditTarget target = EditTarget::pixels;
        StrokeStyle style;
        std::string name; ///< in the history
        /// On which batches are rendered, one at a time.
        std::shared_ptr<Executor> renderOn;
        /// A batch is in place: where, on the canvas. May be empty.
        std::function<void(const PixelRect&)> onSegment;
        /// Something could not be painted, in words for the user. May be empty.
        std::function<void(const std::string&)> onFailure;
    };

    /// Null where the session has other work that a stroke does not wait for.
    static std::shared_ptr<StrokeController> begin(DocumentSession& session, Plan plan);
    StrokeController(Private, DocumentSession& session, Plan plan);
    ~StrokeController() override;
    /// What a tool holds: a stroke that it lets go without an end is cancelled.
    std::shared_ptr<StrokeHandle> handle();

    void extend(std::span<const BrushDab> dabs) override;
    void end() override;
    void setFinalizer(Finalizer finalizer) override;
    /// Takes back what was painted. Nothing once the stroke has ended.
    void cancel();
    /// Dabs may still come.
    bool isOpen() const { return !isEnded_ && !isDone_; }

private:
    using Queue = SegmentQueue<BrushDab, StrokeTiles>;
    using Coverage = std::optional<StrokeCoverage>;
    /// What a batch in flight works with, whatever becomes of us.
    struct Painting {
        std::shared_ptr<TileStore> store;
        StrokeRenderer renderer;
        bool hasFailed = false;
    };

    void start();
    void startQueue(DocumentSession& session, const RoutedGrid& grid);
    StrokeRenderer::Target targetOf(const DocumentState& state, const RoutedGrid& grid) const;
    StrokeStyle styleFor(PixelOffset offset) const;
    void deliver(const StrokeTiles& tiles);
    void finish();
    void finishWithCoverage();
    void close(); ///< the live edit is over, or about to be

    const std::weak_ptr<DocumentSession> session_;
    Plan plan_;
    PixelOffset offset_; ///< of the grid on the canvas
    PixelRect bounds_;   ///< of the painting, in the grid
    std::shared_ptr<Painting> painting_;
    std::optional<Queue> queue_;  ///< absent before its turn and after its end
    std::vector<BrushDab> early_; ///< that came before its turn
    Finalizer finalizer_;
    bool renderedAnything_ = false;
    bool isEnded_ = false;
    bool isDone_ = false;
    Connection liveEnds_;
    std::shared_ptr<StrokeController> self_; ///< from its turn until it is done
};

} // namespace ombrel
