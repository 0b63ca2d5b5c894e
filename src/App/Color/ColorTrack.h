// A slider for one component of a colour: its track shows the colours that it leads to. Mouse,
// wheel and arrow keys as any slider, in the numbers that people see. Main thread only.
#pragma once

#include "App/Color/PickedColor.h"

#include <QLinearGradient>
#include <QSlider>
#include <functional>

namespace ombrel {

class ColorTrack : public QSlider {
public:
    std::function<void(double value)> onMove; ///< by the user, in the numbers of the component
    std::function<void()> onRelease;          ///< after a drag or a key

    ColorTrack(ColorComponent component, Qt::Orientation orientation, QWidget* parent = nullptr);

    /// The colour whose component it shows.
    void setColor(const PickedColor& color);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QRectF groove() const;
    QLinearGradient colors() const;
    double share() const; ///< where the mark is, 0 to 1
    void take(QPointF place);
    void moveBy(double steps);

    const ColorComponent component_;
    PickedColor color_;
};

} // namespace ombrel
