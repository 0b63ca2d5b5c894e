#include "App/Panels/HistoryPanel.h"

#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/HistoryListModel.h"
#include "Editor/DocumentSession.h"

#include <QListView>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTimer>
#include <QVBoxLayout>

namespace ombrel {

namespace {

/// A row with a mark at its side where it is the present.
class HistoryDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem shifted = option;
        initStyleOption(&shifted, index);
        const bool isPresent = index.data(HistoryListModel::timeRole).toInt() ==
                               static_cast<int>(HistoryListModel::Time::present);
        shifted.state &= ~(QStyle::State_Selected | QStyle::State_HasFocus);
        if (isPresent) {
            painter->fillRect(option.rect, Theme::color(ThemeColor::selection));
            shifted.palette.setColor(QPalette::Text, Theme::color(ThemeColor::selectedText));
        } else if ((option.state & QStyle::State_MouseOver) != 0) {
            painter->fillRect(option.rect, Theme::color(ThemeColor::hovered));
        }
        shifted.state &= ~QStyle::State_MouseOver;
        const QStyle* style = option.widget->style();
        const QRect words = option.rect.adjusted(Spacing::normal, 0, -Spacing::tight, 0);
        style->drawItemText(
            painter, words, Qt::AlignVCenter | Qt::AlignLeft, shifted.palette, true,
            option.fontMetrics.elidedText(shifted.text, Qt::ElideRight, words.width()),
            QPalette::Text);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {80, option.fontMetrics.height() + Spacing::normal};
    }
};

/// The other button opens a menu and goes nowhere.
class HistoryList : public QListView {
public:
    using QListView::QListView;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) QListView::mousePressEvent(event);
    }
};

} // namespace

HistoryPanel::HistoryPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), model_(new HistoryListModel(this)),
      list_(new HistoryList(this)) {
    list_->setObjectName(QStringLiteral("historyList"));
    list_->setAccessibleName(QStringLiteral("History"));
    list_->setModel(model_);
    list_->setItemDelegate(new HistoryDelegate(list_));
    list_->setUniformItemSizes(true);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setMouseTracking(true);
    list_->setFrameShape(QFrame::NoFrame);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(list_);

    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& row) {
                if (!isFollowing_ && row.isValid()) jumpTo(row.row());
            });
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list_, &QWidget::customContextMenuRequested, this,
            [this](QPoint place) { showMenu(place); });
    historyChanges_ =
        session_->_history.observe([this](const History& history) { follow(history); });
}

HistoryPanel::~HistoryPanel() = default;

void HistoryPanel::follow(const History& history) {
    isFollowing_ = true;
    model_->follow(history);
    isFollowing_ = false;
    showPresent();
}

void HistoryPanel::showPresent() {
    isFollowing_ = true;
    const QModelIndex present = model_->index(model_->currentRow());
    list_->setCurrentIndex(present);
    list_->scrollTo(present);
    isFollowing_ = false;
}

void HistoryPanel::jumpTo(int row) {
    session_->jump(row);
    // The session may refuse, or go there in its turn: until then the mark stays where it was.
    // Later, since the view is about to make the row that was clicked the current one.
    QTimer::singleShot(0, this, [this] { showPresent(); });
}

void HistoryPanel::showMenu(QPoint place) {
    const QModelIndex index = list_->indexAt(place);
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("historyMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const QString& words, bool isPossible, auto run) {
        menu->addAction(words, this, run)->setEnabled(isPossible);
    };
    const int row = index.row();
    add(QStringLiteral("Go to This State"), index.isValid() && row != model_->currentRow(),
        [this, row] { jumpTo(row); });
    menu->addSeparator();
    add(QStringLiteral("Undo"), session_->canUndo(), [this] { session_->undo(); });
    add(QStringLiteral("Redo"), session_->canRedo(), [this] { session_->redo(); });
    menu->popup(list_->viewport()->mapToGlobal(place));
}

} // namespace ombrel
