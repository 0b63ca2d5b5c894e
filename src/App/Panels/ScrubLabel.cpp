#include "App/Panels/ScrubLabel.h"

#include <QMouseEvent>

namespace ombrel {

ScrubLabel::ScrubLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setCursor(Qt::SizeHorCursor);
    setToolTip(QStringLiteral("Drag to the side to change; Shift is faster, Ctrl finer"));
}

void ScrubLabel::mousePressEvent(QMouseEvent* event) {
    if (isDragging_ && event->button() == Qt::RightButton) {
        isDragging_ = false;
        return onCancel();
    }
    if (event->button() != Qt::LeftButton) return QLabel::mousePressEvent(event);
    isDragging_ = true;
    lastX_ = event->globalPosition().x();
    steps_ = 0;
    onBegin();
}

void ScrubLabel::mouseMoveEvent(QMouseEvent* event) {
    if (!isDragging_) return;
    const bool isFast = (event->modifiers() & Qt::ShiftModifier) != 0;
    const bool isFine = (event->modifiers() & Qt::ControlModifier) != 0;
    const double x = event->globalPosition().x();
    steps_ += (x - lastX_) * (isFast ? 10 : isFine ? 0.1 : 1);
    lastX_ = x;
    onScrub(steps_);
}

void ScrubLabel::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && std::exchange(isDragging_, false)) onEnd();
}

} // namespace ombrel
