#include "App/Shell/MessageBoxes.h"

#include "App/Look/QtText.h"
#include "App/Shell/FileKinds.h"
#include "App/Shell/QtPath.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeView>

namespace ombrel {

namespace {

/// Deleted when it closes; with a parent it belongs to that window alone.
QMessageBox* makeBox(QWidget* on, QMessageBox::Icon icon, const QString& title,
                     const QString& text) {
    auto* box = new QMessageBox(icon, "Ombrel", title, QMessageBox::NoButton, on);
    box->setInformativeText(text);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(on != nullptr ? Qt::WindowModal : Qt::NonModal);
    return box;
}

void addConfirmation(QMessageBox& box, const Dialogs::Confirmation& question) {
    auto* accept = box.addButton(toQt(question.accept), QMessageBox::AcceptRole);
    auto* refuse = box.addButton(toQt(question.refuse), QMessageBox::RejectRole);
    box.setDefaultButton(accept);
    box.setEscapeButton(refuse);
}

bool isAccepted(const QMessageBox& box) {
    return box.clickedButton() != nullptr &&
           box.buttonRole(box.clickedButton()) == QMessageBox::AcceptRole;
}

/// Wide enough for names and dates; names take what the other columns leave.
QFileDialog* makeFileDialog() {
    auto* dialog = new QFileDialog;
    dialog->setOption(QFileDialog::HideNameFilterDetails);
    auto* list = dialog->findChild<QTreeView*>("treeView"); // none in a dialog of the desktop
    if (list == nullptr) return dialog;
    dialog->resize(dialog->size().expandedTo({860, 540}));
    for (int column = 0; column < list->header()->count(); ++column) {
        list->header()->setSectionResizeMode(column, column == 0 ? QHeaderView::Stretch
                                                                 : QHeaderView::ResizeToContents);
    }
    return dialog;
}

} // namespace

QFileDialog& MessageBoxes::fileDialog(QWidget* on, const QString& title) {
    if (!fileDialog_) fileDialog_ = makeFileDialog();
    if (fileDialog_->isVisible()) fileDialog_->reject(); // asked for another window
    fileDialog_->setParent(on, Qt::Dialog);
    fileDialog_->setWindowTitle(title);
    fileDialog_->setWindowModality(on != nullptr ? Qt::WindowModal : Qt::NonModal);
    return *fileDialog_;
}

void MessageBoxes::fileDialogClosed() {
    if (fileDialog_) fileDialog_->setParent(nullptr, Qt::Dialog); // outlives the window it was on
}

void MessageBoxes::askToSave(QWidget* on, const std::string& name,
                             std::function<void(SaveAnswer)> answer) {
    auto* box = makeBox(on, QMessageBox::NoIcon, QString("Save changes to “%1”?").arg(toQt(name)),
                        "Changes that are not saved are lost.");
    auto* save = box->addButton("Save", QMessageBox::AcceptRole);
    auto* discard = box->addButton("Don’t Save", QMessageBox::DestructiveRole);
    auto* cancel = box->addButton("Cancel", QMessageBox::RejectRole);
    box->setDefaultButton(save);
    box->setEscapeButton(cancel);
    QObject::connect(box, &QMessageBox::finished, [=, answer = std::move(answer)] {
        if (box->clickedButton() == save) return answer(SaveAnswer::save);
        answer(box->clickedButton() == discard ? SaveAnswer::discard : SaveAnswer::cancel);
    });
    box->show();
}

void MessageBoxes::confirm(QWidget* on, const Confirmation& question,
                           std::function<void(bool)> answer) {
    auto* box = makeBox(on, QMessageBox::NoIcon, toQt(question.title), toQt(question.text));
    addConfirmation(*box, question);
    QObject::connect(box, &QMessageBox::finished,
                     [box, answer = std::move(answer)] { answer(isAccepted(*box)); });
    box->show();
}

bool MessageBoxes::confirmNow(QWidget* on, const Confirmation& question) {
    QMessageBox box(QMessageBox::NoIcon, "Ombrel", toQt(question.title), QMessageBox::NoButton, on);
    box.setInformativeText(toQt(question.text));
    addConfirmation(box, question);
    box.exec();
    return isAccepted(box);
}

void MessageBoxes::tellFailure(QWidget* on, const std::string& title, const std::string& text) {
    auto* box = makeBox(on, QMessageBox::Critical, toQt(title), toQt(text));
    box->addButton(QMessageBox::Ok);
    box->show();
}

void MessageBoxes::chooseFilesToOpen(QWidget* on, const Path& folder,
                                     std::function<void(std::vector<Path>)> answer) {
    QFileDialog* dialog = &fileDialog(on, "Open");
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setDefaultSuffix({});
    if (auto* name = dialog->findChild<QLineEdit*>()) name->clear(); // of the last time
    dialog->setNameFilters(openFilters());
    if (!folder.empty()) dialog->setDirectory(qtPath(folder));
    QObject::connect(
        dialog, &QFileDialog::finished, dialog,
        [this, dialog, answer = std::move(answer)](int result) {
            std::vector<Path> paths;
            if (result == QDialog::Accepted) {
                for (const QString& file : dialog->selectedFiles())
                    paths.push_back(plainPath(file));
            }
            fileDialogClosed();
            answer(std::move(paths));
        },
        Qt::SingleShotConnection);
    dialog->show();
}

void MessageBoxes::choosePlace(QWidget* on, const SavePlace& place,
                               std::function<void(std::optional<Path>)> answer) {
    QFileDialog* dialog = &fileDialog(on, toQt(place.title));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilter(toQt(place.filter));
    dialog->setDefaultSuffix(toQt(place.suffix));
    if (place.proposed.has_parent_path())
        dialog->setDirectory(qtPath(place.proposed.parent_path()));
    dialog->selectFile(qtPath(place.proposed.filename()));
    QObject::connect(
        dialog, &QFileDialog::finished, dialog,
        [this, dialog, answer = std::move(answer)](int result) {
            const QStringList files = dialog->selectedFiles();
            fileDialogClosed();
            if (result != QDialog::Accepted || files.isEmpty()) return answer(std::nullopt);
            answer(plainPath(files.first()));
        },
        Qt::SingleShotConnection);
    dialog->show();
}

} // namespace ombrel
