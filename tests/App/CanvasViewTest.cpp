#include "App/Canvas/CanvasView.h"
#include "App/Screenshot.h"
#include "Base/MainExecutor.h"
#include "Base/ThreadPool.h"
#include "Core/ViewMapping.h"
#include "Editor/DocumentSession.h"
#include "Engine/CpuDevice.h"
#include "Tools/ToolRegistry.h"
#include "support/TemporaryFolder.h"
#include "support/TestDocument.h"

#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QTabletEvent>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <numbers>
#include <thread>

namespace ombrel {

namespace {

/// Writes down what it gets.
class RecordingTool final : public Tool {
public:
    explicit RecordingTool(ToolKind kind) : kind_(kind) {}

    ToolKind kind() const override { return kind_; }
    ToolCursor currentCursor(ToolModifiers /*modifiers*/) const override {
        return ToolCursor::crosshair;
    }
    void pointerDown(const PointerSample& sample, ToolContext& /*in*/) override {
        downs.push_back(sample);
    }
    void pointerDragged(const PointerSample& sample, ToolContext& /*in*/) override {
        drags.push_back(sample);
    }
    void pointerUp(const PointerSample& sample, ToolContext& /*in*/) override {
        ups.push_back(sample);
    }
    bool keyDown(const ToolKey& key, ToolModifiers /*modifiers*/, ToolContext& /*in*/) override {
        keys.push_back(key);
        return false;
    }
    std::vector<OverlayShape> overlayShapes(const ToolContext& /*in*/) const override {
        return shapes;
    }

    std::vector<PointerSample> downs;
    std::vector<PointerSample> drags;
    std::vector<PointerSample> ups;
    std::vector<ToolKey> keys;
    std::vector<OverlayShape> shapes;

private:
    ToolKind kind_;
};

DocumentState picture(TestDocument document) {
    document.layer("ground").filled({1, 1, 1, 1});
    document.layer("square").filled({100, 80, 120, 100}, {0.6f, 0.05f, 0.05f, 1}).active();
    document.layer("veil").painted({180, 20, 180, 200}, [](int x, int y) {
        const float alpha = 0.5f + 0.5f * std::sin(static_cast<float>(x + y) / 12);
        return PremultipliedColor{0, 0.1f * alpha, 0.6f * alpha, alpha};
    });
    return document.state();
}

struct ViewFixture {
    explicit ViewFixture(CanvasView::Drawing drawing = CanvasView::Drawing::raster) {
        ToolSet tools = ToolRegistry::makeTools();
        auto recording = std::make_unique<RecordingTool>(ToolKind::brush);
        brush = recording.get();
        tools[ToolKind::brush] = std::move(recording);
        session = DocumentSession::create({.main = main,
                                           .worker = ThreadPool::shared(),
                                           .store = *store,
                                           .device = device,
                                           .settings = settings},
                                          picture(TestDocument({400, 300}, store)), "Open", {},
                                          std::move(tools));
        view = std::make_unique<CanvasView>(
            session, CanvasView::Services{main, *store, device, settings}, nullptr, drawing);
        view->resize(640, 480);
        view->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        settle();
    }

    /// Runs the program until the picture is there and stays.
    void settle() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        int quiet = 0;
        while (quiet < 20 && std::chrono::steady_clock::now() < deadline) {
            QApplication::processEvents(QEventLoop::AllEvents, 2);
            const bool ran = main.runPending() > 0;
            quiet = ran || !view->isComplete() ? 0 : quiet + 1;
            if (!ran) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_TRUE(view->isComplete());
    }
    QPointF at(double x, double y) const {
        const RealPoint point = viewPoint(*session->_viewTransform, {x, y});
        return {point.x, point.y};
    }
    void mouse(QEvent::Type type, QPointF where, Qt::MouseButton button = Qt::LeftButton,
               Qt::KeyboardModifiers modifiers = {}) {
        const bool isMove = type == QEvent::MouseMove;
        const bool isHeld = type != QEvent::MouseButtonRelease && button != Qt::NoButton;
        QMouseEvent event(type, where, view->mapToGlobal(where), isMove ? Qt::NoButton : button,
                          isHeld ? Qt::MouseButtons(button) : Qt::NoButton, modifiers);
        QApplication::sendEvent(view.get(), &event);
    }
    void drag(QPointF from, QPointF to, Qt::MouseButton button = Qt::LeftButton) {
        mouse(QEvent::MouseButtonPress, from, button);
        mouse(QEvent::MouseMove, (from + to) / 2, button);
        mouse(QEvent::MouseMove, to, button);
        mouse(QEvent::MouseButtonRelease, to, button);
    }
    void key(QEvent::Type type, int code, const QString& text = {},
             Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent event(type, code, modifiers, text);
        QApplication::sendEvent(view.get(), &event);
    }
    QColor colorAt(double x, double y) {
        settle();
        const QImage image = view->grab().toImage();
        const QPointF where = at(x, y) * view->devicePixelRatioF();
        return image.pixelColor(where.toPoint());
    }

    test::TemporaryFolder folder;
    Settings settings{folder / "settings.json"};
    MainExecutor main;
    CpuDevice device;
    std::shared_ptr<TileStore> store = makeTestStore();
    std::shared_ptr<DocumentSession> session;
    RecordingTool* brush = nullptr;
    std::unique_ptr<CanvasView> view;
};

/// A pen whose events a test makes.
struct Pen {
    explicit Pen(QPointingDevice::PointerType type)
        : device("pen", 7, QInputDevice::DeviceType::Stylus, type,
                 QInputDevice::Capability::Pressure | QInputDevice::Capability::XTilt, 1, 1) {}

    void send(ViewFixture& fixture, QEvent::Type type, QPointF where, double pressure,
              Qt::MouseButton button = Qt::LeftButton) {
        const bool isHeld = type != QEvent::TabletRelease && button != Qt::NoButton;
        QTabletEvent event(type, &device, where, fixture.view->mapToGlobal(where), pressure, 30,
                           -45, 0, 12, 0, {}, type == QEvent::TabletMove ? Qt::NoButton : button,
                           isHeld ? Qt::MouseButtons(button) : Qt::NoButton);
        const bool isProximity =
            type == QEvent::TabletEnterProximity || type == QEvent::TabletLeaveProximity;
        QObject* receiver = isProximity ? static_cast<QObject*>(qApp) : fixture.view.get();
        QApplication::sendEvent(receiver, &event);
    }

    QPointingDevice device;
};

} // namespace

TEST(CanvasView, showsTheDocumentAndFollowsItsEdits) {
    ViewFixture fixture;
    EXPECT_FALSE(fixture.view->drawsByOpenGL());
    EXPECT_EQ(fixture.colorAt(20, 20), QColor(255, 255, 255));
    const QColor red = fixture.colorAt(110, 90);
    EXPECT_GT(red.red(), 190);
    EXPECT_LT(red.green(), 90);
    saveScreenshot(*fixture.view, "canvas");

    fixture.session->setTool(ToolKind::move);
    fixture.drag(fixture.at(110, 90), fixture.at(30, 190));
    EXPECT_EQ(fixture.colorAt(25, 185), red);
    EXPECT_EQ(fixture.session->undoName(), "Move");
    fixture.session->undo();
    EXPECT_EQ(fixture.colorAt(25, 185), QColor(255, 255, 255));
}

TEST(CanvasView, navigatesByWheelMiddleButtonAndTouchpad) {
    ViewFixture fixture;
    const CanvasNavigation& navigation = fixture.view->navigation();
    const double fitted = navigation.magnification();
    EXPECT_LE(fitted, 1);

    const QPointF pointer = fixture.at(110, 90);
    QWheelEvent wheel(pointer, fixture.view->mapToGlobal(pointer), {}, {0, 240}, Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(fixture.view.get(), &wheel);
    EXPECT_GT(navigation.magnification(), fitted);
    EXPECT_NEAR(fixture.at(110, 90).x(), pointer.x(), 0.01) << "what is under the pointer stays";
    EXPECT_NEAR(fixture.at(110, 90).y(), pointer.y(), 0.01);

    const QPointF before = fixture.at(0, 0);
    fixture.drag({100, 100}, {130, 80}, Qt::MiddleButton);
    EXPECT_NEAR(fixture.at(0, 0).x() - before.x(), 30, 0.01);
    EXPECT_NEAR(fixture.at(0, 0).y() - before.y(), -20, 0.01);
    EXPECT_TRUE(fixture.brush->downs.empty());

    const double scale = navigation.magnification();
    QNativeGestureEvent pinch(Qt::ZoomNativeGesture, QPointingDevice::primaryPointingDevice(), 2,
                              pointer, pointer, pointer, 0.25, {});
    QApplication::sendEvent(fixture.view.get(), &pinch);
    EXPECT_NEAR(navigation.magnification(), scale * 1.25, 1e-9);
    QNativeGestureEvent turn(Qt::RotateNativeGesture, QPointingDevice::primaryPointingDevice(), 2,
                             pointer, pointer, pointer, 30, {});
    QApplication::sendEvent(fixture.view.get(), &turn);
    EXPECT_NEAR(navigation.rotation(), std::numbers::pi / 6, 1e-9);
    fixture.settle();
    saveScreenshot(*fixture.view, "canvas-turned");
    fixture.view->navigation().resetRotation();
    EXPECT_EQ(navigation.rotation(), 0);
}

TEST(CanvasView, handsThePensPressureTiltAndEndToTools) {
    ViewFixture fixture;
    Pen pen(QPointingDevice::PointerType::Pen);
    Pen eraser(QPointingDevice::PointerType::Eraser);
    pen.send(fixture, QEvent::TabletEnterProximity, {}, 0, Qt::NoButton);
    pen.send(fixture, QEvent::TabletPress, fixture.at(50, 60), 0.25);
    pen.send(fixture, QEvent::TabletMove, fixture.at(60, 60), 0.75);
    pen.send(fixture, QEvent::TabletRelease, fixture.at(60, 60), 0);
    ASSERT_EQ(fixture.brush->downs.size(), 1U);
    ASSERT_EQ(fixture.brush->drags.size(), 1U);
    EXPECT_EQ(fixture.brush->ups.size(), 1U);
    const PointerSample& down = fixture.brush->downs.front();
    EXPECT_FLOAT_EQ(down.pressure, 0.25f);
    EXPECT_NEAR(down.tilt.x, 30.0 / 90, 1e-6);
    EXPECT_NEAR(down.tilt.y, -45.0 / 90, 1e-6);
    EXPECT_FLOAT_EQ(down.rotation, 12);
    EXPECT_EQ(down.device, PointerDevice::pen);
    EXPECT_NEAR(down.location.x, 50, 1e-9);
    EXPECT_FLOAT_EQ(fixture.brush->drags.front().pressure, 0.75f);

    pen.send(fixture, QEvent::TabletLeaveProximity, {}, 0, Qt::NoButton);
    eraser.send(fixture, QEvent::TabletEnterProximity, {}, 0, Qt::NoButton);
    eraser.send(fixture, QEvent::TabletPress, fixture.at(50, 60), 0.5);
    eraser.send(fixture, QEvent::TabletRelease, fixture.at(50, 60), 0);
    EXPECT_EQ(fixture.brush->downs.back().device, PointerDevice::eraser);
    eraser.send(fixture, QEvent::TabletLeaveProximity, {}, 0, Qt::NoButton);

    fixture.mouse(QEvent::MouseButtonPress, fixture.at(50, 60));
    fixture.mouse(QEvent::MouseButtonRelease, fixture.at(50, 60));
    EXPECT_EQ(fixture.brush->downs.back().device, PointerDevice::mouse);
    EXPECT_EQ(fixture.brush->downs.back().pressure, 1.0f);
}

TEST(CanvasView, turnsKeysIntoThoseOfTools) {
    ViewFixture fixture;
    const auto press = [&](int code, const QString& text = {}) {
        fixture.key(QEvent::KeyPress, code, text);
        fixture.key(QEvent::KeyRelease, code, text);
    };
    press(Qt::Key_5, "5");
    press(Qt::Key_BracketLeft, "[");
    press(Qt::Key_Backspace, "\b");
    press(Qt::Key_Left);
    press(Qt::Key_Q, "q");
    EXPECT_EQ(fixture.brush->keys,
              (std::vector{ToolKey::digit(5), ToolKey::bracketLeft(), ToolKey::deletion(),
                           ToolKey::left(), ToolKey::character("q")}));

    press(Qt::Key_V, "v");
    EXPECT_EQ(*fixture.session->_activeTool, ToolKind::move);
    press(Qt::Key_B, "b");
    fixture.key(QEvent::KeyPress, Qt::Key_Space, " ");
    EXPECT_EQ(fixture.view->cursor().shape(), Qt::OpenHandCursor);
    fixture.key(QEvent::KeyRelease, Qt::Key_Space, " ");
    EXPECT_EQ(fixture.view->cursor().shape(), Qt::CrossCursor);

    fixture.key(QEvent::KeyPress, Qt::Key_A, "A"); // without Shift
    fixture.mouse(QEvent::MouseButtonPress, {10, 10});
    fixture.mouse(QEvent::MouseButtonRelease, {10, 10});
    fixture.key(QEvent::KeyRelease, Qt::Key_A, "A");
    fixture.session->setTool(ToolKind::brush);
    fixture.mouse(QEvent::MouseButtonPress, {10, 10}, Qt::LeftButton, Qt::AltModifier);
    EXPECT_EQ(fixture.brush->downs.back().modifiers,
              ToolModifiers::capsLock | ToolModifiers::option);
}

namespace {

/// One of every kind, spread over the picture.
std::vector<OverlayShape> everyShape() {
    using S = OverlayShape;
    const VectorPath path{{Subpath{{{{20, 250}, {10, 240}, {40, 210}},
                                    {{80, 260}, {60, 290}, {100, 230}},
                                    PathAnchor::corner({130, 270})},
                                   false}}};
    auto mask = std::make_shared<MaskPreview>();
    mask->area = {{340, 230}, {40, 40}};
    mask->width = 2;
    mask->height = 2;
    mask->image = {0x80800000, 0x80008000, 0x80000080, 0x80404040};
    return {
        {S::Circle{{40, 40}, 20}},
        {S::PaintedStroke{{{80, 30}, {110, 50}, {140, 30}}, 6}},
        {S::Skeleton{
            {{{160, 20}, {190, 20}, {190, 60}, {160, 60}}}, {{{165, 25}, {185, 55}}}, 4, 0}},
        {S::CenterMark{{210, 40}}},
        {S::Tip{{240, 40}, 22, 0.6, 0.4}},
        {S::Rectangle{{{270, 20}, {30, 40}}}},
        {S::Line{{310, 20}, {330, 60}}},
        {S::Crosshair{{350, 40}}},
        {S::TransformBox{{{20, 100}, {80, 90}, {90, 150}, {30, 160}}, RealPoint{55, 125}}},
        {S::Path{path, PathNodeRef{0, 1, PathNodeRef::Part::anchor}}},
        {S::EditedPath{{{Subpath{{PathAnchor::corner({160, 220}), PathAnchor::corner({200, 220}),
                                  PathAnchor::corner({180, 260})},
                                 true}}},
                       {PathNodeRef{0, 0, PathNodeRef::Part::anchor}}}},
        {S::Selection{{{110, 90}, {60, 50}}}},
        {S::Readout{"+12, -5 px", {200, 160}}},
        {S::Lasso{{{220, 90}, {260, 100}, {250, 140}, {225, 130}}, true}},
        {S::Regions{{{{{280, 90}, {310, 90}, {310, 120}}}, {{{320, 90}, {350, 90}, {350, 120}}}},
                    1}},
        {S::Mask{mask}},
        {S::PromptPoint{{300, 150}, true}},
        {S::PromptPoint{{330, 150}, false}},
        {S::Handles{{{230, 200}, {270, 210}, {310, 200}}, true, 1}},
    };
}

} // namespace

TEST(CanvasView, drawsEveryShapeAndAntsOnlyWhileTheyMarch) {
    ViewFixture fixture;
    const QImage bare = fixture.view->grab().toImage();
    const std::vector<OverlayShape> all = everyShape();
    for (std::size_t i = 0; i < all.size(); ++i) {
        fixture.brush->shapes = {all[i]};
        EXPECT_NE(fixture.view->grab().toImage(), bare) << "shape " << i;
    }
    for (const CropOverlay guides : {CropOverlay::ruleOfThirds, CropOverlay::goldenSpiral}) {
        fixture.brush->shapes = {
            {OverlayShape::CropBox{{{60, 50}, {330, 50}, {330, 230}, {60, 230}}, guides}}};
        EXPECT_NE(fixture.view->grab().toImage(), bare);
    }
    saveScreenshot(*fixture.view, "canvas-crop");
    fixture.brush->shapes = all;
    fixture.view->navigation().zoomTo(1.5);
    fixture.settle();
    saveScreenshot(*fixture.view, "canvas-overlays");

    const QImage ants = fixture.view->grab().toImage();
    const auto changes = [&] {
        QTest::qWait(400);
        return fixture.view->grab().toImage() != ants;
    };
    EXPECT_TRUE(changes()) << "ants march";
    fixture.brush->shapes = {{OverlayShape::Circle{{40, 40}, 20}}};
    fixture.view->controller().setNeedsOverlayDisplay();
    fixture.settle();
    int paints = 0;
    struct Counter final : QObject {
        explicit Counter(int& in) : count(in) {}
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::Paint || event->type() == QEvent::Timer) ++count;
            return false;
        }
        int& count;
    } counter(paints);
    fixture.view->installEventFilter(&counter);
    QTest::qWait(300);
    EXPECT_EQ(paints, 0) << "nothing marches, nothing is drawn";
}

TEST(CanvasView, drawsTheSameByOpenGL) {
    ViewFixture raster;
    const QImage expected = raster.view->grab().toImage();
    ViewFixture fixture(CanvasView::Drawing::openGL);
    if (!fixture.view->drawsByOpenGL()) GTEST_SKIP() << "There is no OpenGL here.";
    const QImage drawn = fixture.view->grab().toImage();
    ASSERT_EQ(drawn.size(), expected.size());
    int worst = 0;
    for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x) {
            const QColor a = drawn.pixelColor(x, y);
            const QColor b = expected.pixelColor(x, y);
            worst = std::max({worst, std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                              std::abs(a.blue() - b.blue())});
        }
    }
    EXPECT_LE(worst, 1);
    fixture.brush->shapes = everyShape();
    fixture.view->controller().setNeedsOverlayDisplay();
    fixture.settle();
    saveScreenshot(*fixture.view, "canvas-opengl");
    EXPECT_NE(fixture.view->grab().toImage(), drawn);
}

TEST(CanvasView, picksColoursAndTellsWhereThePointerIs) {
    ViewFixture fixture;
    std::optional<RealPoint> pointer;
    const Connection moving = fixture.view->pointerMovedTo.connect(
        [&](const std::optional<RealPoint>& point) { pointer = point; });
    std::string status;
    const Connection saying =
        fixture.view->statusMessage.connect([&](const std::string& text) { status = text; });
    fixture.session->setTool(ToolKind::eyedropper);
    fixture.mouse(QEvent::MouseMove, fixture.at(110, 90), Qt::NoButton);
    ASSERT_TRUE(pointer);
    EXPECT_NEAR(pointer->x, 110, 1e-9);
    fixture.mouse(QEvent::MouseButtonPress, fixture.at(110, 90));
    fixture.mouse(QEvent::MouseButtonRelease, fixture.at(110, 90));
    EXPECT_NEAR(fixture.session->colors->foreground.red, 0.6, 0.001);

    fixture.session->setTool(ToolKind::crop);
    EXPECT_EQ(fixture.view->cursor().shape(), Qt::ForbiddenCursor);
    fixture.mouse(QEvent::MouseButtonPress, fixture.at(110, 90));
    fixture.mouse(QEvent::MouseButtonRelease, fixture.at(110, 90));
    EXPECT_EQ(status, "The Crop tool isn't available yet.");
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(fixture.view.get(), &leave);
    EXPECT_FALSE(pointer);
}

} // namespace ombrel
