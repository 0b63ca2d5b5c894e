#include "App/Shell/FormDialog.h"

#include "App/Look/Theme.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QVBoxLayout>

namespace ombrel {

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
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog,
                     [dialog, accepted = std::move(accepted)] {
                         accepted();
                         dialog->close();
                     });
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    layout->setSpacing(Spacing::wide);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(form);
    layout->addWidget(buttons);
    return dialog;
}

} // namespace ombrel
