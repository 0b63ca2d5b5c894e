// The canvas as a widget: turns the toolkit's events into those of the headless canvas, and draws
// frames of the picture with the overlay above. It keeps the session alive as long as it lives, and
// a session has one view. Main thread.
#pragma once

#include "App/Canvas/CanvasInput.h"
#include "App/Canvas/CanvasSurface.h"
#include "Base/Signal.h"
#include "Editor/CanvasController.h"
#include "Engine/RenderActor.h"

#include <QBasicTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QNativeGestureEvent;

namespace ombrel {

class CanvasView final : public QWidget, private CanvasHost {
public:
    /// What a canvas stands on; outlives it.
    struct Services {
        Executor& main;
        TileStore& store;
        PixelDevice& device;
        Settings& settings;
    };
    enum class Drawing : std::uint8_t {
        automatic, ///< by OpenGL where there is a graphics device for it, else on the processor
        raster,
        openGL, ///< even in software, if there is OpenGL at all
    };

    CanvasView(std::shared_ptr<DocumentSession> session, const Services& services,
               QWidget* parent = nullptr, Drawing drawing = Drawing::automatic);
    ~CanvasView() override;

    CanvasController& controller() const { return *controller_; }
    CanvasNavigation& navigation() const { return controller_->navigation(); }
    bool drawsByOpenGL() const { return surface_->isOpenGL(); }
    /// Whether the frame that is shown is exact and there is none to come.
    bool isComplete() const { return isComplete_; }
    const FrameStatistics& lastFrame() const { return statistics_; }
    /// Asks the user; by a message box unless somebody else is set to.
    std::function<std::size_t(const CanvasQuestion&)> onQuestion;

    Signal<std::string> statusMessage;
    Signal<> viewMoved;                                   ///< magnification, place or turn
    Signal<PaintSlot, PremultipliedColor> colorWasPicked; ///< the session has it already
    Signal<std::optional<RealPoint>> pointerMovedTo;      ///< in document coordinates
    Signal<QPoint> menuRequested; ///< where the tool has none; on the screen
    Signal<> frameShown;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void tabletEvent(QTabletEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // CanvasHost.
    void needsDisplay() override;
    void needsOverlayDisplay() override;
    void cursorChanged() override;
    void viewChanged() override { viewMoved.emit(); }
    void showStatus(const std::string& text) override { statusMessage.emit(text); }
    void beep() override;
    std::size_t ask(const CanvasQuestion& question) override;
    void colorPicked(PaintSlot slot, const PremultipliedColor& color) override {
        colorWasPicked.emit(slot, color);
    }
    void pointerAt(std::optional<RealPoint> point) override { pointerMovedTo.emit(point); }
    std::shared_ptr<Executor> renderExecutor() override {
        return actor_ ? actor_->strand() : nullptr;
    }

    void makeSurface(Drawing drawing);
    void awaitProbe();
    void adaptViewport();
    void requestFrame();
    void receive(Frame frame);
    void paintOverlay(QPainter& painter);
    void handleGesture(const QNativeGestureEvent& event);
    void followSettings(Settings& settings);
    void pressed(const PointerEvent& event);

    CanvasInput input_;
    bool isZoomLocked_ = false; ///< gestures and the wheel leave it
    bool isRotationLocked_ = false;
    std::vector<Connection> settingChanges_;
    std::unique_ptr<CanvasSurface> surface_;
    std::unique_ptr<RenderActor> actor_;
    AffineTransform boardToPixels_; ///< of the frame that is shown
    bool hasFrame_ = false;
    bool isComplete_ = false;
    double pixelRatio_ = 0; ///< as the controller knows it
    FrameStatistics statistics_;
    QBasicTimer antsTimer_; ///< runs only while something marches
    double antsPhase_ = 0;  ///< view points
    /// Calls us from its beginning on, so the last of all.
    std::shared_ptr<CanvasController> controller_;
};

} // namespace ombrel
