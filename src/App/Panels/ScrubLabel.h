// A label beside a number that a drag to the side changes: a pixel a step, with Shift ten at once,
// with Ctrl a tenth. The pointer says so. Main thread only.
#pragma once

#include <QLabel>
#include <functional>

namespace ombrel {

class ScrubLabel : public QLabel {
public:
    explicit ScrubLabel(const QString& text, QWidget* parent = nullptr);

    std::function<void()> onBegin;
    std::function<void(double steps)> onScrub; ///< since the beginning
    std::function<void()> onEnd;
    std::function<void()> onCancel; ///< the other button was pressed on the way

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool isDragging_ = false;
    double lastX_ = 0;
    double steps_ = 0;
};

} // namespace ombrel
