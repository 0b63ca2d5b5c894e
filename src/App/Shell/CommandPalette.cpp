#include "App/Shell/CommandPalette.h"

#include "App/Canvas/CanvasView.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/WindowMenus.h"
#include "Editor/DocumentSession.h"
#include "Tools/ToolLetters.h"
#include "Tools/ToolRegistry.h"

#include <QAction>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

namespace ombrel {

namespace {

constexpr const char* objectNameOfAll = "commandPalette";
constexpr QSize largestSize(560, 420);
constexpr int rowHeight = 28;
enum Role { indexRole = Qt::UserRole };

// Where the items come from.

void addMenu(std::vector<PaletteItem>& items, const QList<QAction*>& actions, const QString& path) {
    for (QAction* action : actions) {
        const QString text = plainText(*action);
        if (action->isSeparator() || text.isEmpty()) continue;
        if (QMenu* menu = action->menu()) {
            Q_EMIT menu->aboutToShow(); // what lists something is filled only now
            addMenu(items, menu->actions(), path.isEmpty() ? text : path + " › " + text);
            continue;
        }
        if (action->objectName() == "findCommand") continue;
        const QString refusal = action->isEnabled()             ? QString()
                                : action->statusTip().isEmpty() ? "Not possible now."
                                                                : action->statusTip();
        const bool isPanel = action->objectName().startsWith("panel.");
        items.push_back({text, isPanel ? path + " › Panel" : path,
                         textOf(action->shortcuts() + plainKeysOf(*action)), refusal,
                         [action = QPointer<QAction>(action)] {
                             if (action) action->trigger();
                         }});
    }
}

void addTools(std::vector<PaletteItem>& items, DocumentSession& session) {
    for (const ToolDescription& tool : toolDescriptions) {
        if (isHidden(tool.kind)) continue;
        const Tool* made = session.toolOf(tool.kind);
        const bool isThere = made != nullptr && ToolRegistry::isAvailable(*made);
        const std::optional<char> letter = ToolLetters::of(tool.kind);
        items.push_back({toQt(tool.displayName), "Tools",
                         letter ? QString(QLatin1Char(*letter)).toUpper() : QString(),
                         isThere ? QString() : "This tool isn’t available yet.",
                         [weak = session.weak_from_this(), kind = tool.kind] {
                             if (const auto edited = weak.lock()) edited->setTool(kind);
                         }});
    }
}

// How they are found.

int scoreOfWord(const QString& text, const QString& word) {
    const qsizetype at = text.indexOf(word);
    if (at == 0) return 100;
    if (at > 0) return text[at - 1].isLetterOrNumber() ? 30 : 70;
    qsizetype from = 0;
    for (const QChar letter : word) {
        from = text.indexOf(letter, from) + 1;
        if (from == 0) return 0;
    }
    return 5;
}

/// A row: the words, where they stand in the menus, and the keys or why not.
class RowDelegate final : public QStyledItemDelegate {
public:
    RowDelegate(const std::vector<PaletteItem>& items, QObject* parent)
        : QStyledItemDelegate(parent), items_(items) {}

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
        return {0, rowHeight};
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const PaletteItem& item = items_[static_cast<std::size_t>(index.data(indexRole).toInt())];
        const bool isCurrent = (option.state & QStyle::State_Selected) != 0;
        const bool isPossible = item.refusal.isEmpty();
        if (isCurrent) painter->fillRect(option.rect, Theme::color(ThemeColor::selection));
        const QRect row = option.rect.adjusted(Spacing::normal, 0, -Spacing::normal, 0);
        const auto color = [&](ThemeColor usual) {
            return Theme::color(isCurrent ? ThemeColor::selectedText : usual);
        };
        painter->setPen(color(isPossible ? ThemeColor::text : ThemeColor::dimText));
        painter->drawText(row, Qt::AlignVCenter | Qt::AlignLeft, item.text);
        const int used = option.fontMetrics.horizontalAdvance(item.text) + Spacing::normal;
        painter->setPen(color(ThemeColor::dimText));
        const QString right = isPossible ? item.keys : item.refusal;
        painter->drawText(row, Qt::AlignVCenter | Qt::AlignRight, right);
        const int free =
            row.width() - used - option.fontMetrics.horizontalAdvance(right) - Spacing::normal;
        painter->drawText(row.adjusted(used, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                          option.fontMetrics.elidedText(item.path, Qt::ElideRight, free));
    }

private:
    const std::vector<PaletteItem>& items_;
};

} // namespace

std::optional<int> paletteScore(const PaletteItem& item, const QString& typed) {
    const QString text = item.text.toLower();
    const QString path = item.path.toLower();
    int sum = 0;
    for (const QString& word : typed.toLower().split(' ', Qt::SkipEmptyParts)) {
        const int score = std::max(scoreOfWord(text, word), scoreOfWord(path, word) / 2);
        if (score == 0) return std::nullopt;
        sum += score;
    }
    // Of equal fits the shorter one is meant, and what can be done.
    return 8 * sum - static_cast<int>(std::min<qsizetype>(text.size(), 60)) +
           (item.refusal.isEmpty() ? 40 : 0);
}

void CommandPalette::showOn(DocumentWindow& window) {
    if (auto* there = window.findChild<QWidget*>(objectNameOfAll)) {
        there->close();
        return;
    }
    std::vector<PaletteItem> items;
    addMenu(items, window.menuBar()->actions(), {});
    addTools(items, *window.session());
    (new CommandPalette(window, std::move(items)))->show();
}

CommandPalette::CommandPalette(QWidget& window, std::vector<PaletteItem> items)
    : QFrame(&window), items_(std::move(items)), field_(new QLineEdit(this)),
      list_(new QListWidget(this)) {
    setObjectName(objectNameOfAll);
    setAttribute(Qt::WA_DeleteOnClose);
    setAutoFillBackground(true);
    setFrameShape(QFrame::StyledPanel);
    field_->setObjectName("paletteField");
    field_->setPlaceholderText("Search commands, panels and tools");
    list_->setObjectName("paletteList");
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setUniformItemSizes(true);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setItemDelegate(new RowDelegate(items_, list_));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::tight, Spacing::tight, Spacing::tight, Spacing::tight);
    layout->addWidget(field_);
    layout->addWidget(list_, 1);
    connect(field_, &QLineEdit::textChanged, this, [this](const QString& text) { search(text); });
    connect(list_, &QListWidget::itemClicked, this, [this] { runCurrent(); });
    field_->installEventFilter(this);
    window.installEventFilter(this);
    search({});
    place();
    field_->setFocus();
}

void CommandPalette::place() {
    const QSize room = parentWidget()->size();
    resize(largestSize.boundedTo(room - QSize(2 * Spacing::wide, 2 * Spacing::wide)));
    move((room.width() - width()) / 2, std::min(90, (room.height() - height()) / 2));
}

void CommandPalette::search(const QString& typed) {
    std::vector<std::pair<int, int>> fits; ///< score, place
    for (int i = 0; i < static_cast<int>(items_.size()); ++i) {
        if (const auto score = paletteScore(items_[static_cast<std::size_t>(i)], typed))
            fits.emplace_back(typed.trimmed().isEmpty() ? 0 : -*score, i);
    }
    std::ranges::sort(fits);
    list_->clear();
    for (const auto& [score, index] : fits) {
        auto* row = new QListWidgetItem(items_[static_cast<std::size_t>(index)].text, list_);
        row->setData(indexRole, index);
    }
    list_->setCurrentRow(0);
}

void CommandPalette::runCurrent() {
    const QListWidgetItem* row = list_->currentItem();
    if (row == nullptr) return;
    const PaletteItem& item = items_[static_cast<std::size_t>(row->data(indexRole).toInt())];
    if (!item.refusal.isEmpty()) return; // the row says why
    const std::function<void()> run = item.run;
    auto* window = static_cast<DocumentWindow*>(parentWidget());
    close();
    window->canvas().setFocus();
    run();
}

bool CommandPalette::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget()) {
        if (event->type() == QEvent::Resize) place();
        return QFrame::eventFilter(watched, event);
    }
    if (event->type() == QEvent::FocusOut) close();
    if (event->type() != QEvent::KeyPress) return QFrame::eventFilter(watched, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    switch (key.key()) {
    case Qt::Key_Escape:
        close();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        runCurrent();
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
        QKeyEvent forList(key.type(), key.key(), key.modifiers());
        QCoreApplication::sendEvent(list_, &forList);
        return true;
    }
    default:
        return QFrame::eventFilter(watched, event);
    }
}

} // namespace ombrel
