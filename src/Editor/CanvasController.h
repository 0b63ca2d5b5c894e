// The headless half of a canvas: what the view does with events, without a view. It turns events of
// pointers and keys into calls of tools, keeps who took a press until its release, lends temporary
// tools, and is what tools see of the document (ToolContext). What is to be drawn it tells as data:
// the state, the overlay, the cursor. Main thread only.
//
// A canvas keeps its session alive; the session knows it weakly, and has one at a time. Nothing of
// it calls the host after close().
#pragma once

#include "Editor/CanvasHost.h"
#include "Editor/CanvasNavigation.h"
#include "Editor/CanvasPointer.h"
#include "Editor/DocumentSession.h"
#include "Editor/EditRouting.h"
#include "Editor/StrokeController.h"
#include "Editor/TemporaryTool.h"
#include "Editor/ToolSettingsStore.h"
#include "Tools/MoveTool.h"
#include "Tools/Tool.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace ombrel {

class CanvasController final : public ToolContext,
                               public std::enable_shared_from_this<CanvasController> {
    struct Private {};

public:
    static std::shared_ptr<CanvasController> create(std::shared_ptr<DocumentSession> session,
                                                    CanvasHost& host, Settings& settings);
    /// Tools keep the settings that they have, and the user's stay as they are.
    static std::shared_ptr<CanvasController> create(std::shared_ptr<DocumentSession> session,
                                                    CanvasHost& host);
    CanvasController(Private, std::shared_ptr<DocumentSession> session, CanvasHost& host,
                     Settings* settings);
    ~CanvasController() override;
    /// Drops the gesture in progress and forgets the host. For a view that goes.
    void close();

    DocumentSession& session() const { return *session_; }
    CanvasNavigation& navigation() { return navigation_; }
    const CanvasNavigation& navigation() const { return navigation_; }

    // What is to be seen.

    const DocumentState& displayState() const; ///< the preview, or the session's
    ToolCursor cursor() const;
    std::vector<OverlayShape> overlayShapes() const;
    /// At a view point.
    std::vector<ToolMenuItem> contextMenu(RealPoint at);
    /// Who would take a press now, or took the one that is held; null where there is no such tool.
    Tool* activeTool() const;

    // Events.

    void setViewport(ViewTransform::Size size, double contentsScale);
    /// The primary button goes to the tool, the middle one pans.
    void pointerDown(const PointerEvent& event);
    void pointerDragged(const PointerEvent& event);
    void pointerUp(const PointerEvent& event);
    void pointerMoved(const PointerEvent& event); ///< no button is held
    void pointerLeft();
    void penProximity(bool isNear, PointerDevice device);
    bool isGestureActive() const { return press_ || pan_; }
    /// Drops the gesture, as when the window system takes the pointer away.
    void cancelGesture();

    /// Whether the key was used. Letters that the tool leaves switch tools while they are held.
    bool keyDown(const ToolKey& key, ToolModifiers modifiers);
    void keyUp(const ToolKey& key, ToolModifiers modifiers);
    /// False where the space bar types; then it comes as a character.
    bool holdSpace(ToolModifiers modifiers);
    void releaseSpace(ToolModifiers modifiers);
    void modifiersChanged(ToolModifiers modifiers);
    /// The keyboard went elsewhere: no key is held as far as the canvas knows.
    void keyboardLeft();

    /// Turns of a wheel's notches, positive away from the user: magnifies at the pointer, in small
    /// steps with Option; with Command it scrolls, with Shift to the side.
    void wheelTurned(RealPoint notches, RealPoint at, ToolModifiers modifiers);
    void scrolled(RealPoint by); ///< by a touchpad, in view points
    void pinched(double factor, RealPoint at);
    void rotated(double radians, RealPoint at);

    /// Gets what tools invalidate, instead of the view.
    using Interceptor = std::function<void(CanvasPart, const RealRect&)>;
    void setInvalidationInterceptor(Interceptor interceptor);

    // What tools call.

    ViewTransform viewTransform() const override;
    void setViewTransform(const ViewTransform& transform) override;
    void updateViewTransform(const std::function<void(ViewTransform&)>& change) override;
    const DocumentState& routedState() const override;
    double contentsScale() const override;
    PremultipliedColor foregroundColor() const override;
    PremultipliedColor backgroundColor() const override;
    RealRect targetRect(const RealRect& rect) const override;
    void invalidate(CanvasPart part, const RealRect& rect) override;
    std::optional<HitRecord> hitTest(HitKind kind, RealPoint point) const override;
    void perform(const Command& command) override;
    void performInstantly(const Command& command) override;
    std::set<LayerID> selectedLayerIDs() const override;
    void performAfterQueue(const Command& command, std::move_only_function<void()> then) override;
    PixelRect canvasBounds() const override;
    bool confirmPerspectiveCrop() override;
    std::optional<LayerID> pixelTarget(LayerLocks locks) override;
    /// Waits for strokes that are still being rendered; refused where the session has other work.
    std::shared_ptr<StrokeHandle> beginStroke(const StrokeStyle& style, std::string name) override;
    bool preparePixelEdit(LayerLocks locks) override;
    bool requireIdle() override;
    void editLive(const Edit& edit) override;
    void previewState(std::optional<DocumentState> state) override;
    void commitEdit(std::string name, const Edit& edit) override;
    void commitLive(std::string name) override;
    void cancelLive() override;
    /// The free transform is not there yet: tells so.
    void beginTransform() override;
    void endTransform(bool apply) override;
    bool isTransforming() const override { return false; }
    std::optional<TransformValues> transformValues() const override { return std::nullopt; }
    void updateTransform(const TransformValues& values) override;
    bool isBusy() const override;
    ApplyTransformChoice confirmTransform() override;
    std::optional<LayerID> editTargetLayer() const override;
    void setNeedsOverlayDisplay() override;
    void showStatus(const std::string& text) override;
    void refuse(const std::string& text) override;
    void selectTool(ToolKind kind) override;

private:
    /// A button that is held, and who gets what follows.
    struct Press {
        Tool* tool;
        ToolModifiers consumed;
    };

    // What changes around the canvas (CanvasController.cpp).
    void connect();
    void connectTools();
    void disconnectTools();
    void chooseLayer(LayerID id, bool isAdded);
    void keepSelection(const DocumentState& state);
    void followTools();

    // Events (CanvasEvents.cpp).
    ToolModifiers seenModifiers() const;
    PointerSample sampleOf(const PointerEvent& event);
    void tellPointer(std::optional<RealPoint> at);
    Tool* toolNow() const;
    void beginPress(const PointerEvent& event);
    bool switchByLetter(char letter);
    bool offersRasterizing(const LayerNode& layer);
    /// A button was let go without our hearing of it.
    void endLostGesture();

    // Where edits go (CanvasRouting.cpp).
    Command routed(const Command& command) const;
    StrokeStyle styleFor(StrokeStyle style, EditTarget target) const;
    std::shared_ptr<Executor> renderExecutor();

    const std::shared_ptr<DocumentSession> session_;
    CanvasHost* host_; ///< null once closed
    CanvasNavigation navigation_;
    std::optional<ToolSettingsStore> toolSettings_;
    CanvasPointer pointer_;
    TemporaryTool temporary_;
    Interceptor interceptor_;
    std::optional<DocumentState> preview_;
    mutable MaskView maskEditing_{MaskView::Kind::editing}; ///< while a mask receives edits
    mutable MaskView maskPicture_{MaskView::Kind::picture}; ///< while a mask is shown
    std::weak_ptr<StrokeController> stroke_;                ///< the last that was begun
    std::shared_ptr<Executor> ownExecutor_;                 ///< where the host has none
    std::optional<LayerID> activeLayer_;                    ///< as last seen

    ToolModifiers modifiers_; ///< of the keyboard, as last told
    std::optional<Press> press_;
    std::optional<RealPoint> pan_;      ///< where the middle button was last, in view points
    std::optional<PointerEvent> hover_; ///< the last event without a button, while it is over us
    PointerEvent lastOfPress_;          ///< the last event of the press
    Tool* hoveredTool_ = nullptr;       ///< who was told of the pointer
    Tool* chosenTool_ = nullptr;        ///< the session's, as far as it was told
    bool ownsLive_ = false;             ///< the live edit that is open was begun here
    std::vector<Connection> connections_;
};

} // namespace ombrel
