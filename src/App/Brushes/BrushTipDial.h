// The tip of a brush as it lies on the canvas, within a dial: drag around it to turn it, drag its
// handles to flatten it. Arrow keys do the same. Main thread only.
#pragma once

#include "Tools/BrushSettings.h"

#include <QImage>
#include <QWidget>
#include <functional>

namespace ombrel {

class BrushTipDial : public QWidget {
public:
    explicit BrushTipDial(QWidget* parent = nullptr);

    std::function<void(double degrees)> onAngle; ///< counterclockwise, -180 to 180
    std::function<void(double)> onRoundness;     ///< a fraction

    void setTip(const BrushSettings& settings); ///< in silence
    QSize sizeHint() const override { return {72, 72}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    double radius() const;
    /// Of a place in the widget: along the axis and across it, in radii.
    QPointF alongAndAcross(QPointF place) const;
    void drag(QPointF to, bool inSteps);
    void drawTip(QPainter& painter) const;

    double angle_ = 0;
    double roundness_ = 1;
    double hardness_ = 1;
    SharedBrushTip tip_;
    QImage picture_; ///< of the tip, coverage as alpha; null: round
    enum class Grip { none, angle, roundness } grip_ = Grip::none;
};

/// The coverage of a tip as alpha; shares its bytes.
QImage coverageImage(const SharedBrushTip& tip);

} // namespace ombrel
