// Where dragged rows land: in a group, or between two rows, at the depth that the pointer says
// where groups end there. Drawn as a frame or a line that begins at that depth. Main thread only.
#pragma once

#include <QModelIndex>
#include <QRect>
#include <optional>

class QPainter;
class QTreeView;

namespace ombrel {

struct LayerDropPlace {
    QModelIndex parent; ///< invalid: the root
    int row = -1;       ///< among its rows, from the top; -1: on top, or below all of the root
    QRect mark;         ///< in the viewport; without height it is a line

    bool operator==(const LayerDropPlace&) const = default;

    static LayerDropPlace at(const QTreeView& view, QPoint point);
    /// On the row itself, as masks are dropped; absent beside all rows.
    static std::optional<LayerDropPlace> onRow(const QTreeView& view, QPoint point);

    void paint(QPainter& painter) const;
};

} // namespace ombrel
