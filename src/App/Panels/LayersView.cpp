#include "App/Panels/LayersView.h"

#include "App/Look/Theme.h"
#include "App/Panels/ClipCursor.h"
#include "App/Panels/LayerTreeModel.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cstdlib>

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
    setDropIndicatorShown(false); // its own says more
    setAutoExpandDelay(600);
    setAutoScrollMargin(LayerDelegate::rowHeight);
    fitting_.setSingleShot(true);
    connect(&fitting_, &QTimer::timeout, this, [this] { fitIndentation(); });
    const auto fitSoon = [this] { fitting_.start(0); };
    connect(this, &QTreeView::expanded, this, fitSoon);
    connect(this, &QTreeView::collapsed, this, fitSoon);
    connect(&model, &QAbstractItemModel::rowsInserted, this, fitSoon);
    connect(&model, &QAbstractItemModel::rowsMoved, this, fitSoon);
    connect(&model, &QAbstractItemModel::rowsRemoved, this, fitSoon);
}

/// How many groups within `parent` are open in each other.
int LayersView::openDepth(const QModelIndex& parent) const {
    int depth = 0;
    for (int row = 0; row < model_.rowCount(parent); ++row) {
        const QModelIndex child = model_.index(row, LayerTreeModel::visibilityColumn, parent);
        if (model_.rowCount(child) > 0 && isExpanded(child))
            depth = std::max(depth, 1 + openDepth(child));
    }
    return depth;
}

// Groups deep in each other leave room for the names.
void LayersView::fitIndentation() {
    constexpr int roomForNames = 130;
    constexpr int least = 7;
    const int room = viewport()->width() - LayerDelegate::eyeWidth - roomForNames;
    const int fitting = std::clamp(room / (openDepth({}) + 1), least, Spacing::wide);
    if (fitting != indentation()) setIndentation(fitting);
}

void LayersView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    fitting_.start(0);
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

std::optional<LayerID> LayersView::clippableAt(QPoint point) const {
    constexpr int reach = 5;
    const QModelIndex index = indexAt(point).siblingAtColumn(LayerTreeModel::layerColumn);
    if (!index.isValid() || point.x() < LayerDelegate::eyeWidth) return std::nullopt;
    const QRect rect = visualRect(index);
    QModelIndex upper;
    QModelIndex lower;
    if (point.y() - rect.top() < reach) {
        upper = indexAbove(index);
        lower = index;
    } else if (rect.bottom() - point.y() < reach) {
        upper = index;
        lower = indexBelow(index);
    }
    const LayerNode* node = model_.node(upper);
    const bool areNeighbours = upper.isValid() && lower.isValid() &&
                               upper.parent() == lower.parent() && upper.row() + 1 == lower.row();
    if (!areNeighbours || node->pixelLayer() == nullptr) return std::nullopt;
    return node->id();
}

void LayersView::mousePressEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->pos());
    const std::optional<LayerID> id = model_.id(index);
    const Part part = partAt(event->pos());
    pressedMask_.reset();
    if (event->button() != Qt::LeftButton || !id) return QTreeView::mousePressEvent(event);
    if (part == Part::eye) {
        if ((event->modifiers() & Qt::AltModifier) != 0) return onAlone(*id);
        eyesBecome_ = !model_.node(index)->properties().isVisible;
        lastY_ = event->pos().y();
        onEyesBegin();
        return switchEyes(lastY_, lastY_);
    }
    if (pressPart(*id, part, *event)) return;
    // The toolkit, where rows can be dragged, drops rows beside this one from the selection.
    if (event->modifiers() == Qt::ControlModifier && selectionModel()->isSelected(index)) {
        constexpr auto away = QItemSelectionModel::Deselect | QItemSelectionModel::Rows;
        return selectionModel()->select(index, away);
    }
    QTreeView::mousePressEvent(event);
    const bool isPlain = event->modifiers() == Qt::NoModifier;
    if (isPlain && part != Part::none) onPart(*id, part, Qt::NoModifier);
    if (part == Part::mask) pressedMask_ = id;
}

/// Whether the press was for a part alone: it chooses no row and drags nothing.
bool LayersView::pressPart(LayerID id, Part part, const QMouseEvent& event) {
    const Qt::KeyboardModifiers modifiers = event.modifiers();
    const bool isMaskKey =
        part == Part::mask && (modifiers == Qt::ShiftModifier || modifiers == Qt::AltModifier);
    if (part == Part::lock || part == Part::link || isMaskKey) {
        // Alt on a mask may also be the beginning of a drag that copies it.
        if (modifiers == Qt::AltModifier && part == Part::mask) {
            pressedMask_ = id;
            return false;
        }
        onPart(id, part, modifiers);
        return true;
    }
    if (modifiers != Qt::AltModifier) return false;
    const std::optional<LayerID> upper = clippableAt(event.pos());
    if (upper) onClip(*upper);
    return upper.has_value();
}

void LayersView::mouseMoveEvent(QMouseEvent* event) {
    showCursor(event->pos(), event->modifiers());
    if (!eyesBecome_) return QTreeView::mouseMoveEvent(event);
    switchEyes(lastY_, event->pos().y());
    lastY_ = event->pos().y();
}

void LayersView::mouseReleaseEvent(QMouseEvent* event) {
    if (eyesBecome_) {
        eyesBecome_.reset();
        return onEyesEnd();
    }
    const bool wasClick = state() != DraggingState;
    QTreeView::mouseReleaseEvent(event);
    const std::optional<LayerID> mask = std::exchange(pressedMask_, std::nullopt);
    const bool isOnMask =
        mask && partAt(event->pos()) == Part::mask && model_.id(indexAt(event->pos())) == mask;
    if (wasClick && isOnMask && event->modifiers() == Qt::AltModifier)
        onPart(*mask, Part::mask, Qt::AltModifier);
}

// A quick drag skips rows between two events: those are switched, too.
void LayersView::switchEyes(int fromY, int toY) {
    const auto [low, high] = std::minmax(fromY, toY);
    const int end = std::min(high, viewport()->height() - 1);
    for (int y = std::max(low, 0); y <= end;) {
        const QModelIndex index = indexAt({LayerDelegate::eyeWidth / 2, y});
        if (!index.isValid()) return;
        const LayerNode* node = model_.node(index);
        if (node->properties().isVisible != *eyesBecome_) onEye(node->id(), *eyesBecome_);
        y = visualRect(index).bottom() + 1;
    }
}

void LayersView::mouseDoubleClickEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->pos());
    const Part part = partAt(event->pos());
    if (event->button() != Qt::LeftButton || !index.isValid())
        return QTreeView::mouseDoubleClickEvent(event);
    // Two quick clicks on these are two clicks.
    const bool isSwitch = part == Part::eye || part == Part::link || part == Part::mask;
    if (isSwitch || (event->modifiers() & Qt::AltModifier) != 0) return mousePressEvent(event);
    if (part == Part::name) return edit(index);
    const QModelIndex row = index.siblingAtColumn(LayerTreeModel::visibilityColumn);
    if (part == Part::thumbnail && model_.node(index)->group() != nullptr)
        setExpanded(row, !isExpanded(row));
}

void LayersView::showCursor(QPoint point, Qt::KeyboardModifiers modifiers) {
    const bool clips = modifiers == Qt::AltModifier && clippableAt(point).has_value();
    if (clips == viewport()->testAttribute(Qt::WA_SetCursor)) return;
    if (clips) {
        viewport()->setCursor(clipCursor());
    } else {
        viewport()->unsetCursor();
    }
}

void LayersView::leaveEvent(QEvent* event) {
    viewport()->unsetCursor();
    QTreeView::leaveEvent(event);
}

// Keys that the panel takes are not taken by the window's shortcuts first.
bool LayersView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && wantsKey &&
        wantsKey(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QTreeView::event(event);
}

void LayersView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Alt)
        showCursor(viewport()->mapFromGlobal(QCursor::pos()), Qt::AltModifier);
    if (onKey && onKey(*event)) return event->accept();
    // Letters and digits are the window's.
    const bool isPlain = (event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier)) == 0;
    if (isPlain && !event->text().isEmpty() && event->text().front().isPrint())
        return event->ignore();
    QTreeView::keyPressEvent(event);
}

void LayersView::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Alt) viewport()->unsetCursor();
    QTreeView::keyReleaseEvent(event);
}

// A row is marked over its whole width, the indentation included.
void LayersView::drawBranches(QPainter* painter, const QRect& rect,
                              const QModelIndex& index) const {
    if (selectionModel()->isSelected(index)) {
        painter->fillRect(rect, Theme::color(ThemeColor::selection));
    } else if (hovered_ == index.siblingAtColumn(LayerTreeModel::visibilityColumn)) {
        painter->fillRect(rect, Theme::color(ThemeColor::hovered));
    }
    QTreeView::drawBranches(painter, rect, index);
}

// Of a row that the pointer comes to or leaves, the view itself draws the cells afresh, not the
// indentation beside them.
void LayersView::followHover() {
    const QModelIndex now = viewport()->underMouse()
                                ? indexAt(viewport()->mapFromGlobal(QCursor::pos()))
                                      .siblingAtColumn(LayerTreeModel::visibilityColumn)
                                : QModelIndex();
    if (now == hovered_) return;
    for (const QModelIndex& row : {QModelIndex(hovered_), now}) {
        const QRect cell = row.isValid() ? visualRect(row) : QRect();
        if (!cell.isEmpty()) viewport()->update(0, cell.y(), viewport()->width(), cell.height());
    }
    hovered_ = now;
}

void LayersView::paintEvent(QPaintEvent* event) {
    followHover();
    QTreeView::paintEvent(event);
    if (!drop_) return;
    QPainter painter(viewport());
    drop_->paint(painter);
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

} // namespace ombrel
