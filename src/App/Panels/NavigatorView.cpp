#include "App/Panels/NavigatorView.h"

#include "App/Look/Theme.h"
#include "Core/ViewMapping.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr double inset = 4;
constexpr int checkSide = 6;
constexpr double keyStep = 0.1; ///< of what is in view

void drawChecks(QPainter& painter, const QRectF& place) {
    painter.save();
    painter.setClipRect(place);
    painter.fillRect(place, Theme::color(ThemeColor::checkerLight));
    const QColor dark = Theme::color(ThemeColor::checkerDark);
    for (int row = 0; row * checkSide < place.height(); ++row) {
        for (int column = row % 2; column * checkSide < place.width(); column += 2)
            painter.fillRect(QRectF(place.left() + column * checkSide,
                                    place.top() + row * checkSide, checkSide, checkSide),
                             dark);
    }
    painter.restore();
}

} // namespace

NavigatorView::NavigatorView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("navigatorView"));
    setAccessibleName(QStringLiteral("Navigator"));
    setAccessibleDescription(QStringLiteral("The whole picture; arrows move the view"));
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::PointingHandCursor);
}

void NavigatorView::setDocument(RealSize canvas) {
    if (canvas == canvas_) return;
    canvas_ = canvas;
    picture_ = {};
    update();
}

void NavigatorView::setPicture(const QImage& picture) {
    picture_ = picture;
    update();
}

void NavigatorView::setView(const ViewTransform& view) {
    view_ = view;
    update();
}

double NavigatorView::scale() const {
    if (!(canvas_.width > 0) || !(canvas_.height > 0)) return 0;
    return std::max(1e-9, std::min((width() - 2 * inset) / canvas_.width,
                                   (height() - 2 * inset) / canvas_.height));
}

QRectF NavigatorView::canvasArea() const {
    const QSizeF size(canvas_.width * scale(), canvas_.height * scale());
    return {QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size};
}

int NavigatorView::pictureSide() const {
    const QRectF area = canvasArea();
    return static_cast<int>(
        std::ceil(std::max({area.width(), area.height(), 1.0}) * devicePixelRatioF()));
}

QPointF NavigatorView::viewPlaceOf(RealPoint document) const {
    return canvasArea().topLeft() + QPointF(document.x, document.y) * scale();
}

QPolygonF NavigatorView::frame() const {
    const ViewTransform::Size& size = view_.viewportSize;
    QPolygonF corners;
    for (const RealPoint corner : {RealPoint{0, 0}, RealPoint{size.width, 0},
                                   RealPoint{size.width, size.height}, RealPoint{0, size.height}})
        corners << viewPlaceOf(documentPoint(view_, corner));
    return corners;
}

void NavigatorView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRectF area = canvasArea();
    if (area.isEmpty()) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (picture_.isNull() || picture_.hasAlphaChannel()) drawChecks(painter, area);
    if (!picture_.isNull()) painter.drawImage(area, picture_);
    painter.setPen(Theme::color(ThemeColor::edge));
    painter.drawRect(area);
    if (view_.viewportSize.width <= 0) return;
    // Twice, so that the frame is seen on every picture.
    const QPolygonF within(QRectF(rect()).adjusted(2, 2, -2, -2));
    const QPolygonF shown = frame().intersected(within);
    painter.setPen(QPen(Theme::color(ThemeColor::edge), 3));
    painter.drawPolygon(shown);
    painter.setPen(QPen(Theme::color(ThemeColor::accent), 1.5));
    painter.drawPolygon(shown);
    if (hasFocus()) {
        painter.setPen(Theme::color(ThemeColor::accent));
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

void NavigatorView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (onResize) onResize();
}

void NavigatorView::moveTo(QPointF place) {
    if (scale() == 0 || !onCenter) return;
    const QPointF at = (place - grip_ - canvasArea().topLeft()) / scale();
    onCenter({at.x(), at.y()});
}

void NavigatorView::moveBy(double across, double down) {
    if (!onCenter) return;
    const RealPoint step = documentVector(
        view_, {across * view_.viewportSize.width, down * view_.viewportSize.height});
    onCenter({view_.center.x + step.x, view_.center.y + step.y});
}

void NavigatorView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    const QPointF middle = viewPlaceOf({view_.center.x, view_.center.y});
    const bool isInside = frame().containsPoint(event->position(), Qt::OddEvenFill);
    grip_ = isInside ? event->position() - middle : QPointF();
    if (!isInside) moveTo(event->position());
}

void NavigatorView::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) != 0) moveTo(event->position());
}

void NavigatorView::wheelEvent(QWheelEvent* event) {
    event->accept();
    if (onZoom) onZoom(std::pow(2.0, event->angleDelta().y() / 120.0 / 4));
}

void NavigatorView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
        return moveBy(-keyStep, 0);
    case Qt::Key_Right:
        return moveBy(keyStep, 0);
    case Qt::Key_Up:
        return moveBy(0, -keyStep);
    case Qt::Key_Down:
        return moveBy(0, keyStep);
    case Qt::Key_Plus:
        if (onZoom) onZoom(std::sqrt(2.0));
        return;
    case Qt::Key_Minus:
        if (onZoom) onZoom(std::sqrt(0.5));
        return;
    default:
        return QWidget::keyPressEvent(event);
    }
}

} // namespace ombrel
