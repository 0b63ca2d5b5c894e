#include "App/Shell/FormDialog.h"

#include "App/Look/Theme.h"
#include "App/Shell/FormNames.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QVBoxLayout>

namespace ombrel {

namespace {

/// What it holds is replaced by what is typed.
void beginIn(QWidget& field) {
    field.setFocus();
    if (auto* line = qobject_cast<QLineEdit*>(&field)) line->selectAll();
    if (auto* number = qobject_cast<QAbstractSpinBox*>(&field)) number->selectAll();
    if (auto* choice = qobject_cast<QComboBox*>(&field); choice != nullptr && choice->isEditable())
        choice->lineEdit()->selectAll();
}

} // namespace

QDialog* makeFormDialog(QWidget& window, const char* name, const QString& title, QFormLayout* form,
                        std::function<void()> accepted) {
    auto* dialog = new QDialog(&window);
    dialog->setObjectName(name);
    dialog->setWindowTitle(title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setVerticalSpacing(Spacing::normal);
    form->setHorizontalSpacing(Spacing::wide);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    layout->setSpacing(Spacing::wide);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    nameFields(*form);
    layout->addLayout(form); // before there are buttons: so Tab reaches its fields first
    QWidget* first = dialog->nextInFocusChain();
    while (first != dialog && (first->focusPolicy() & Qt::TabFocus) == 0)
        first = first->nextInFocusChain();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog,
                     [dialog, accepted = std::move(accepted)] {
                         accepted();
                         dialog->close();
                     });
    layout->addWidget(buttons);
    if (first != dialog) beginIn(*first);
    return dialog;
}

} // namespace ombrel
