// What a tool sees of the canvas and the document, and all it can do to them. Tools change nothing
// but through it: by commands, by strokes and by live edits. The canvas implements it. Main thread
// only; a tool that works in the background comes back to the main thread before it calls.
#pragma once

#include "Commands/Command.h"
#include "Core/DocumentState.h"
#include "Core/RealGeometry.h"
#include "Core/ViewTransform.h"
#include "Tools/StrokeHandle.h"
#include "Tools/ToolKind.h"
#include "Tools/TransformValues.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace ombrel {

/// What a point is tested for.
enum class HitKind : std::uint8_t {
    layer, ///< the topmost layer that shows something there
    group, ///< the same, but the outermost group that it lies in
};

struct HitRecord {
    LayerID layer;   ///< that was asked for: the layer or its group
    LayerID content; ///< the pixel layer that shows something
    RealPoint point; ///< where, in document coordinates

    bool operator==(const HitRecord&) const = default;
};

/// What has become dirty.
enum class CanvasPart : std::uint8_t { picture, overlay };

class ToolContext {
public:
    using Edit = std::function<void(DocumentState&)>;

    ToolContext() = default;
    virtual ~ToolContext() = default;
    ToolContext(const ToolContext&) = delete;
    ToolContext& operator=(const ToolContext&) = delete;

    // Where things are.

    virtual ViewTransform viewTransform() const = 0;
    virtual void setViewTransform(const ViewTransform& transform) = 0;
    /// Reads, changes and sets it.
    virtual void updateViewTransform(const std::function<void(ViewTransform&)>& change) = 0;
    /// The document as a tool must read it: while a mask receives edits, as the mask shows.
    virtual const DocumentState& routedState() const = 0;
    virtual double contentsScale() const = 0; ///< backing pixels a view point
    virtual PremultipliedColor foregroundColor() const = 0;
    virtual PremultipliedColor backgroundColor() const = 0;
    /// A rectangle of the document where the edit target has it.
    virtual RealRect targetRect(const RealRect& rect) const = 0;
    virtual void invalidate(CanvasPart part, const RealRect& rect) = 0;
    /// Nothing where there is only the ground. Fully locked and hidden layers are looked through.
    virtual std::optional<HitRecord> hitTest(HitKind kind, RealPoint point) const = 0;

    // Edits.

    /// While a mask receives edits, on the mask.
    virtual void perform(const Command& command) = 0;
    /// At once, even where the command would rather be queued.
    virtual void performInstantly(const Command& command) = 0;
    virtual std::set<LayerID> selectedLayerIDs() const = 0;
    /// Performs, then calls `then`: at once, or when the operations that are queued are done.
    virtual void performAfterQueue(const Command& command,
                                   std::move_only_function<void()> then) = 0;
    virtual PixelRect canvasBounds() const = 0;
    /// Asks whether a crop may make every layer pixels.
    virtual bool confirmPerspectiveCrop() = 0;
    /// The pixel layer that the active tool may write, or whose mask it may; nothing after telling
    /// why not. `locks` are those that forbid it.
    virtual std::optional<LayerID> pixelTarget(LayerLocks locks) = 0;
    /// Nothing where the edit is refused, which has been told.
    virtual std::shared_ptr<StrokeHandle> beginStroke(const StrokeStyle& style,
                                                      std::string name) = 0;
    /// The same as pixelTarget, but offers to make a shape or type layer pixels.
    virtual bool preparePixelEdit(LayerLocks locks) = 0;
    /// Whether nothing is queued; false after telling so.
    virtual bool requireIdle() = 0;
    /// Changes the routed state without an undo step. Begins a live edit where none is open; does
    /// nothing where none can be.
    virtual void editLive(const Edit& edit) = 0;
    /// Shows a state in place of the document's, until nothing or another one is shown.
    virtual void previewState(std::optional<DocumentState> state) = 0;
    /// Edits a last time, then commits as commitLive does.
    virtual void commitEdit(std::string name, const Edit& edit) = 0;
    /// Makes one history entry of the live edit that editLive began.
    virtual void commitLive(std::string name) = 0;
    /// Back to the state before it.
    virtual void cancelLive() = 0;

    // The free transform.

    virtual void beginTransform() = 0;
    virtual void endTransform(bool apply) = 0;
    virtual bool isTransforming() const = 0;
    virtual std::optional<TransformValues> transformValues() const = 0;
    virtual void updateTransform(const TransformValues& values) = 0;

    // The rest of the canvas.

    virtual bool isBusy() const = 0;
    virtual ApplyTransformChoice confirmTransform() = 0;
    virtual std::optional<LayerID> editTargetLayer() const = 0;
    virtual void setNeedsOverlayDisplay() = 0;
    virtual void showStatus(const std::string& text) = 0;
    /// Beeps, then shows the words.
    virtual void refuse(const std::string& text) = 0;
    virtual void selectTool(ToolKind kind) = 0;
};

} // namespace ombrel
