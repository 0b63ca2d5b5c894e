#include "App/Color/SwatchView.h"

#include "App/Color/SwatchListModel.h"
#include "App/Look/Theme.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <utility>

namespace ombrel {

namespace {

class SwatchDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const QRect square = option.rect.adjusted(1, 1, -1, -1);
        const bool isMarked =
            (option.state & (QStyle::State_Selected | QStyle::State_MouseOver)) != 0;
        painter->fillRect(square, Theme::color(isMarked ? ThemeColor::accent : ThemeColor::edge));
        const int border = isMarked ? 2 : 1;
        painter->fillRect(square.adjusted(border, border, -border, -border),
                          index.data(Qt::BackgroundRole).value<QColor>());
    }
    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
        return {SwatchView::cell, SwatchView::cell};
    }
};

} // namespace

SwatchView::SwatchView(SwatchListModel* model, QWidget* parent) : QListView(parent) {
    setModel(model);
    setItemDelegate(new SwatchDelegate(this));
    setFlow(LeftToRight);
    setWrapping(true);
    setResizeMode(Adjust);
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setEditTriggers(NoEditTriggers);
    setDragDropMode(InternalMove);
    setDefaultDropAction(Qt::MoveAction);
    setMinimumHeight(cell);
    viewport()->setAutoFillBackground(false); // stands on the panel itself
}

void SwatchView::mouseReleaseEvent(QMouseEvent* event) {
    QListView::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton || std::exchange(wasDragged_, false)) return;
    choose(indexAt(event->position().toPoint()), event->modifiers());
}

void SwatchView::startDrag(Qt::DropActions actions) {
    wasDragged_ = true;
    QListView::startDrag(actions);
    wasDragged_ = false; // the release went to the drag
}

const std::function<void()>* SwatchView::actionOf(const QKeyEvent& key) const {
    if (key.modifiers() != Qt::NoModifier) return nullptr;
    if (key.key() == Qt::Key_Delete && onRemove) return &onRemove;
    return key.key() == Qt::Key_F2 && onRename ? &onRename : nullptr;
}

// While the keyboard is here, Delete is not the window's, which deletes layers with it.
bool SwatchView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride &&
        actionOf(static_cast<const QKeyEvent&>(*event)) != nullptr) {
        event->accept();
        return true;
    }
    return QListView::event(event);
}

void SwatchView::keyPressEvent(QKeyEvent* event) {
    if (const auto* action = actionOf(*event)) return (*action)();
    const bool isChoice = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                          event->key() == Qt::Key_Space;
    if (!isChoice) return QListView::keyPressEvent(event);
    choose(currentIndex(), event->modifiers());
}

void SwatchView::choose(const QModelIndex& index, Qt::KeyboardModifiers modifiers) {
    if (index.isValid() && onChoose) onChoose(index.row(), (modifiers & Qt::AltModifier) != 0);
}

} // namespace ombrel
