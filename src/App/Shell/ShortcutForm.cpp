#include "App/Shell/ShortcutForm.h"

#include "App/Look/QtText.h"
#include "App/Look/Theme.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace ombrel {

namespace {

constexpr QSize usualSize(560, 620);
constexpr const char* dialogName = "shortcutForm";
enum Column { textColumn, keysColumn };

QString changedMark(bool isChanged) {
    return isChanged ? QStringLiteral(" •") : QString();
}

} // namespace

ShortcutForm::ShortcutForm(Settings& settings, QWidget* parent)
    : QDialog(parent), table_(settings), search_(new QLineEdit(this)),
      list_(new QTreeWidget(this)) {
    setObjectName(dialogName);
    setWindowTitle("Keyboard Shortcuts");
    setAttribute(Qt::WA_DeleteOnClose);
    search_->setObjectName("shortcutSearch");
    search_->setAccessibleName("Search");
    search_->setPlaceholderText("Search by words or keys");
    search_->setClearButtonEnabled(true);
    search_->installEventFilter(this);
    makeList();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    layout->setSpacing(Spacing::normal);
    layout->addWidget(search_);
    layout->addWidget(list_, 1);
    layout->addWidget(makeEditor());
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    resetAll_ = buttons->addButton("Reset All", QDialogButtonBox::ResetRole);
    resetAll_->setObjectName("resetAllShortcuts");
    for (QAbstractButton* button : buttons->buttons())
        static_cast<QPushButton*>(button)->setAutoDefault(false); // Enter is no key of theirs
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    connect(resetAll_, &QPushButton::clicked, this, [this] { table_.resetAll(); });
    connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) { search(text); });
    changes_ = settings.onChange(ShortcutTable::settingsKey, [this](const Json&) {
        QMetaObject::invokeMethod(this, [this] { showKeys(); }, Qt::QueuedConnection);
    });
    showKeys();
    resize(usualSize);
}

void ShortcutForm::makeList() {
    list_->setObjectName("shortcutList");
    list_->setAccessibleName("Commands");
    list_->setHeaderLabels({"Command", "Keys"});
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(textColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(keysColumn, QHeaderView::ResizeToContents);
    list_->setUniformRowHeights(true);
    QTreeWidgetItem* group = nullptr;
    int place = 0;
    for (const ShortcutTable::Entry& entry : ShortcutTable::entries()) {
        if (group == nullptr || group->text(textColumn) != entry.group) {
            group = new QTreeWidgetItem(list_, {entry.group});
            group->setFlags(Qt::ItemIsEnabled);
        }
        auto* row = new QTreeWidgetItem(group, {entry.text});
        row->setData(textColumn, Qt::UserRole, place++);
    }
    list_->expandAll();
    connect(list_, &QTreeWidget::currentItemChanged, this, [this] { chosen(); });
}

QWidget* ShortcutForm::makeEditor() {
    auto* editor = new QWidget(this);
    keys_ = new QKeySequenceEdit(editor);
    keys_->setObjectName("shortcutKeys");
    keys_->setAccessibleName("New keys");
    words_ = new QLabel(editor);
    words_->setObjectName("shortcutWords");
    words_->setWordWrap(true);
    words_->setMinimumHeight(2 * words_->fontMetrics().lineSpacing());
    const auto button = [&](const char* name, const char* text) {
        auto* made = new QPushButton(text, editor);
        made->setObjectName(name);
        made->setAutoDefault(false);
        return made;
    };
    assign_ = button("assignShortcut", "Assign");
    remove_ = button("removeShortcut", "Remove");
    reset_ = button("resetShortcut", "Reset");
    auto* row = new QHBoxLayout;
    row->setSpacing(Spacing::normal);
    row->addWidget(keys_, 1);
    row->addWidget(assign_);
    row->addWidget(remove_);
    row->addWidget(reset_);
    auto* layout = new QVBoxLayout(editor);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(row);
    layout->addWidget(words_);
    connect(keys_, &QKeySequenceEdit::keySequenceChanged, this, [this] { pressed(); });
    connect(assign_, &QPushButton::clicked, this, [this] { assign(); });
    connect(remove_, &QPushButton::clicked, this, [this] {
        list_->setFocus();
        if (const auto* entry = current()) table_.set(entry->identifier, {});
    });
    connect(reset_, &QPushButton::clicked, this, [this] {
        list_->setFocus();
        if (const auto* entry = current()) table_.reset(entry->identifier);
    });
    return editor;
}

const ShortcutTable::Entry* ShortcutForm::current() const {
    const QTreeWidgetItem* row = list_->currentItem();
    if (row == nullptr || row->parent() == nullptr) return nullptr;
    const int place = row->data(textColumn, Qt::UserRole).toInt();
    return &ShortcutTable::entries()[static_cast<std::size_t>(place)];
}

void ShortcutForm::showKeys() {
    for (QTreeWidgetItemIterator row(list_); *row != nullptr; ++row) {
        if ((*row)->parent() == nullptr) continue;
        const int place = (*row)->data(textColumn, Qt::UserRole).toInt();
        const auto& entry = ShortcutTable::entries()[static_cast<std::size_t>(place)];
        (*row)->setText(keysColumn, textOf(table_.keysOf(entry.identifier)));
        (*row)->setText(textColumn, entry.text + changedMark(table_.isChanged(entry.identifier)));
    }
    resetAll_->setEnabled(table_.hasChanges());
    chosen();
}

/// The first command that fits is chosen, unless the one that is fits too.
void ShortcutForm::search(const QString& words) {
    const QStringList wanted = words.split(' ', Qt::SkipEmptyParts);
    QTreeWidgetItem* first = nullptr;
    for (int g = 0; g < list_->topLevelItemCount(); ++g) {
        QTreeWidgetItem* group = list_->topLevelItem(g);
        bool isAnyShown = false;
        for (int i = 0; i < group->childCount(); ++i) {
            QTreeWidgetItem* row = group->child(i);
            const QString all =
                group->text(textColumn) + ' ' + row->text(textColumn) + ' ' + row->text(keysColumn);
            const bool fits = std::ranges::all_of(wanted, [&](const QString& word) {
                return all.contains(word, Qt::CaseInsensitive);
            });
            row->setHidden(!fits);
            isAnyShown |= fits;
            if (fits && first == nullptr) first = row;
        }
        group->setHidden(!isAnyShown);
    }
    const QTreeWidgetItem* row = list_->currentItem();
    if (!wanted.isEmpty() && (row == nullptr || row->isHidden())) list_->setCurrentItem(first);
}

// From the words the arrows walk through the commands, and Enter goes on to the keys.
bool ShortcutForm::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    switch (key.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: {
        QKeyEvent forList(key.type(), key.key(), key.modifiers());
        QCoreApplication::sendEvent(list_, &forList);
        return true;
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (current() != nullptr) keys_->setFocus();
        return true;
    default:
        return QDialog::eventFilter(watched, event);
    }
}

void ShortcutForm::chosen() {
    const ShortcutTable::Entry* entry = current();
    const ShortcutTable::Keys keys =
        entry != nullptr ? table_.keysOf(entry->identifier) : ShortcutTable::Keys();
    keys_->setEnabled(entry != nullptr);
    const QSignalBlocker quiet(keys_);
    keys_->setKeySequence(keys.isEmpty() ? QKeySequence() : keys.first());
    remove_->setEnabled(!keys.isEmpty());
    reset_->setEnabled(entry != nullptr && table_.isChanged(entry->identifier));
    pressed();
}

// What the pressed keys stand for, before they are assigned.
void ShortcutForm::pressed() {
    const ShortcutTable::Entry* entry = current();
    assign_->setEnabled(false);
    assign_->setText("Assign");
    words_->setText(entry != nullptr ? "" : "Choose a command, then press its keys.");
    if (entry == nullptr) return;
    const QKeySequence keys = keys_->keySequence();
    if (keys.isEmpty() || table_.keysOf(entry->identifier).contains(keys)) return;
    if (const char* why = ShortcutTable::refusal(*entry, keys)) {
        words_->setText(why);
        return;
    }
    QStringList others;
    for (const ShortcutTable::Entry* other : table_.conflicts(*entry, keys))
        others += QString("“%1” (%2)").arg(other->text, other->group);
    assign_->setEnabled(true);
    if (others.isEmpty()) return;
    assign_->setText("Take Over");
    words_->setText(QString("%1 stands for %2, which would lose it.")
                        .arg(keys.toString(QKeySequence::NativeText), others.join(", ")));
}

// What is done leaves its button grey, and the keyboard would go on to the one that removes.
void ShortcutForm::assign() {
    list_->setFocus();
    if (const auto* entry = current()) table_.take(entry->identifier, keys_->keySequence());
}

void showShortcutForm(QWidget& window, Settings& settings) {
    if (auto* there = window.findChild<QDialog*>(dialogName)) {
        there->raise();
        return there->activateWindow();
    }
    (new ShortcutForm(settings, &window))->show();
}

} // namespace ombrel
