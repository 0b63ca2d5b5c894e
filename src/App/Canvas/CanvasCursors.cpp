#include "App/Canvas/CanvasCursors.h"

#include "App/Look/Icons.h"

#include <QIcon>
#include <QPainter>
#include <QPixmap>

#include <array>
#include <map>
#include <string_view>
#include <utility>

namespace ombrel {

namespace {

struct StockCursor {
    ToolCursor role;
    Qt::CursorShape shape;
};
constexpr std::array stockCursors{
    StockCursor{ToolCursor::arrow, Qt::ArrowCursor},
    StockCursor{ToolCursor::forbidden, Qt::ForbiddenCursor},
    StockCursor{ToolCursor::crosshair, Qt::CrossCursor},
    StockCursor{ToolCursor::none, Qt::BlankCursor},
    StockCursor{ToolCursor::move, Qt::SizeAllCursor},
    StockCursor{ToolCursor::moveCopy, Qt::DragCopyCursor},
    StockCursor{ToolCursor::handOpen, Qt::OpenHandCursor},
    StockCursor{ToolCursor::handClosed, Qt::ClosedHandCursor},
    StockCursor{ToolCursor::text, Qt::IBeamCursor},
    StockCursor{ToolCursor::wait, Qt::WaitCursor},
    StockCursor{ToolCursor::resizeHorizontal, Qt::SizeHorCursor},
    StockCursor{ToolCursor::resizeVertical, Qt::SizeVerCursor},
    StockCursor{ToolCursor::resizeRising, Qt::SizeBDiagCursor},
    StockCursor{ToolCursor::resizeFalling, Qt::SizeFDiagCursor},
};

/// Drawn from an icon; the hot spot is in twenty-fourths of its side.
struct DrawnCursor {
    ToolCursor role;
    std::string_view icon;
    int hotX;
    int hotY;
};
constexpr std::array drawnCursors{
    DrawnCursor{ToolCursor::zoomIn, "zoom-in", 11, 11},
    DrawnCursor{ToolCursor::zoomOut, "zoom-out", 11, 11},
    DrawnCursor{ToolCursor::rotate, "rotate-cw", 12, 12},
    DrawnCursor{ToolCursor::eyedropper, "pipette", 2, 22},
};

constexpr int iconSide = 24; ///< points
constexpr int halo = 1;

QPixmap tinted(const QPixmap& shape, const QColor& color) {
    QPixmap result = shape;
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), color);
    return result;
}

/// Black with a white rim, to be seen on any ground.
QCursor drawn(const DrawnCursor& cursor, double ratio) {
    const QPixmap shape = icon(cursor.icon).pixmap(QSize(iconSide, iconSide), ratio);
    const QPixmap white = tinted(shape, Qt::white);
    const QPixmap black = tinted(shape, Qt::black);
    constexpr int side = iconSide + 2 * halo;
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    for (int y = -halo; y <= halo; ++y)
        for (int x = -halo; x <= halo; ++x)
            painter.drawPixmap(halo + x, halo + y, white);
    painter.drawPixmap(halo, halo, black);
    painter.end();
    return QCursor(picture, halo + cursor.hotX * iconSide / 24, halo + cursor.hotY * iconSide / 24);
}

} // namespace

QCursor cursorOf(ToolCursor role, double devicePixelRatio) {
    for (const StockCursor& cursor : stockCursors)
        if (cursor.role == role) return QCursor(cursor.shape);
    static std::map<std::pair<ToolCursor, double>, QCursor> made;
    const auto key = std::pair(role, devicePixelRatio);
    for (const DrawnCursor& cursor : drawnCursors) {
        if (cursor.role != role) continue;
        const auto found = made.find(key);
        if (found != made.end()) return found->second;
        return made.emplace(key, drawn(cursor, devicePixelRatio)).first->second;
    }
    return QCursor(Qt::ArrowCursor);
}

} // namespace ombrel
