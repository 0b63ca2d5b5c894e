#include "App/Brushes/BrushTipDial.h"

#include "App/Brushes/BrushPreviews.h"
#include "App/Look/Theme.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

constexpr double degreesPerRadian = 180 / std::numbers::pi;
constexpr double handle = 3.5;    ///< radius on the screen
constexpr double handleReach = 8; ///< how near a press must be
constexpr double angleStep = 15;  ///< degrees, with Shift
constexpr double roundnessStep = 0.05;

double wrapped(double degrees) {
    const double turned = std::remainder(degrees, 360);
    return turned <= -180 ? 180 : turned;
}

} // namespace

QImage coverageImage(const SharedBrushTip& tip) {
    auto* const kept = new SharedBrushTip(tip); // until the last copy of the image is gone
    return QImage(
        tip->bytes.data(), static_cast<int>(tip->width), static_cast<int>(tip->height),
        static_cast<qsizetype>(tip->width), QImage::Format_Alpha8,
        [](void* holder) { delete static_cast<SharedBrushTip*>(holder); }, kept);
}

BrushTipDial::BrushTipDial(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::TabFocus);
    setObjectName(QStringLiteral("brushDial"));
    setAccessibleName(QStringLiteral("Angle and roundness"));
    setAccessibleDescription(
        QStringLiteral("Left and right turn the tip, up and down make it rounder or flatter"));
    setToolTip(QStringLiteral("Drag around to turn the tip, drag a handle to flatten it"));
    setFixedSize(sizeHint());
}

void BrushTipDial::setTip(const BrushSettings& settings) {
    if (tip_ != settings.tipImage) {
        tip_ = settings.tipImage;
        picture_ = QImage();
        if (tip_)
            picture_ =
                coverageImage(tip_).scaled(160, 160, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    }
    angle_ = settings.angle;
    roundness_ = settings.roundness;
    hardness_ = settings.hardness;
    update();
}

double BrushTipDial::radius() const {
    return width() / 2.0 - handle - 2;
}

QPointF BrushTipDial::alongAndAcross(QPointF place) const {
    const QPointF from = (place - QPointF(width(), height()) / 2) / radius();
    const double turn = -angle_ / degreesPerRadian; // clockwise on the screen
    return {from.x() * std::cos(turn) + from.y() * std::sin(turn),
            from.y() * std::cos(turn) - from.x() * std::sin(turn)};
}

void BrushTipDial::drawTip(QPainter& painter) const {
    const QColor color = Theme::color(isEnabled() ? ThemeColor::text : ThemeColor::disabledText);
    const double side = radius() * 0.94;
    painter.scale(1, roundness_);
    if (!picture_.isNull()) {
        const QSizeF size = QSizeF(picture_.size()).scaled(2 * side, 2 * side, Qt::KeepAspectRatio);
        painter.drawImage(QRectF(QPointF(-size.width() / 2, -size.height() / 2), size),
                          tinted(picture_, color, 1));
        return;
    }
    QRadialGradient falloff(0, 0, side);
    QColor edge = color;
    edge.setAlpha(0);
    falloff.setColorAt(0, color);
    falloff.setColorAt(std::min(hardness_, 0.985), color);
    falloff.setColorAt(1, edge);
    painter.setBrush(falloff);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(), side, side);
}

void BrushTipDial::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.translate(width() / 2.0, height() / 2.0);
    painter.setPen(QPen(Theme::color(ThemeColor::line), 1));
    painter.setBrush(Theme::color(ThemeColor::field));
    painter.drawEllipse(QPointF(), radius(), radius());
    painter.rotate(-angle_);
    painter.save();
    drawTip(painter);
    painter.restore();

    const QColor mark = Theme::color(isEnabled() ? ThemeColor::accent : ThemeColor::disabledText);
    painter.setPen(QPen(mark, 1, Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawLine(QPointF(-radius(), 0), QPointF(radius(), 0));
    painter.setPen(QPen(mark, 1));
    painter.drawEllipse(QPointF(), radius(), radius() * roundness_);
    painter.setPen(QPen(Theme::color(ThemeColor::field), 1));
    painter.setBrush(mark);
    for (const QPointF& at : {QPointF(radius(), 0), QPointF(0, radius() * roundness_),
                              QPointF(0, -radius() * roundness_)})
        painter.drawEllipse(at, handle, handle);
    if (!hasFocus()) return;
    painter.resetTransform();
    painter.setPen(QPen(Theme::color(ThemeColor::accent), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Spacing::corner,
                            Spacing::corner);
}

void BrushTipDial::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
    const QPointF at = alongAndAcross(event->position());
    const double nearHandle = std::hypot(at.x(), std::abs(at.y()) - roundness_) * radius();
    grip_ = nearHandle <= handleReach ? Grip::roundness : Grip::angle;
    if (grip_ == Grip::angle) drag(event->position(), false);
}

void BrushTipDial::mouseMoveEvent(QMouseEvent* event) {
    drag(event->position(), (event->modifiers() & Qt::ShiftModifier) != 0);
}

void BrushTipDial::mouseReleaseEvent(QMouseEvent* /*event*/) {
    grip_ = Grip::none;
}

void BrushTipDial::drag(QPointF to, bool inSteps) {
    if (grip_ == Grip::roundness) {
        const double across = std::abs(alongAndAcross(to).y());
        if (onRoundness)
            onRoundness(std::clamp(std::round(across * 100) / 100, BrushRanges::roundness.minimum,
                                   BrushRanges::roundness.maximum));
    } else if (grip_ == Grip::angle) {
        const QPointF from = to - QPointF(width(), height()) / 2;
        if (std::hypot(from.x(), from.y()) < 2) return;
        double degrees = -std::atan2(from.y(), from.x()) * degreesPerRadian;
        degrees = inSteps ? std::round(degrees / angleStep) * angleStep : std::round(degrees);
        if (onAngle) onAngle(wrapped(degrees));
    }
}

void BrushTipDial::keyPressEvent(QKeyEvent* event) {
    const double step = (event->modifiers() & Qt::ShiftModifier) != 0 ? angleStep : 1;
    const auto turn = [&](double degrees) {
        if (onAngle) onAngle(wrapped(angle_ + degrees));
    };
    const auto flatten = [&](double by) {
        if (onRoundness)
            onRoundness(std::clamp(roundness_ + by, BrushRanges::roundness.minimum, 1.0));
    };
    switch (event->key()) {
    case Qt::Key_Left:
        return turn(step);
    case Qt::Key_Right:
        return turn(-step);
    case Qt::Key_Up:
        return flatten(roundnessStep);
    case Qt::Key_Down:
        return flatten(-roundnessStep);
    default:
        QWidget::keyPressEvent(event);
    }
}

} // namespace ombrel
