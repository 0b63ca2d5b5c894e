#include "App/Shell/PlainCanvas.h"

#include "Base/Log.h"

#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace ombrel {

PlainCanvas::PlainCanvas(std::shared_ptr<DocumentSession> session, AppServices& services,
                         QWidget* parent)
    : QWidget(parent), session_(std::move(session)), services_(services) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    actor_ = std::make_unique<RenderActor>(
        services.device, services.store, DocumentRenderer::Options{}, services.main,
        [this](Frame frame) { arrive(std::move(frame)); },
        [](const EngineError& error) { Log::warning("{}", error.text()); });
    const auto changed = [this](const auto&) { ask(); };
    connections_.push_back(session_->_state.onChange(changed));
    connections_.push_back(session_->_viewTransform.onChange(changed));
}

void PlainCanvas::ask() {
    if (width() <= 0 || !isFitted_) return;
    actor_->show({.transform = *session_->_viewTransform,
                  .contentsScale = devicePixelRatioF(),
                  .pasteboard = 0x2A2A2C,
                  .board = {}},
                 *session_->_state);
}

void PlainCanvas::arrive(Frame frame) {
    presenter_.present(frame);
    frame.flight.reset();
    update();
}

void PlainCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0x2A, 0x2A, 0x2C));
    const double scale = 1 / devicePixelRatioF();
    painter.scale(scale, scale);
    presenter_.paint(painter);
}

void PlainCanvas::resizeEvent(QResizeEvent*) {
    ViewTransform view = *session_->_viewTransform;
    view.viewportSize = {double(width()), double(height())};
    session_->_contentsScale = devicePixelRatioF();
    if (!isFitted_) {
        isFitted_ = true;
        const PixelSize size = session_->_state->canvas.size;
        view.center = {double(size.width) / 2, double(size.height) / 2};
        view.scale = std::min({1 / devicePixelRatioF(), width() * 0.96 / double(size.width),
                               height() * 0.96 / double(size.height)});
    }
    session_->setViewTransform(view);
    ask();
}

void PlainCanvas::wheelEvent(QWheelEvent* event) {
    ViewTransform view = *session_->_viewTransform;
    view.scale =
        std::clamp(view.scale * std::exp2(event->angleDelta().y() / 240.0), 1.0 / 256, 64.0);
    session_->setViewTransform(view);
}

} // namespace ombrel
