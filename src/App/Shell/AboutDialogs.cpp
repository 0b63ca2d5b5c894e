#include "App/Shell/AboutDialogs.h"

#include "App/Shell/DocumentWindow.h"
#include "App/Shell/WindowAction.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMessageBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace ombrel {

namespace {

constexpr QSize listSize(440, 560);

QString plain(const char* text) {
    return QString(text).remove('&');
}

void fill(QTreeWidget& list) {
    for (const WindowAction& entry : windowActions()) {
        if (entry.identifier == nullptr || *entry.shortcut == '\0') continue;
        const QString menu = plain(entry.menu).section('/', 0, 0);
        const auto found = list.findItems(menu, Qt::MatchExactly, 0);
        auto* group = found.isEmpty() ? new QTreeWidgetItem(&list, {menu}) : found.first();
        const QString keys = QKeySequence(entry.shortcut).toString(QKeySequence::NativeText);
        new QTreeWidgetItem(group, {plain(entry.text).remove("…"), keys});
    }
    list.expandAll();
}

} // namespace

void showAbout(QWidget* on) {
    auto* box = new QMessageBox(QMessageBox::NoIcon, "About Ombrel", "Ombrel " OMBREL_VERSION,
                                QMessageBox::Ok, on);
    box->setInformativeText("A raster image editor.");
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->show();
}

void showShortcuts(DocumentWindow& on) {
    auto* dialog = new QDialog(&on);
    dialog->setWindowTitle("Keyboard Shortcuts");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(dialog);
    auto* list = new QTreeWidget(dialog);
    list->setHeaderLabels({"Action", "Keys"});
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list->setSelectionMode(QAbstractItemView::NoSelection);
    list->setFocusPolicy(Qt::NoFocus);
    fill(*list);
    layout->addWidget(list);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    layout->addWidget(buttons);
    dialog->resize(listSize);
    dialog->show();
}

} // namespace ombrel
