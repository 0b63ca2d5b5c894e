// Dragging rows and masks: what is dragged, where it would land, and the landing.
#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/LayerTreeModel.h"
#include "App/Panels/LayersView.h"

#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>

namespace ombrel {

namespace {

/// Alt copies, and so does the toolkit's own key.
Qt::DropAction actionOf(const QDropEvent& drop) {
    const bool isCopy = (drop.modifiers() & (Qt::AltModifier | Qt::ControlModifier)) != 0;
    return isCopy ? Qt::CopyAction : Qt::MoveAction;
}

} // namespace

void LayersView::startDrag(Qt::DropActions /*supportedActions*/) {
    const QModelIndexList rows = selectionModel()->selectedRows(LayerTreeModel::layerColumn);
    if (rows.isEmpty()) return;
    auto* drag = new QDrag(this); // deletes itself
    drag->setMimeData(pressedMask_ ? LayerTreeModel::maskData(*pressedMask_)
                                   : model_.mimeData(rows));
    drag->setPixmap(pictureOfDrag(rows, pressedMask_.has_value()));
    drag->setHotSpot({-12, 6});
    drag->exec(Qt::MoveAction | Qt::CopyAction, Qt::MoveAction);
    pressedMask_.reset();
    showDrop(std::nullopt);
}

/// A small sign with the layer's name, or how many there are.
QPixmap LayersView::pictureOfDrag(const QModelIndexList& rows, bool isMask) const {
    const QString words = isMask
                              ? QStringLiteral("Mask of %1").arg(currentIndex().data().toString())
                          : rows.size() == 1 ? rows.front().data().toString()
                                             : QStringLiteral("%1 layers").arg(rows.size());
    const QString text = fontMetrics().elidedText(words, Qt::ElideRight, 160);
    const QSize size(fontMetrics().horizontalAdvance(text) + Spacing::icon + 3 * Spacing::normal,
                     fontMetrics().height() + Spacing::normal);
    QPixmap picture(size * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::color(ThemeColor::selection));
    painter.setOpacity(0.92);
    painter.drawRoundedRect(QRect(QPoint(), size), Spacing::corner, Spacing::corner);
    const QRect place(Spacing::normal, (size.height() - Spacing::icon) / 2, Spacing::icon,
                      Spacing::icon);
    icon(isMask ? "mask" : "layers").paint(&painter, place, Qt::AlignCenter, QIcon::Selected);
    painter.setPen(Theme::color(ThemeColor::selectedText));
    painter.drawText(QRect(QPoint(place.right() + Spacing::normal, 0), size), Qt::AlignVCenter,
                     text);
    return picture;
}

std::optional<LayerDropPlace> LayersView::placeOf(const QDropEvent& drop) const {
    const QPoint point = drop.position().toPoint();
    if (const std::optional<LayerID> mask = LayerTreeModel::draggedMask(*drop.mimeData())) {
        const std::optional<LayerDropPlace> place = LayerDropPlace::onRow(*this, point);
        const bool isElsewhere =
            place && model_.indexOf(*mask).isValid() && model_.id(place->parent) != mask;
        return isElsewhere ? place : std::nullopt;
    }
    const LayerDropPlace place = LayerDropPlace::at(*this, point);
    const bool isPossible =
        model_.canDropMimeData(drop.mimeData(), actionOf(drop), place.row, 0, place.parent);
    return isPossible ? std::optional(place) : std::nullopt;
}

void LayersView::showDrop(std::optional<LayerDropPlace> place) {
    if (place == drop_) return;
    drop_ = std::move(place);
    viewport()->update();
}

// The toolkit scrolls where the pointer is near an edge, and unfolds groups it rests on.
void LayersView::dragMoveEvent(QDragMoveEvent* event) {
    QTreeView::dragMoveEvent(event);
    showDrop(placeOf(*event));
    if (!drop_) return event->ignore();
    event->setDropAction(actionOf(*event));
    event->accept();
}

void LayersView::dragLeaveEvent(QDragLeaveEvent* event) {
    showDrop(std::nullopt);
    QTreeView::dragLeaveEvent(event);
}

// What is marked moves away under the pointer; the next move of the drag marks anew.
void LayersView::scrollContentsBy(int dx, int dy) {
    QTreeView::scrollContentsBy(dx, dy);
    if (drop_) drop_->mark.translate(dx, dy);
    if (drop_) viewport()->update();
}

void LayersView::dropEvent(QDropEvent* event) {
    const std::optional<LayerDropPlace> place = placeOf(*event);
    const Qt::DropAction action = actionOf(*event);
    stopAutoScroll();
    setState(NoState);
    showDrop(std::nullopt);
    if (!place) return event->ignore();
    event->setDropAction(action);
    event->accept();
    if (const std::optional<LayerID> mask = LayerTreeModel::draggedMask(*event->mimeData()))
        return onMaskDrop(*mask, *model_.id(place->parent), action == Qt::CopyAction);
    model_.dropMimeData(event->mimeData(), action, place->row, 0, place->parent);
}

} // namespace ombrel
