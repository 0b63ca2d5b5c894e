#include "App/Canvas/CanvasSurface.h"

#include "App/Canvas/OpenGLPresenter.h"
#include "App/Canvas/RasterPresenter.h"
#include "App/Look/Theme.h"
#include "Base/Log.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPainter>
#include <QTimer>

#include <optional>
#include <string>
#include <utility>

namespace ombrel {

namespace {

QSurfaceFormat wantedFormat() {
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    return format;
}

/// The name of what draws; nothing where there is no OpenGL of the version that we need.
std::optional<std::string> probeRenderer() {
    // Other platforms lend no context to widgets, or crash when asked for one.
    const QString platform = QGuiApplication::platformName();
    if (platform != "xcb" && !platform.startsWith("wayland")) return std::nullopt;
    QOpenGLContext context;
    context.setFormat(wantedFormat());
    if (!context.create() || context.format().version() < std::pair(3, 3)) return std::nullopt;
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.makeCurrent(&surface)) return std::nullopt;
    const auto* name = reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
    std::string renderer = name != nullptr ? name : "";
    context.doneCurrent();
    return renderer;
}

const std::optional<std::string>& renderer() {
    static const std::optional<std::string> found = probeRenderer();
    return found;
}

class RasterSurface final : public CanvasSurface {
public:
    RasterSurface(QWidget& view, PaintOverlay paintOverlay)
        : view_(view), paintOverlay_(std::move(paintOverlay)) {}

    bool isOpenGL() const override { return false; }
    void show(Frame frame) override {
        presenter_.present(frame);
        frame.flight.reset();
        view_.update();
    }
    void update() override { view_.update(); }
    void paint(QPainter& painter) override {
        const QImage picture = presenter_.picture();
        const double ratio = view_.devicePixelRatioF();
        const QRectF covered(0, 0, picture.width() / ratio, picture.height() / ratio);
        if (!covered.contains(view_.rect()))
            painter.fillRect(view_.rect(), Theme::color(ThemeColor::pasteboard));
        painter.save();
        painter.scale(1 / ratio, 1 / ratio);
        presenter_.paint(painter);
        painter.restore();
        paintOverlay_(painter);
    }

private:
    QWidget& view_;
    PaintOverlay paintOverlay_;
    RasterPresenter presenter_;
};

/// The picture alone; lets all events through to the view.
class OpenGLPicture final : public QOpenGLWidget {
public:
    OpenGLPicture(QWidget& view, std::function<void()> failed)
        : QOpenGLWidget(&view), failed_(std::move(failed)) {
        setFormat(wantedFormat());
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
    }
    ~OpenGLPicture() override {
        QObject::disconnect(contextEnd_); // it comes with the base class, after our members
        dropPresenter();
    }

    void show(Frame frame) {
        frame_ = std::move(frame);
        update();
    }

protected:
    void initializeGL() override {
        // Moved to another window, the widget gets another context.
        contextEnd_ = connect(context(), &QOpenGLContext::aboutToBeDestroyed, this,
                              [this] { dropPresenter(); });
        auto created = OpenGLPresenter::create();
        if (created) {
            presenter_ = *std::move(created);
        } else {
            Log::warning("The canvas goes without OpenGL: {}", created.error());
            // The view puts another surface in our place, but not while it draws us.
            if (failed_) QTimer::singleShot(0, parentWidget(), std::exchange(failed_, nullptr));
        }
    }
    void paintGL() override {
        if (presenter_ && frame_) {
            presenter_->present(*frame_);
            frame_->flight.reset();
            return;
        }
        const QColor ground = Theme::color(ThemeColor::pasteboard);
        QOpenGLFunctions& gl = *context()->functions();
        gl.glClearColor(ground.redF(), ground.greenF(), ground.blueF(), 1);
        gl.glClear(GL_COLOR_BUFFER_BIT);
    }

private:
    void dropPresenter() {
        if (!presenter_) return;
        makeCurrent();
        presenter_.reset();
        doneCurrent();
    }

    std::function<void()> failed_;
    QMetaObject::Connection contextEnd_;
    std::unique_ptr<OpenGLPresenter> presenter_;
    std::optional<Frame> frame_;
};

/// Lies on the picture, clear but for the overlay.
class OverlayLayer final : public QWidget {
public:
    OverlayLayer(QWidget& view, CanvasSurface::PaintOverlay paintOverlay)
        : QWidget(&view), paintOverlay_(std::move(paintOverlay)) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        paintOverlay_(painter);
    }

private:
    CanvasSurface::PaintOverlay paintOverlay_;
};

class OpenGLSurface final : public CanvasSurface {
public:
    OpenGLSurface(QWidget& view, PaintOverlay paintOverlay, std::function<void()> failed)
        : view_(view), picture_(view, std::move(failed)), overlay_(view, std::move(paintOverlay)) {
        resize();
        picture_.QWidget::show();
        overlay_.show();
    }

    bool isOpenGL() const override { return true; }
    void show(Frame frame) override {
        picture_.show(std::move(frame));
        overlay_.update();
    }
    void update() override { overlay_.update(); }
    void resize() override {
        picture_.setGeometry(view_.rect());
        overlay_.setGeometry(view_.rect());
    }
    void paint(QPainter& /*painter*/) override {}

private:
    QWidget& view_;
    OpenGLPicture picture_;
    OverlayLayer overlay_;
};

} // namespace

std::unique_ptr<CanvasSurface> CanvasSurface::makeRaster(QWidget& view, PaintOverlay paintOverlay) {
    return std::make_unique<RasterSurface>(view, std::move(paintOverlay));
}

std::unique_ptr<CanvasSurface> CanvasSurface::makeOpenGL(QWidget& view, PaintOverlay paintOverlay,
                                                         std::function<void()> failed) {
    if (!hasOpenGL()) return nullptr;
    return std::make_unique<OpenGLSurface>(view, std::move(paintOverlay), std::move(failed));
}

bool CanvasSurface::hasOpenGL() {
    return renderer().has_value();
}

} // namespace ombrel
