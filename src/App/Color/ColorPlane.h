// Two components of a colour at once, to point at: saturation and brightness of one hue in a
// square, or hue and saturation of one brightness in a wheel. What it draws are the colours
// themselves. Mouse, and arrow keys by steps. Main thread only.
#pragma once

#include "App/Color/PickedColor.h"

#include <QWidget>
#include <cstdint>
#include <functional>

namespace ombrel {

class ColorPlane : public QWidget {
public:
    std::function<void(const ColorMath::Hsb& hsb)> onMove; ///< by the user
    std::function<void()> onRelease;                       ///< after a drag or a key

    enum class Kind : std::uint8_t { square, wheel };

    explicit ColorPlane(QWidget* parent = nullptr);

    Kind kind() const { return kind_; }
    void setKind(Kind kind);
    void setColor(const PickedColor& color);
    /// Where the colour that is shown lies.
    QPointF placeOf(const PickedColor& color) const;
    QSize sizeHint() const override { return {140, 110}; }
    QSize minimumSizeHint() const override { return {60, 60}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    QRectF area() const;
    void paintSquare(QPainter& painter) const;
    void paintWheel(QPainter& painter) const;
    void take(QPointF at);
    void moveBy(double across, double up);

    Kind kind_ = Kind::square;
    PickedColor color_;
};

} // namespace ombrel
