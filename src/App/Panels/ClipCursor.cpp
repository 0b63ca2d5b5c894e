#include "App/Panels/ClipCursor.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace ombrel {

namespace {

// An arrow bent down to a square, dark with a light rim, so that it shows on any row.
QPixmap picture() {
    constexpr int side = 24;
    const qreal scale = qGuiApp->devicePixelRatio();
    QPixmap drawn(QSize(side, side) * scale);
    drawn.setDevicePixelRatio(scale);
    drawn.fill(Qt::transparent);
    QPainterPath shape;
    shape.moveTo(17, 4);
    shape.lineTo(7, 4);
    shape.lineTo(7, 13);
    shape.moveTo(3, 9);
    shape.lineTo(7, 13);
    shape.lineTo(11, 9);
    shape.addRect(4, 16, 16, 5);
    QPainter painter(&drawn);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const auto& [color, width] : {std::pair(Qt::white, 4.5), std::pair(Qt::black, 2.0)}) {
        painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(shape);
    }
    return drawn;
}

} // namespace

const QCursor& clipCursor() {
    static const QCursor cursor(picture(), 7, 13);
    return cursor;
}

} // namespace ombrel
