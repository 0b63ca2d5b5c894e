#include "App/Canvas/CanvasView.h"

#include "App/Canvas/CanvasCursors.h"
#include "App/Canvas/GraphicsProbe.h"
#include "App/Canvas/OverlayPainter.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "Base/Log.h"
#include "Base/Settings.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QPushButton>
#include <QTabletEvent>
#include <QTimer>
#include <QTimerEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

constexpr int antsInterval = 80;   ///< milliseconds
constexpr int probeInterval = 100; // milliseconds
constexpr double antsStep = 1;     ///< view points
constexpr double antsPeriod = 8;   ///< view points, after which they look the same

std::uint32_t codeOf(const QColor& color) {
    return color.rgb() & 0xFFFFFF;
}

std::size_t askByBox(QWidget& view, const CanvasQuestion& question) {
    QMessageBox box(view.window());
    box.setText(toQt(question.title));
    box.setInformativeText(toQt(question.text));
    std::vector<QAbstractButton*> buttons;
    for (std::size_t i = 0; i < question.buttons.size(); ++i) {
        const bool isLast = i + 1 == question.buttons.size();
        const auto role = i == 0   ? QMessageBox::AcceptRole
                          : isLast ? QMessageBox::RejectRole
                                   : QMessageBox::DestructiveRole;
        buttons.push_back(box.addButton(toQt(question.buttons[i]), role));
    }
    box.exec();
    const auto chosen = std::ranges::find(buttons, box.clickedButton());
    return chosen != buttons.end() ? static_cast<std::size_t>(chosen - buttons.begin())
                                   : buttons.size() - 1;
}

void fill(QMenu& menu, const std::vector<ToolMenuItem>& items) {
    for (const ToolMenuItem& item : items) {
        if (!item.action && item.title.empty()) {
            menu.addSeparator();
            continue;
        }
        QAction* action = menu.addAction(toQt(item.title));
        action->setCheckable(item.isChecked);
        action->setChecked(item.isChecked);
        action->setEnabled(item.isEnabled && item.action);
        if (item.action) QObject::connect(action, &QAction::triggered, &menu, item.action);
    }
}

} // namespace

CanvasView::CanvasView(std::shared_ptr<DocumentSession> session, const Services& services,
                       QWidget* parent, Drawing drawing)
    : QWidget(parent),
      controller_(CanvasController::create(std::move(session), *this, services.settings)) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setTabletTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    makeSurface(drawing);
    followSettings(services.settings);
    actor_ = std::make_unique<RenderActor>(
        services.device, services.store, DocumentRenderer::Options{}, services.main,
        [this](Frame frame) { receive(std::move(frame)); },
        [this](const EngineError& error) {
            Log::warning("The picture cannot be drawn: {}", error.text());
            statusMessage.emit(error.text());
        });
    // The application alone is told of pens that come and go.
    qApp->installEventFilter(this);
    cursorChanged();
}

CanvasView::~CanvasView() {
    controller_->close();
}

void CanvasView::followSettings(Settings& settings) {
    const auto take = [this, &settings](const Json& /*changed*/) {
        isZoomLocked_ = settings.get(SettingKeys::zoomLocked);
        isRotationLocked_ = settings.get(SettingKeys::rotationLocked);
        const bool presses = settings.get(SettingKeys::penPressure);
        input_.setPen(presses ? std::optional(settings.get(SettingKeys::penFirmness))
                              : std::nullopt);
    };
    for (const std::string_view key :
         {SettingKeys::zoomLocked.name, SettingKeys::rotationLocked.name,
          SettingKeys::penPressure.name, SettingKeys::penFirmness.name})
        settingChanges_.push_back(settings.onChange(key, take));
    take({});
}

void CanvasView::makeSurface(Drawing drawing) {
    const auto overlay = [this](QPainter& painter) { paintOverlay(painter); };
    const std::optional<bool> hasDevice = GraphicsProbe::hasDevice();
    if (drawing == Drawing::automatic && !hasDevice) awaitProbe();
    const bool wantsOpenGL =
        drawing == Drawing::openGL || (drawing == Drawing::automatic && hasDevice.value_or(false));
    if (wantsOpenGL)
        surface_ = CanvasSurface::makeOpenGL(*this, overlay, [this] {
            makeSurface(Drawing::raster);
            requestFrame();
        });
    if (!wantsOpenGL || !surface_) surface_ = CanvasSurface::makeRaster(*this, overlay);
}

// Until it is known, the processor draws.
void CanvasView::awaitProbe() {
    QTimer::singleShot(probeInterval, this, [this] {
        const std::optional<bool> hasDevice = GraphicsProbe::hasDevice();
        if (!hasDevice) return awaitProbe();
        if (!*hasDevice) return;
        makeSurface(Drawing::openGL);
        requestFrame();
    });
}

// Size and density, which may change when the window goes to another screen.
void CanvasView::adaptViewport() {
    pixelRatio_ = devicePixelRatioF();
    controller_->setViewport({double(width()), double(height())}, pixelRatio_);
    cursorChanged();
    requestFrame();
}

void CanvasView::requestFrame() {
    if (!actor_ || !isVisible() || size().isEmpty()) return;
    isComplete_ = false;
    actor_->show({.transform = controller_->viewTransform(),
                  .contentsScale = pixelRatio_,
                  .pasteboard = codeOf(Theme::color(ThemeColor::pasteboard)),
                  .checkerboard = true,
                  .board = {}},
                 controller_->displayState());
}

void CanvasView::receive(Frame frame) {
    boardToPixels_ = frame.boardToPixels;
    hasFrame_ = true;
    isComplete_ = frame.isComplete;
    statistics_ = frame.statistics;
    surface_->show(std::move(frame));
    frameShown.emit();
}

void CanvasView::paintEvent(QPaintEvent* /*event*/) {
    if (devicePixelRatioF() != pixelRatio_) adaptViewport();
    QPainter painter(this);
    surface_->paint(painter);
}

// Where the frame that is shown has the picture, so that the two never drift apart.
void CanvasView::paintOverlay(QPainter& painter) {
    const std::vector<OverlayShape> shapes = controller_->overlayShapes();
    const bool marches = isVisible() && std::ranges::any_of(shapes, &OverlayShape::isAnimated);
    if (marches && !antsTimer_.isActive()) antsTimer_.start(antsInterval, this);
    if (!marches) antsTimer_.stop();
    if (shapes.empty() || !hasFrame_) return;
    OverlayPainter(painter, {.toPixels = boardToPixels_,
                             .pixelRatio = pixelRatio_,
                             .pixelSize = QSizeF(size()) * pixelRatio_,
                             .antsPhase = antsPhase_})
        .paint(shapes);
}

void CanvasView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != antsTimer_.timerId()) return QWidget::timerEvent(event);
    if (!isVisible() || window()->isMinimized()) return antsTimer_.stop();
    antsPhase_ = std::fmod(antsPhase_ + antsStep, antsPeriod);
    surface_->update();
}

void CanvasView::resizeEvent(QResizeEvent* /*event*/) {
    surface_->resize();
    adaptViewport();
}

void CanvasView::showEvent(QShowEvent* /*event*/) {
    adaptViewport();
}

void CanvasView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        requestFrame(); // another theme has another ground
    QWidget::changeEvent(event);
}

void CanvasView::needsDisplay() {
    requestFrame();
    needsOverlayDisplay();
}

void CanvasView::needsOverlayDisplay() {
    if (surface_) surface_->update();
}

void CanvasView::cursorChanged() {
    if (controller_) setCursor(cursorOf(controller_->cursor(), devicePixelRatioF()));
}

void CanvasView::beep() {
    QApplication::beep();
}

std::size_t CanvasView::ask(const CanvasQuestion& question) {
    return onQuestion ? onQuestion(question) : askByBox(*this, question);
}

bool CanvasView::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        handleGesture(static_cast<const QNativeGestureEvent&>(*event));
        return true;
    }
    // Keys that tools use are no shortcuts of the window while the canvas has the keyboard; Delete
    // is, for the layers.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool isPlain = (key.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0;
        if (isPlain && key.key() != Qt::Key_Delete && CanvasInput::keyOf(key)) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

bool CanvasView::eventFilter(QObject* watched, QEvent* event) {
    const bool comes = event->type() == QEvent::TabletEnterProximity;
    if (comes || event->type() == QEvent::TabletLeaveProximity)
        controller_->penProximity(comes,
                                  CanvasInput::deviceOf(static_cast<const QTabletEvent&>(*event)));
    return QWidget::eventFilter(watched, event);
}

void CanvasView::handleGesture(const QNativeGestureEvent& event) {
    const RealPoint at = CanvasInput::pointOf(event.position());
    switch (event.gestureType()) {
    case Qt::ZoomNativeGesture:
        if (isZoomLocked_) return;
        return controller_->pinched(1 + event.value(), at);
    case Qt::RotateNativeGesture:
        if (isRotationLocked_) return;
        return controller_->rotated(event.value() * std::numbers::pi / 180, at);
    case Qt::PanNativeGesture:
        return controller_->scrolled(CanvasInput::pointOf(event.delta()));
    case Qt::SmartZoomNativeGesture:
        if (isZoomLocked_) return;
        return navigation().zoomToFit();
    default:
        break;
    }
}

void CanvasView::pressed(const PointerEvent& event) {
    setFocus(Qt::MouseFocusReason);
    controller_->pointerDown(event);
}

void CanvasView::mousePressEvent(QMouseEvent* event) {
    if (CanvasInput::buttonOf(event->button())) pressed(input_.pointerOf(*event));
}

void CanvasView::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void CanvasView::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) != 0) {
        controller_->pointerDragged(input_.pointerOf(*event));
    } else {
        controller_->pointerMoved(input_.pointerOf(*event));
    }
}

void CanvasView::mouseReleaseEvent(QMouseEvent* event) {
    if (CanvasInput::buttonOf(event->button())) controller_->pointerUp(input_.pointerOf(*event));
}

void CanvasView::tabletEvent(QTabletEvent* event) {
    event->accept(); // else the toolkit makes mouse events of it
    // Some tablets turn the pen round without telling that it left.
    controller_->penProximity(true, CanvasInput::deviceOf(*event));
    const PointerEvent pointer = input_.pointerOf(*event);
    switch (event->type()) {
    case QEvent::TabletPress:
        return pressed(pointer);
    case QEvent::TabletRelease:
        return controller_->pointerUp(pointer);
    default:
        break;
    }
    if (event->buttons() != Qt::NoButton) {
        controller_->pointerDragged(pointer);
    } else {
        controller_->pointerMoved(pointer);
    }
}

void CanvasView::wheelEvent(QWheelEvent* event) {
    event->accept();
    const ToolModifiers modifiers = input_.modifiersOf(event->modifiers());
    if (const auto scroll = CanvasInput::scrollOf(*event); scroll && modifiers.isEmpty())
        return controller_->scrolled(*scroll);
    // A wheel that may not zoom scrolls.
    const bool scrolls = isZoomLocked_ && !modifiers.contains(ToolModifiers::shift) &&
                         !modifiers.contains(ToolModifiers::command);
    controller_->wheelTurned(CanvasInput::notchesOf(*event),
                             CanvasInput::pointOf(event->position()),
                             scrolls ? ToolModifiers::command : modifiers);
}

void CanvasView::leaveEvent(QEvent* /*event*/) {
    controller_->pointerLeft();
}

void CanvasView::keyPressEvent(QKeyEvent* event) {
    const ToolModifiers modifiers = input_.modifiersAfter(*event);
    if (event->key() == Qt::Key_Space) {
        if (event->isAutoRepeat() || controller_->holdSpace(modifiers)) return;
        controller_->keyDown(ToolKey::character(" "), modifiers);
        return;
    }
    const auto key = CanvasInput::keyOf(*event);
    if (!key) {
        controller_->modifiersChanged(modifiers);
        return QWidget::keyPressEvent(event);
    }
    if (!controller_->keyDown(*key, modifiers)) QWidget::keyPressEvent(event);
}

void CanvasView::keyReleaseEvent(QKeyEvent* event) {
    if (event->isAutoRepeat()) return;
    const ToolModifiers modifiers = input_.modifiersAfter(*event);
    if (event->key() == Qt::Key_Space) return controller_->releaseSpace(modifiers);
    if (const auto key = CanvasInput::keyOf(*event)) {
        controller_->keyUp(*key, modifiers);
    } else {
        controller_->modifiersChanged(modifiers);
    }
}

void CanvasView::focusOutEvent(QFocusEvent* event) {
    controller_->keyboardLeft();
    QWidget::focusOutEvent(event);
}

void CanvasView::contextMenuEvent(QContextMenuEvent* event) {
    const std::vector<ToolMenuItem> items =
        controller_->contextMenu(CanvasInput::pointOf(QPointF(event->pos())));
    if (items.empty()) return menuRequested.emit(event->globalPos());
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fill(*menu, items);
    menu->popup(event->globalPos());
}

} // namespace ombrel
