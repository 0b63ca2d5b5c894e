// The name of a number, to drag: so many steps to the side change the number by as many. Main
// thread only.
#pragma once

#include <QLabel>
#include <QMouseEvent>
#include <functional>

namespace ombrel {

class ScrubLabel : public QLabel {
public:
    explicit ScrubLabel(const QString& text, QWidget* parent = nullptr) : QLabel(text, parent) {
        setCursor(Qt::SizeHorCursor);
    }

    std::function<void()> onBegin;
    std::function<void(int steps)> onScrub; ///< since the beginning
    std::function<void()> onEnd;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() != Qt::LeftButton) return;
        start_ = event->globalPosition().x();
        if (onBegin) onBegin();
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if ((event->buttons() & Qt::LeftButton) == 0 || !onScrub) return;
        const double fineness = (event->modifiers() & Qt::ShiftModifier) != 0 ? 10 : 1;
        onScrub(static_cast<int>((event->globalPosition().x() - start_) / 2 * fineness));
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton && onEnd) onEnd();
    }

private:
    double start_ = 0;
};

} // namespace ombrel
