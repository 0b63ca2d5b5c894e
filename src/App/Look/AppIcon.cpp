#include "App/Look/AppIcon.h"

#include "App/Look/AppIconDrawings.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace ombrel {

namespace {

struct IconSize {
    int side;
    const char* drawing;
};

/// Small sizes have a drawing of their own, with fewer parts.
const IconSize sizes[] = {
    {16, appIconSmallDrawing},  {24, appIconSmallDrawing}, {32, appIconSmallDrawing},
    {48, appIconLargeDrawing},  {64, appIconLargeDrawing}, {128, appIconLargeDrawing},
    {256, appIconLargeDrawing},
};

QPixmap drawn(const IconSize& size) {
    QPixmap pixmap(size.side, size.side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QSvgRenderer(QByteArray(size.drawing)).render(&painter);
    return pixmap;
}

} // namespace

QIcon appIcon() {
    QIcon icon;
    for (const IconSize& size : sizes)
        icon.addPixmap(drawn(size));
    return icon;
}

} // namespace ombrel
