// Draws overlay shapes above a picture: in pixels of the screen, so that lines are crisp at every
// scale, and in two tones, so that they show on any ground. One for each drawing.
#pragma once

#include "Core/RealGeometry.h"
#include "Tools/OverlayShape.h"

#include <QPainterPath>
#include <QPolygonF>

#include <span>
#include <vector>

class QPainter;

namespace ombrel {

class OverlayPainter {
public:
    struct View {
        AffineTransform toPixels; ///< from the document to pixels of the screen
        double pixelRatio = 1;    ///< pixels of the screen a view point
        QSizeF pixelSize;         ///< of the view
        double antsPhase = 0;     ///< how far ants have marched, in view points
    };

    /// The painter counts in view points, and is left as it was.
    OverlayPainter(QPainter& painter, const View& view);
    ~OverlayPainter();
    OverlayPainter(const OverlayPainter&) = delete;
    OverlayPainter& operator=(const OverlayPainter&) = delete;

    void paint(std::span<const OverlayShape> shapes);

private:
    using Points = OverlayShape::Points;
    enum class HandleLook { plain, active, round };

    void draw(const OverlayShape::Circle& shape);
    void draw(const OverlayShape::PaintedStroke& shape);
    void draw(const OverlayShape::Skeleton& shape);
    void draw(const OverlayShape::CenterMark& shape);
    void draw(const OverlayShape::Tip& shape);
    void draw(const OverlayShape::Rectangle& shape);
    void draw(const OverlayShape::Crop& shape);
    void draw(const OverlayShape::CropBox& shape);
    void draw(const OverlayShape::Line& shape);
    void draw(const OverlayShape::Crosshair& shape);
    void draw(const OverlayShape::TransformBox& shape);
    void draw(const OverlayShape::Path& shape);
    void draw(const OverlayShape::EditedPath& shape);
    void draw(const OverlayShape::Selection& shape);
    void draw(const OverlayShape::Readout& shape);
    void draw(const OverlayShape::Lasso& shape);
    void draw(const OverlayShape::Regions& shape);
    void draw(const OverlayShape::Mask& shape);
    void draw(const OverlayShape::PromptPoint& shape);
    void draw(const OverlayShape::Handles& shape);

    QPointF pixel(RealPoint point) const;
    QPointF crisp(RealPoint point) const; ///< in the middle of a pixel
    QPolygonF polygon(const Points& points) const;
    QPolygonF polygon(const RealRect& rect) const;
    QPainterPath pathOf(const VectorPath& path) const;
    double points(double count) const { return count * view_.pixelRatio; }

    void outline(const QPainterPath& path);
    void outline(const QPolygonF& polygon, bool isClosed = true);
    void ants(const QPainterPath& path);
    void handle(QPointF at, HandleLook look);
    void boxHandles(const QPolygonF& corners);
    void brushed(const QPolygonF& line, double radius, double alpha);
    void dimOutside(const QPolygonF& inside);
    void drawAnchors(const VectorPath& path, std::span<const PathNodeRef> selected);

    QPainter& painter_;
    const View view_;
    double scale_; ///< pixels of the screen a document pixel
    double turn_;  ///< radians
    double line_;  ///< a thin line's width in pixels, whole
};

} // namespace ombrel
