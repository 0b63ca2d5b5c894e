// The form in which people say which keys do what: a list to search by words or keys, and for the
// chosen row the keys to press, with what they stand for already. Changes count at once. Main
// thread.
#pragma once

#include "App/Shell/ShortcutTable.h"

#include <QDialog>

class QKeySequenceEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace ombrel {

class ShortcutForm final : public QDialog {
public:
    ShortcutForm(Settings& settings, QWidget* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeList();
    QWidget* makeEditor();
    void showKeys();
    void search(const QString& words);
    void chosen();
    void pressed();
    void assign();
    const ShortcutTable::Entry* current() const; ///< null where none is chosen

    ShortcutTable table_;
    QLineEdit* search_;
    QTreeWidget* list_;
    QKeySequenceEdit* keys_ = nullptr;
    QLabel* words_ = nullptr;
    QPushButton* assign_ = nullptr;
    QPushButton* remove_ = nullptr;
    QPushButton* reset_ = nullptr;
    QPushButton* resetAll_ = nullptr;
    Connection changes_;
};

/// The one on the window, or a new one.
void showShortcutForm(QWidget& window, Settings& settings);

} // namespace ombrel
