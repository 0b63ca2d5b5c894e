#include "App/Panels/LayersView.h"

#include "App/Look/Theme.h"
#include "App/Panels/LayerTreeModel.h"

#include <QDropEvent>
#include <QHeaderView>
#include <QPainter>
#include <algorithm>

namespace ombrel {

using Part = LayerDelegate::Part;

LayersView::LayersView(LayerTreeModel& model, const LayerDelegate& delegate, QWidget* parent)
    : QTreeView(parent), model_(model), delegate_(delegate) {
    setModel(&model);
    setTreePosition(LayerTreeModel::layerColumn);
    setHeaderHidden(true);
    header()->setMinimumSectionSize(LayerDelegate::eyeWidth);
    header()->setSectionResizeMode(LayerTreeModel::visibilityColumn, QHeaderView::Fixed);
    header()->resizeSection(LayerTreeModel::visibilityColumn, LayerDelegate::eyeWidth);
    header()->setStretchLastSection(true);
    setIndentation(Spacing::wide);
    setUniformRowHeights(true);
    setMouseTracking(true);
    setFrameShape(QFrame::NoFrame);
    setExpandsOnDoubleClick(false);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::EditKeyPressed);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
    setAutoExpandDelay(600);
}

// Letters choose tools, not layers.
void LayersView::keyboardSearch(const QString& /*search*/) {}

// A group's eye shows on all rows inside it, so all that is in view is drawn again.
void LayersView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                             const QList<int>& roles) {
    QTreeView::dataChanged(topLeft, bottomRight, roles);
    viewport()->update();
}

Part LayersView::partAt(QPoint point) const {
    const QModelIndex index = indexAt(point);
    return delegate_.partAt(index, visualRect(index), point);
}

void LayersView::mousePressEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->pos());
    const std::optional<LayerID> id = model_.id(index);
    const Part part = partAt(event->pos());
    if (event->button() != Qt::LeftButton || !id) return QTreeView::mousePressEvent(event);
    if (part == Part::eye) {
        eyesBecome_ = !model_.node(index)->properties().isVisible;
        lastY_ = event->pos().y();
        if (onEyesBegin) onEyesBegin();
        return switchEyes(lastY_, lastY_);
    }
    // The toolkit, where rows can be dragged, drops rows beside this one from the selection.
    if (event->modifiers() == Qt::ControlModifier && selectionModel()->isSelected(index)) {
        constexpr auto away = QItemSelectionModel::Deselect | QItemSelectionModel::Rows;
        return selectionModel()->select(index, away);
    }
    if (part != Part::lock) QTreeView::mousePressEvent(event);
    if (onPart && part != Part::none && event->modifiers() == Qt::NoModifier) onPart(*id, part);
}

void LayersView::mouseMoveEvent(QMouseEvent* event) {
    if (!eyesBecome_) return QTreeView::mouseMoveEvent(event);
    switchEyes(lastY_, event->pos().y());
    lastY_ = event->pos().y();
}

void LayersView::mouseReleaseEvent(QMouseEvent* event) {
    if (!eyesBecome_) return QTreeView::mouseReleaseEvent(event);
    eyesBecome_.reset();
    if (onEyesEnd) onEyesEnd();
}

// A quick drag skips rows between two events: those are switched, too.
void LayersView::switchEyes(int fromY, int toY) {
    const auto [low, high] = std::minmax(fromY, toY);
    const int end = std::min(high, viewport()->height() - 1);
    for (int y = std::max(low, 0); y <= end;) {
        const QModelIndex index = indexAt({LayerDelegate::eyeWidth / 2, y});
        if (!index.isValid()) return;
        const LayerNode* node = model_.node(index);
        if (node->properties().isVisible != *eyesBecome_ && onEye) onEye(node->id(), *eyesBecome_);
        y = visualRect(index).bottom() + 1;
    }
}

void LayersView::mouseDoubleClickEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->pos());
    const Part part = partAt(event->pos());
    if (event->button() != Qt::LeftButton || !index.isValid())
        return QTreeView::mouseDoubleClickEvent(event);
    if (part == Part::eye) return mousePressEvent(event); // two quick clicks are two clicks
    if (part == Part::name) return edit(index);
    const QModelIndex row = index.siblingAtColumn(LayerTreeModel::visibilityColumn);
    if (part == Part::thumbnail && model_.node(index)->group() != nullptr)
        setExpanded(row, !isExpanded(row));
}

void LayersView::keyPressEvent(QKeyEvent* event) {
    if (onKey && onKey(*event)) return event->accept();
    // Letters and digits are the window's.
    const bool isPlain = (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0;
    if (isPlain && !event->text().isEmpty() && event->text().front().isPrint())
        return event->ignore();
    QTreeView::keyPressEvent(event);
}

// A chosen row is marked over its whole width, the indentation included.
void LayersView::drawBranches(QPainter* painter, const QRect& rect,
                              const QModelIndex& index) const {
    if (selectionModel()->isSelected(index))
        painter->fillRect(rect, Theme::color(ThemeColor::selection));
    QTreeView::drawBranches(painter, rect, index);
}

// Shift takes the range and nothing beside it.
QItemSelectionModel::SelectionFlags LayersView::selectionCommand(const QModelIndex& index,
                                                                 const QEvent* event) const {
    auto command = QTreeView::selectionCommand(index, event);
    if (event == nullptr || command == QItemSelectionModel::NoUpdate || !event->isInputEvent())
        return command;
    if (static_cast<const QInputEvent*>(event)->modifiers() == Qt::ShiftModifier)
        command |= QItemSelectionModel::Clear;
    return command;
}

void LayersView::dropEvent(QDropEvent* event) {
    const QModelIndex index =
        indexAt(event->position().toPoint()).siblingAtColumn(LayerTreeModel::visibilityColumn);
    QModelIndex parent = index.parent();
    int row = index.row();
    switch (dropIndicatorPosition()) {
    case AboveItem:
        break;
    case BelowItem:
        // Below an open group is within it, as the line shows.
        if (isExpanded(index) && model_.rowCount(index) > 0) {
            parent = index;
            row = 0;
        } else {
            ++row;
        }
        break;
    case OnItem:
        parent = index;
        row = -1;
        break;
    case OnViewport:
        parent = {};
        row = -1;
    }
    if (model_.dropMimeData(event->mimeData(), event->dropAction(), row, 0, parent)) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
    stopAutoScroll();
    setState(NoState);
    viewport()->update();
}

} // namespace ombrel
