#include "App/Panels/ScrollBox.h"

#include "App/Look/Theme.h"

#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QScrollBar>

#include <algorithm>

namespace ombrel {

namespace {

bool changesByWheel(const QWidget& widget) {
    return qobject_cast<const QAbstractSpinBox*>(&widget) != nullptr ||
           qobject_cast<const QComboBox*>(&widget) != nullptr ||
           (qobject_cast<const QAbstractSlider*>(&widget) != nullptr &&
            qobject_cast<const QScrollBar*>(&widget) == nullptr);
}

} // namespace

ScrollBox::ScrollBox(int leastHeight, QWidget* parent)
    : QScrollArea(parent), leastHeight_(leastHeight) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now) { showFocus(now); });
}

void ScrollBox::setContent(QWidget* content) {
    setWidget(content);
    for (QWidget* part : content->findChildren<QWidget*>()) {
        if (!changesByWheel(*part)) continue;
        part->installEventFilter(this);
        // Else the wheel alone brings the keyboard there.
        if (part->focusPolicy() == Qt::WheelFocus) part->setFocusPolicy(Qt::StrongFocus);
    }
    updateGeometry();
}

QSize ScrollBox::sizeHint() const {
    return widget() != nullptr ? widget()->sizeHint().expandedTo(minimumSizeHint())
                               : minimumSizeHint();
}

// Room for the bar is kept always: the content would else be cut where the bar comes.
QSize ScrollBox::minimumSizeHint() const {
    if (widget() == nullptr) return {0, leastHeight_};
    const QSize needed = widget()->minimumSizeHint().expandedTo(widget()->minimumSize());
    if (needed.height() <= leastHeight_) return needed;
    return {needed.width() + verticalScrollBar()->sizeHint().width(), leastHeight_};
}

bool ScrollBox::event(QEvent* event) {
    if (event->type() == QEvent::LayoutRequest) updateGeometry();
    return QScrollArea::event(event);
}

bool ScrollBox::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Wheel || verticalScrollBar()->maximum() == 0)
        return QScrollArea::eventFilter(watched, event);
    // The toolkit lets us see what goes to the bar as well.
    const auto* part = qobject_cast<const QWidget*>(watched);
    if (part == nullptr || !changesByWheel(*part) || part->hasFocus())
        return QScrollArea::eventFilter(watched, event);
    event->ignore();
    return true;
}

// What is pressed by the mouse is seen, and must not move under it.
void ScrollBox::showFocus(QWidget* focused) {
    const bool isOurs =
        focused != nullptr && widget() != nullptr && widget()->isAncestorOf(focused);
    if (isOurs && QGuiApplication::mouseButtons() == Qt::NoButton)
        ensureWidgetVisible(focused, 0, Spacing::tight);
}

} // namespace ombrel
