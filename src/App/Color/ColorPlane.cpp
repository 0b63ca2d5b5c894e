#include "App/Color/ColorPlane.h"

#include "App/Look/Theme.h"
#include "App/Panels/ScreenColor.h"

#include <QConicalGradient>
#include <QKeyEvent>
#include <QPainter>
#include <QRadialGradient>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

using ColorMath::Hsb;

constexpr double inset = 5; ///< half of the mark lies beyond
constexpr double markRadius = 5;

QColor shown(const Hsb& hsb) {
    return colorOf(ColorMath::rgbOf(hsb));
}

double radiansOf(double degrees) {
    return degrees * std::numbers::pi / 180;
}

} // namespace

ColorPlane::ColorPlane(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::CrossCursor);
    setKind(Kind::square);
}

void ColorPlane::setKind(Kind kind) {
    kind_ = kind;
    setAccessibleName(kind == Kind::square ? QStringLiteral("Saturation and brightness")
                                           : QStringLiteral("Hue and saturation"));
    setToolTip(accessibleName());
    update();
}

void ColorPlane::setColor(const PickedColor& color) {
    color_ = color;
    setAccessibleDescription(QStringLiteral("%1°, %2 %, %3 %")
                                 .arg(std::lround(color.hsb().hue))
                                 .arg(std::lround(100 * color.hsb().saturation))
                                 .arg(std::lround(100 * color.hsb().brightness)));
    update();
}

QRectF ColorPlane::area() const {
    const QRectF all = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    if (kind_ == Kind::square) return all;
    const double side = std::min(all.width(), all.height());
    return {all.center() - QPointF(side, side) / 2, QSizeF(side, side)};
}

QPointF ColorPlane::placeOf(const PickedColor& color) const {
    const QRectF place = area();
    const Hsb& hsb = color.hsb();
    if (kind_ == Kind::square)
        return {place.left() + hsb.saturation * place.width(),
                place.bottom() - hsb.brightness * place.height()};
    const double radius = hsb.saturation * place.width() / 2;
    return place.center() +
           QPointF(std::cos(radiansOf(hsb.hue)), -std::sin(radiansOf(hsb.hue))) * radius;
}

// Saturation mixes white with the hue, brightness takes both to black: two layers of gradients are
// exactly the colours of the model.
void ColorPlane::paintSquare(QPainter& painter) const {
    const QRectF place = area();
    QLinearGradient across(place.topLeft(), place.topRight());
    across.setColorAt(0, Qt::white);
    across.setColorAt(1, shown({color_.hsb().hue, 1, 1}));
    painter.fillRect(place, across);
    QLinearGradient down(place.topLeft(), place.bottomLeft());
    down.setColorAt(0, QColor(0, 0, 0, 0));
    down.setColorAt(1, Qt::black);
    painter.fillRect(place, down);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Theme::color(hasFocus() ? ThemeColor::accent : ThemeColor::edge));
    painter.drawRect(place);
}

void ColorPlane::paintWheel(QPainter& painter) const {
    const QRectF place = area();
    const double brightness = color_.hsb().brightness;
    QConicalGradient around(place.center(), 0);
    for (int i = 0; i <= 6; ++i)
        around.setColorAt(i / 6.0, shown({60.0 * i, 1, brightness}));
    QRadialGradient outward(place.center(), place.width() / 2);
    QColor gray = shown({0, 0, brightness});
    outward.setColorAt(0, gray);
    gray.setAlpha(0);
    outward.setColorAt(1, gray);
    painter.setPen(Qt::NoPen);
    for (const QBrush& brush : {QBrush(around), QBrush(outward)}) {
        painter.setBrush(brush);
        painter.drawEllipse(place);
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Theme::color(hasFocus() ? ThemeColor::accent : ThemeColor::edge));
    painter.drawEllipse(place);
}

void ColorPlane::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (kind_ == Kind::square) {
        paintSquare(painter);
    } else {
        paintWheel(painter);
    }
    const QPointF mark = placeOf(color_);
    painter.setBrush(colorOf(color_.rgb()));
    painter.setPen(QPen(Qt::black, 3)); // seen on every colour
    painter.drawEllipse(mark, markRadius, markRadius);
    painter.setPen(QPen(Qt::white, 1.5));
    painter.drawEllipse(mark, markRadius, markRadius);
}

void ColorPlane::take(QPointF at) {
    const QRectF place = area();
    Hsb hsb = color_.hsb();
    if (kind_ == Kind::square) {
        hsb.saturation = (at.x() - place.left()) / place.width();
        hsb.brightness = (place.bottom() - at.y()) / place.height();
    } else {
        const QPointF from = at - place.center();
        hsb.saturation = std::hypot(from.x(), from.y()) / (place.width() / 2);
        if (hsb.saturation > 0)
            hsb.hue =
                std::fmod(std::atan2(-from.y(), from.x()) * 180 / std::numbers::pi + 360, 360);
    }
    hsb.saturation = std::clamp(hsb.saturation, 0.0, 1.0);
    hsb.brightness = std::clamp(hsb.brightness, 0.0, 1.0);
    if (onMove) onMove(hsb);
}

void ColorPlane::moveBy(double across, double up) {
    Hsb hsb = color_.hsb();
    if (kind_ == Kind::square) {
        hsb.saturation = std::clamp(hsb.saturation + across / 100, 0.0, 1.0);
        hsb.brightness = std::clamp(hsb.brightness + up / 100, 0.0, 1.0);
    } else {
        hsb.hue = std::fmod(hsb.hue + across + 360, 360);
        hsb.saturation = std::clamp(hsb.saturation + up / 100, 0.0, 1.0);
    }
    if (onMove) onMove(hsb);
    if (onRelease) onRelease();
}

void ColorPlane::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) take(event->position());
}

void ColorPlane::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) != 0) take(event->position());
}

void ColorPlane::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && onRelease) onRelease();
}

void ColorPlane::keyPressEvent(QKeyEvent* event) {
    const double step = (event->modifiers() & Qt::ShiftModifier) != 0 ? 10 : 1;
    switch (event->key()) {
    case Qt::Key_Left:
        return moveBy(-step, 0);
    case Qt::Key_Right:
        return moveBy(step, 0);
    case Qt::Key_Up:
        return moveBy(0, step);
    case Qt::Key_Down:
        return moveBy(0, -step);
    default:
        return QWidget::keyPressEvent(event);
    }
}

void ColorPlane::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    update();
}

void ColorPlane::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    update();
}

} // namespace ombrel
