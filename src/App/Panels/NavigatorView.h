// The whole picture small, with a frame around what the canvas shows, turned as the view is turned.
// Dragging the frame moves the view, a click elsewhere brings it there, the wheel magnifies, and so
// do keys: arrows, plus and minus. Main thread only.
#pragma once

#include "Core/RealGeometry.h"
#include "Core/ViewTransform.h"

#include <QImage>
#include <QWidget>
#include <functional>

namespace ombrel {

class NavigatorView : public QWidget {
public:
    explicit NavigatorView(QWidget* parent = nullptr);

    void setDocument(RealSize canvas); ///< in pixels
    void setPicture(const QImage& picture);
    void setView(const ViewTransform& view);

    /// Where in the view the canvas lies; empty for an empty one.
    QRectF canvasArea() const;
    QPolygonF frame() const; ///< what the canvas shows, in the view
    /// Pixels of the screen along the picture's longer side.
    int pictureSide() const;

    std::function<void(RealPoint center)> onCenter; ///< in document coordinates
    std::function<void(double factor)> onZoom;
    std::function<void()> onResize;

    QSize sizeHint() const override { return {220, 120}; }
    QSize minimumSizeHint() const override { return {80, 30}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    double scale() const; ///< points a document pixel
    QPointF viewPlaceOf(RealPoint document) const;
    void moveTo(QPointF place);
    void moveBy(double across, double down);

    RealSize canvas_;
    QImage picture_;
    ViewTransform view_;
    QPointF grip_; ///< from the frame's middle to where it was taken
};

} // namespace ombrel
