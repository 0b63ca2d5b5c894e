#include "App/Canvas/OverlayPainter.h"

#include "App/Canvas/CropGuides.h"
#include "App/Look/QtText.h"

#include <QFontMetricsF>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

// Tones that hold on any picture, whatever the theme.
const QColor light(255, 255, 255);
const QColor dark(0, 0, 0, 150);
const QColor faintLight(255, 255, 255, 190);
const QColor faintDark(0, 0, 0, 70);
const QColor accent(61, 139, 255);
const QColor painted(255, 64, 64);
const QColor dimmed(0, 0, 0, 130);
const QColor positive(52, 199, 89);
const QColor negative(255, 69, 58);

constexpr double antLength = 4;      ///< view points
constexpr double handleSide = 7;     ///< view points
constexpr double crossLength = 8;    ///< view points, from the middle
constexpr double promptRadius = 7;   ///< view points
constexpr double readoutOffset = 18; ///< view points right of and below the pointer

} // namespace

OverlayPainter::OverlayPainter(QPainter& painter, const View& view)
    : painter_(painter), view_(view), scale_(std::hypot(view.toPixels.a, view.toPixels.b)),
      turn_(std::atan2(view.toPixels.b, view.toPixels.a)),
      line_(std::max(std::round(view.pixelRatio), 1.0)) {
    painter_.save();
    painter_.scale(1 / view.pixelRatio, 1 / view.pixelRatio);
    painter_.setRenderHint(QPainter::Antialiasing);
}

OverlayPainter::~OverlayPainter() {
    painter_.restore();
}

void OverlayPainter::paint(std::span<const OverlayShape> shapes) {
    for (const OverlayShape& shape : shapes)
        std::visit([this](const auto& each) { draw(each); }, shape.value);
}

QPointF OverlayPainter::pixel(RealPoint point) const {
    const AffineTransform& map = view_.toPixels;
    return {map.a * point.x + map.c * point.y + map.tx, map.b * point.x + map.d * point.y + map.ty};
}

QPointF OverlayPainter::crisp(RealPoint point) const {
    const QPointF place = pixel(point);
    // A line of an odd number of pixels lies in their middle, others between pixels.
    const double shift = std::fmod(line_, 2) == 1 ? 0.5 : 0;
    return {std::floor(place.x()) + shift, std::floor(place.y()) + shift};
}

QPolygonF OverlayPainter::polygon(const Points& points) const {
    QPolygonF result;
    for (const RealPoint& point : points)
        result.append(crisp(point));
    return result;
}

QPolygonF OverlayPainter::polygon(const RealRect& rect) const {
    const double right = rect.origin.x + rect.size.width;
    const double bottom = rect.origin.y + rect.size.height;
    return polygon(
        Points{rect.origin, {right, rect.origin.y}, {right, bottom}, {rect.origin.x, bottom}});
}

QPainterPath OverlayPainter::pathOf(const VectorPath& path) const {
    QPainterPath result;
    for (const Subpath& subpath : path.subpaths) {
        const auto& anchors = subpath.anchors;
        if (anchors.empty()) continue;
        result.moveTo(pixel(anchors.front().point));
        const std::size_t segments = subpath.isClosed ? anchors.size() : anchors.size() - 1;
        for (std::size_t i = 0; i < segments; ++i) {
            const PathAnchor& to = anchors[(i + 1) % anchors.size()];
            result.cubicTo(pixel(anchors[i].outHandle), pixel(to.inHandle), pixel(to.point));
        }
    }
    return result;
}

// A light line on a broader dark one.
void OverlayPainter::outline(const QPainterPath& path) {
    painter_.setBrush(Qt::NoBrush);
    painter_.setPen(QPen(dark, 3 * line_));
    painter_.drawPath(path);
    painter_.setPen(QPen(light, line_));
    painter_.drawPath(path);
}

void OverlayPainter::outline(const QPolygonF& polygon, bool isClosed) {
    QPainterPath path;
    path.addPolygon(polygon);
    if (isClosed) path.closeSubpath();
    outline(path);
}

// Dark dashes march over a light line.
void OverlayPainter::ants(const QPainterPath& path) {
    painter_.setBrush(Qt::NoBrush);
    painter_.setPen(QPen(light, line_));
    painter_.drawPath(path);
    QPen dashes(Qt::black, line_);
    dashes.setCapStyle(Qt::FlatCap);
    // Counted in widths of the pen.
    const double length = points(antLength) / line_;
    dashes.setDashPattern({length, length});
    dashes.setDashOffset(-points(view_.antsPhase) / line_);
    painter_.setPen(dashes);
    painter_.drawPath(path);
}

void OverlayPainter::handle(QPointF at, HandleLook look) {
    const double half = std::floor(points(handleSide) / 2) + 0.5 * std::fmod(line_, 2);
    const QRectF square(at.x() - half, at.y() - half, 2 * half, 2 * half);
    painter_.setPen(QPen(look == HandleLook::active ? light : accent, line_));
    painter_.setBrush(look == HandleLook::active ? accent : light);
    if (look == HandleLook::round) {
        painter_.drawEllipse(square);
    } else {
        painter_.drawRect(square);
    }
}

void OverlayPainter::boxHandles(const QPolygonF& corners) {
    for (qsizetype i = 0; i < corners.size(); ++i) {
        const QPointF next = corners[(i + 1) % corners.size()];
        handle((corners[i] + next) / 2, HandleLook::plain);
    }
    for (const QPointF& corner : corners)
        handle(corner, HandleLook::plain);
}

void OverlayPainter::brushed(const QPolygonF& line, double radius, double alpha) {
    QColor color = painted;
    color.setAlphaF(static_cast<float>(alpha));
    const double width = std::max(2 * radius * scale_, line_);
    painter_.setBrush(Qt::NoBrush);
    painter_.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    if (line.size() == 1) {
        painter_.drawPoint(line.front());
    } else {
        painter_.drawPolyline(line);
    }
}

void OverlayPainter::dimOutside(const QPolygonF& inside) {
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    path.addRect(QRectF(QPointF(0, 0), view_.pixelSize));
    path.addPolygon(inside);
    path.closeSubpath();
    painter_.setPen(Qt::NoPen);
    painter_.setBrush(dimmed);
    painter_.drawPath(path);
}

void OverlayPainter::draw(const OverlayShape::Circle& shape) {
    QPainterPath path;
    path.addEllipse(pixel(shape.center), shape.radius * scale_, shape.radius * scale_);
    outline(path);
}

void OverlayPainter::draw(const OverlayShape::PaintedStroke& shape) {
    brushed(polygon(shape.points), shape.radius, 0.45);
}

void OverlayPainter::draw(const OverlayShape::Skeleton& shape) {
    const double pulse = 0.35 + 0.15 * std::sin(2 * std::numbers::pi * shape.phase);
    for (const Points& line : shape.stroke)
        brushed(polygon(line), shape.radius, pulse);
    for (const Points& each : shape.outlines)
        outline(polygon(each));
}

void OverlayPainter::draw(const OverlayShape::CenterMark& shape) {
    const QPointF at = crisp(shape.point);
    const double reach = std::round(points(crossLength / 2));
    QPainterPath path;
    path.moveTo(at.x() - reach, at.y());
    path.lineTo(at.x() + reach, at.y());
    path.moveTo(at.x(), at.y() - reach);
    path.lineTo(at.x(), at.y() + reach);
    outline(path);
}

void OverlayPainter::draw(const OverlayShape::Tip& shape) {
    QPainterPath ellipse;
    ellipse.addEllipse(QPointF(), shape.radius * scale_, shape.radius * shape.roundness * scale_);
    QTransform place;
    const QPointF center = pixel(shape.center);
    place.translate(center.x(), center.y());
    place.rotateRadians(shape.angle + turn_);
    outline(place.map(ellipse));
}

void OverlayPainter::draw(const OverlayShape::Rectangle& shape) {
    outline(polygon(shape.rect));
}

void OverlayPainter::draw(const OverlayShape::Crop& shape) {
    const QPolygonF inside = polygon(shape.rect);
    dimOutside(inside);
    outline(inside);
}

void OverlayPainter::draw(const OverlayShape::CropBox& shape) {
    if (shape.points.empty()) return;
    const QPolygonF box = polygon(shape.points);
    dimOutside(box);
    if (box.size() == 4) {
        painter_.setBrush(Qt::NoBrush);
        const auto within = [&](RealPoint at) {
            const QPointF top = box[0] + (box[1] - box[0]) * at.x;
            const QPointF bottom = box[3] + (box[2] - box[3]) * at.x;
            return top + (bottom - top) * at.y;
        };
        for (const auto& guide : cropGuides(shape.guides)) {
            QPolygonF line;
            for (const RealPoint& point : guide)
                line.append(within(point));
            painter_.setPen(QPen(faintDark, 3 * line_));
            painter_.drawPolyline(line);
            painter_.setPen(QPen(faintLight, line_));
            painter_.drawPolyline(line);
        }
    }
    outline(box);
    boxHandles(box);
}

void OverlayPainter::draw(const OverlayShape::Line& shape) {
    outline(QPolygonF{crisp(shape.from), crisp(shape.to)}, false);
}

void OverlayPainter::draw(const OverlayShape::Crosshair& shape) {
    const QPointF at = crisp(shape.point);
    const double reach = std::round(points(crossLength));
    const double gap = std::round(points(2));
    QPainterPath path;
    for (const QPointF& way : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)}) {
        path.moveTo(at + way * gap);
        path.lineTo(at + way * reach);
    }
    outline(path);
}

void OverlayPainter::draw(const OverlayShape::TransformBox& shape) {
    const QPolygonF box = polygon(shape.points);
    outline(box);
    boxHandles(box);
    if (shape.pivot) {
        handle(crisp(*shape.pivot), HandleLook::round);
        draw(OverlayShape::CenterMark{*shape.pivot});
    }
}

void OverlayPainter::drawAnchors(const VectorPath& path, std::span<const PathNodeRef> selected) {
    const auto lookOf = [&](std::size_t subpath, std::size_t anchor, PathNodeRef::Part part) {
        const PathNodeRef ref{static_cast<std::int64_t>(subpath), static_cast<std::int64_t>(anchor),
                              part};
        return std::ranges::find(selected, ref) != selected.end();
    };
    using Part = PathNodeRef::Part;
    for (std::size_t s = 0; s < path.subpaths.size(); ++s) {
        const auto& anchors = path.subpaths[s].anchors;
        for (std::size_t a = 0; a < anchors.size(); ++a) {
            const bool isChosen = lookOf(s, a, Part::anchor) || lookOf(s, a, Part::inHandle) ||
                                  lookOf(s, a, Part::outHandle);
            const PathAnchor& anchor = anchors[a];
            for (const auto& [place, part] : {std::pair(anchor.inHandle, Part::inHandle),
                                              std::pair(anchor.outHandle, Part::outHandle)}) {
                if (!isChosen || place == anchor.point) continue;
                outline(QPolygonF{pixel(anchor.point), pixel(place)}, false);
                handle(crisp(place), lookOf(s, a, part) ? HandleLook::active : HandleLook::round);
            }
            handle(crisp(anchor.point), isChosen ? HandleLook::active : HandleLook::plain);
        }
    }
}

void OverlayPainter::draw(const OverlayShape::Path& shape) {
    outline(pathOf(shape.path));
    const std::vector<PathNodeRef> selected =
        shape.selected ? std::vector{*shape.selected} : std::vector<PathNodeRef>{};
    drawAnchors(shape.path, selected);
}

void OverlayPainter::draw(const OverlayShape::EditedPath& shape) {
    outline(pathOf(shape.path));
    drawAnchors(shape.path, shape.selected);
}

void OverlayPainter::draw(const OverlayShape::Selection& shape) {
    QPainterPath path;
    path.addPolygon(polygon(shape.rect));
    path.closeSubpath();
    ants(path);
}

void OverlayPainter::draw(const OverlayShape::Readout& shape) {
    QFont font = painter_.font();
    font.setPixelSize(static_cast<int>(std::round(points(12))));
    const QFontMetricsF metrics(font);
    const QString text = toQt(shape.text);
    const double margin = points(6);
    QRectF box(QPointF(),
               QSizeF(metrics.horizontalAdvance(text) + 2 * margin, metrics.height() + margin));
    QPointF at = pixel(shape.at) + QPointF(points(readoutOffset), points(readoutOffset));
    at.setX(std::clamp(at.x(), 0.0, std::max(view_.pixelSize.width() - box.width(), 0.0)));
    at.setY(std::clamp(at.y(), 0.0, std::max(view_.pixelSize.height() - box.height(), 0.0)));
    box.moveTopLeft(at.toPoint());
    painter_.setPen(Qt::NoPen);
    painter_.setBrush(QColor(20, 20, 22, 210));
    painter_.drawRoundedRect(box, points(3), points(3));
    painter_.setFont(font);
    painter_.setPen(light);
    painter_.drawText(box, Qt::AlignCenter, text);
}

void OverlayPainter::draw(const OverlayShape::Lasso& shape) {
    QPainterPath path;
    path.addPolygon(polygon(shape.points));
    if (shape.closed) path.closeSubpath();
    ants(path);
}

void OverlayPainter::draw(const OverlayShape::Regions& shape) {
    for (std::size_t i = 0; i < shape.outlines.size(); ++i) {
        QPainterPath path;
        for (const Points& loop : shape.outlines[i]) {
            path.addPolygon(polygon(loop));
            path.closeSubpath();
        }
        if (shape.highlighted == static_cast<std::int64_t>(i)) {
            QColor fill = accent;
            fill.setAlpha(90);
            painter_.fillPath(path, fill);
        }
        outline(path);
    }
}

void OverlayPainter::draw(const OverlayShape::Mask& shape) {
    const MaskPreview& mask = *shape.preview;
    const auto width = static_cast<int>(mask.width);
    const auto height = static_cast<int>(mask.height);
    if (width <= 0 || height <= 0 ||
        mask.image.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        return;
    const QImage image(reinterpret_cast<const uchar*>(mask.image.data()), width, height, width * 4,
                       QImage::Format_ARGB32_Premultiplied);
    const AffineTransform& map = view_.toPixels;
    painter_.save();
    painter_.setTransform(QTransform(map.a, map.b, map.c, map.d, map.tx, map.ty) *
                          painter_.transform());
    painter_.setRenderHint(QPainter::SmoothPixmapTransform, scale_ * mask.area.size.width < width);
    painter_.drawImage(
        QRectF(mask.area.origin.x, mask.area.origin.y, mask.area.size.width, mask.area.size.height),
        image);
    painter_.restore();
}

void OverlayPainter::draw(const OverlayShape::PromptPoint& shape) {
    const QPointF at = crisp(shape.point);
    const double radius = std::round(points(promptRadius));
    const double arm = std::round(points(promptRadius / 2));
    painter_.setPen(QPen(light, 2 * line_));
    painter_.setBrush(shape.positive ? positive : negative);
    painter_.drawEllipse(at, radius, radius);
    painter_.drawLine(at - QPointF(arm, 0), at + QPointF(arm, 0));
    if (shape.positive) painter_.drawLine(at - QPointF(0, arm), at + QPointF(0, arm));
}

void OverlayPainter::draw(const OverlayShape::Handles& shape) {
    const QPolygonF places = polygon(shape.points);
    if (shape.connected) outline(places, false);
    for (qsizetype i = 0; i < places.size(); ++i)
        handle(places[i], shape.active == i ? HandleLook::active : HandleLook::plain);
}

} // namespace ombrel
