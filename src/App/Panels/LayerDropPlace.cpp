#include "App/Panels/LayerDropPlace.h"

#include "App/Look/Theme.h"
#include "App/Panels/LayerTreeModel.h"

#include <QPainter>
#include <QTreeView>

namespace ombrel {

namespace {

constexpr auto eyes = LayerTreeModel::visibilityColumn;
constexpr auto layers = LayerTreeModel::layerColumn;

bool isGroup(const QModelIndex& row) {
    return (row.flags() & Qt::ItemNeverHasChildren) == 0;
}

/// Where rows at the depth of the children of `parent` begin.
int leftOf(const QTreeView& view, QModelIndex parent) {
    int depth = 1;
    for (; parent.isValid(); parent = parent.parent())
        ++depth;
    return view.columnViewportPosition(layers) + depth * view.indentation();
}

/// The first row below all that is shown within `row`.
int bottomOf(const QTreeView& view, const QModelIndex& row) {
    return view.visualRect(row.siblingAtColumn(layers)).bottom() + 1;
}

/// The lowest child that is shown; invalid where none is.
QModelIndex lastShown(const QTreeView& view, const QModelIndex& parent) {
    for (int row = view.model()->rowCount(parent) - 1; row >= 0; --row) {
        if (!view.isRowHidden(row, parent)) return view.model()->index(row, eyes, parent);
    }
    return {};
}

LayerDropPlace between(const QTreeView& view, const QModelIndex& parent, int row, int y) {
    const int left = leftOf(view, parent);
    return {.parent = parent,
            .row = row,
            .mark = QRect(left, y, std::max(view.viewport()->width() - left, 8), 0)};
}

LayerDropPlace belowRow(const QTreeView& view, QModelIndex row, QPoint point) {
    const int y = bottomOf(view, row);
    if (view.isExpanded(row) && lastShown(view, row).isValid()) return between(view, row, 0, y);
    // The pointer left of the row leaves the groups that end here.
    while (row.parent().isValid() && lastShown(view, row.parent()) == row &&
           point.x() < leftOf(view, row.parent()))
        row = row.parent();
    return between(view, row.parent(), row.row() + 1, y);
}

QRect wholeRow(const QTreeView& view, const QModelIndex& row) {
    const QRect rect = view.visualRect(row.siblingAtColumn(layers));
    return {0, rect.top(), view.viewport()->width(), rect.height()};
}

} // namespace

LayerDropPlace LayerDropPlace::at(const QTreeView& view, QPoint point) {
    const QModelIndex row = view.indexAt(point).siblingAtColumn(eyes);
    if (!row.isValid()) {
        QModelIndex last = lastShown(view, {});
        const int rows = view.model()->rowCount();
        QModelIndex lowest = last;
        while (view.isExpanded(lowest) && lastShown(view, lowest).isValid())
            lowest = lastShown(view, lowest);
        return between(view, {}, rows, lowest.isValid() ? bottomOf(view, lowest) : 0);
    }
    const QRect rect = view.visualRect(row.siblingAtColumn(layers));
    const int depth = point.y() - rect.top();
    const int edge = isGroup(row) ? rect.height() / 4 : rect.height() / 2;
    if (depth < edge) return between(view, row.parent(), row.row(), rect.top());
    if (depth >= rect.height() - edge) return belowRow(view, row, point);
    return {.parent = row, .row = -1, .mark = wholeRow(view, row)};
}

std::optional<LayerDropPlace> LayerDropPlace::onRow(const QTreeView& view, QPoint point) {
    const QModelIndex row = view.indexAt(point).siblingAtColumn(eyes);
    if (!row.isValid()) return std::nullopt;
    return LayerDropPlace{.parent = row, .row = -1, .mark = wholeRow(view, row)};
}

void LayerDropPlace::paint(QPainter& painter) const {
    const QColor color = Theme::color(ThemeColor::accent);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 2));
    if (mark.height() > 0) {
        QColor veil = color;
        veil.setAlphaF(0.18f);
        painter.setBrush(veil);
        painter.drawRoundedRect(QRectF(mark).adjusted(1, 1, -1, -1), Spacing::corner,
                                Spacing::corner);
    } else {
        const QPointF start(mark.left() + 4, std::max(mark.top(), 3));
        painter.setBrush(Theme::color(ThemeColor::field));
        painter.drawLine(start, QPointF(mark.right(), start.y()));
        painter.drawEllipse(start, 3, 3);
    }
    painter.restore();
}

} // namespace ombrel
