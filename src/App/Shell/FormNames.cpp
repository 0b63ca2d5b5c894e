#include "App/Shell/FormNames.h"

#include <QAbstractButton>
#include <QFormLayout>
#include <QLabel>

namespace ombrel {

namespace {

void name(QWidget& field, const QString& words) {
    const auto* button = qobject_cast<const QAbstractButton*>(&field);
    const bool hasText = button != nullptr && !button->text().isEmpty();
    const bool isReached = field.focusPolicy() != Qt::NoFocus;
    if (isReached && !hasText && field.accessibleName().isEmpty()) field.setAccessibleName(words);
    for (QWidget* inner : field.findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        name(*inner, words);
}

void name(QLayoutItem& item, const QString& words) {
    if (QWidget* field = item.widget()) return name(*field, words);
    const QLayout* layout = item.layout();
    for (int i = 0; layout != nullptr && i < layout->count(); ++i)
        name(*layout->itemAt(i), words);
}

} // namespace

void nameFields(const QFormLayout& form) {
    QString words; // rows without words belong to those above
    for (int row = 0; row < form.rowCount(); ++row) {
        const QLayoutItem* label = form.itemAt(row, QFormLayout::LabelRole);
        const auto* shown = label != nullptr ? qobject_cast<QLabel*>(label->widget()) : nullptr;
        if (shown != nullptr && !shown->text().isEmpty()) words = shown->text();
        if (QLayoutItem* field = form.itemAt(row, QFormLayout::FieldRole)) name(*field, words);
    }
}

} // namespace ombrel
