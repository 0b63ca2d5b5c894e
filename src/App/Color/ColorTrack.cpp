#include "App/Color/ColorTrack.h"

#include "App/Look/Theme.h"
#include "App/Panels/ScreenColor.h"

#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr int thickness = 16;
constexpr double inset = 4; ///< so that the mark fits at both ends

} // namespace

ColorTrack::ColorTrack(ColorComponent component, Qt::Orientation orientation, QWidget* parent)
    : QSlider(orientation, parent), component_(component) {
    const ColorComponentRow& row = rowOf(component);
    setRange(0, row.maximum);
    setAccessibleName(QString::fromUtf8(row.name));
    setToolTip(accessibleName());
    setFocusPolicy(Qt::StrongFocus);
    const bool isFlat = orientation == Qt::Horizontal;
    setSizePolicy(isFlat ? QSizePolicy::Expanding : QSizePolicy::Fixed,
                  isFlat ? QSizePolicy::Fixed : QSizePolicy::Expanding);
}

QSize ColorTrack::sizeHint() const {
    return orientation() == Qt::Horizontal ? QSize(80, thickness) : QSize(thickness, 80);
}

void ColorTrack::setColor(const PickedColor& color) {
    color_ = color;
    const QSignalBlocker blocker(this);
    setValue(static_cast<int>(std::lround(componentOf(color, component_))));
    update();
}

QRectF ColorTrack::groove() const {
    const QRectF all(rect());
    return orientation() == Qt::Horizontal ? all.adjusted(inset, 3, -inset, -3)
                                           : all.adjusted(3, inset, -3, -inset);
}

double ColorTrack::share() const {
    return componentOf(color_, component_) / rowOf(component_).maximum;
}

// Each component leads along straight lines between these colours, so the gradient is exact.
QLinearGradient ColorTrack::colors() const {
    const QRectF place = groove();
    const bool isFlat = orientation() == Qt::Horizontal;
    QLinearGradient gradient(isFlat ? place.topLeft() : place.bottomLeft(),
                             isFlat ? place.topRight() : place.topLeft());
    const int parts = component_ == ColorComponent::hue ? 6 : 1;
    PickedColor color = color_;
    // Beside the square the strip is there to find a hue: pure ones, whatever the colour.
    if (component_ == ColorComponent::hue && !isFlat) color.setHsb({0, 1, 1});
    for (int i = 0; i <= parts; ++i) {
        const double at = static_cast<double>(i) / parts;
        const double value = at * rowOf(component_).maximum;
        gradient.setColorAt(at, colorOf(withComponent(color, component_, value).rgb()));
    }
    return gradient;
}

void ColorTrack::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF place = groove();
    painter.setPen(Theme::color(hasFocus() ? ThemeColor::accent : ThemeColor::edge));
    painter.setBrush(isEnabled() ? QBrush(colors()) : QBrush(Theme::color(ThemeColor::window)));
    painter.drawRoundedRect(place.adjusted(-0.5, -0.5, 0.5, 0.5), Spacing::hair, Spacing::hair);
    if (!isEnabled()) return;
    QRectF mark;
    if (orientation() == Qt::Horizontal) {
        const double x = place.left() + share() * place.width();
        mark = {x - 3, place.top() - 2.5, 6, place.height() + 5};
    } else {
        const double y = place.bottom() - share() * place.height();
        mark = {place.left() - 2.5, y - 3, place.width() + 5, 6};
    }
    // Seen on every colour.
    painter.setBrush(colorOf(color_.rgb()));
    painter.setPen(QPen(Qt::black, 3));
    painter.drawRoundedRect(mark, Spacing::hair, Spacing::hair);
    painter.setPen(QPen(Qt::white, 1.5));
    painter.drawRoundedRect(mark, Spacing::hair, Spacing::hair);
}

void ColorTrack::take(QPointF at) {
    const QRectF place = groove();
    const double part = orientation() == Qt::Horizontal
                            ? (at.x() - place.left()) / place.width()
                            : (place.bottom() - at.y()) / place.height();
    if (onMove) onMove(std::clamp(part, 0.0, 1.0) * rowOf(component_).maximum);
}

void ColorTrack::moveBy(double steps) {
    const double value = std::round(componentOf(color_, component_)) + steps;
    if (onMove) onMove(std::clamp<double>(value, 0, rowOf(component_).maximum));
    if (onRelease) onRelease();
}

void ColorTrack::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) take(event->position());
}

void ColorTrack::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) != 0) take(event->position());
}

void ColorTrack::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && onRelease) onRelease();
}

void ColorTrack::keyPressEvent(QKeyEvent* event) {
    const int step = (event->modifiers() & Qt::ShiftModifier) != 0 ? 10 : 1;
    switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Up:
        return moveBy(step);
    case Qt::Key_Left:
    case Qt::Key_Down:
        return moveBy(-step);
    case Qt::Key_PageUp:
        return moveBy(10);
    case Qt::Key_PageDown:
        return moveBy(-10);
    case Qt::Key_Home:
        return moveBy(-maximum());
    case Qt::Key_End:
        return moveBy(maximum());
    default:
        return QWidget::keyPressEvent(event);
    }
}

void ColorTrack::wheelEvent(QWheelEvent* event) {
    event->accept();
    if (event->angleDelta().y() != 0) moveBy(event->angleDelta().y() > 0 ? 1 : -1);
}

} // namespace ombrel
