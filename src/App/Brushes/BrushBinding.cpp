#include "App/Brushes/BrushBinding.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "Tools/BrushOptions.h"

#include <QCheckBox>
#include <QComboBox>
#include <QSignalBlocker>
#include <QToolButton>

namespace ombrel {

NumberField* BrushBinding::addField(const BrushField& field, NumberField::Form form,
                                    QWidget* parent) {
    auto* widget = new NumberField({.name = QLatin1String(field.name),
                                    .title = QString::fromUtf8(field.title),
                                    .hint = QString::fromUtf8(field.hint),
                                    .minimum = field.minimum,
                                    .maximum = field.maximum,
                                    .suffix = QString::fromUtf8(field.suffix),
                                    .decimals = field.decimals,
                                    .isLogarithmic = field.isLogarithmic},
                                   form, parent);
    widget->onChange = [this, &field](double value) {
        change([&](BrushSettings& settings) { field.setShown(settings, value); });
    };
    addView([widget, &field](const BrushSettings& settings) {
        widget->setValue(field.shown(settings));
    });
    return widget;
}

void BrushBinding::bind(QAbstractButton* button, const BrushSwitch& toggle) {
    button->setObjectName(QLatin1String(toggle.name));
    button->setCheckable(true);
    button->setToolTip(QString::fromUtf8(toggle.hint));
    button->setFocusPolicy(Qt::TabFocus);
    button->setAccessibleName(QString::fromUtf8(toggle.title));
    QObject::connect(button, &QAbstractButton::toggled, button, [this, &toggle](bool isOn) {
        change([&](BrushSettings& settings) { toggle.of(settings) = isOn; });
    });
    addView([button, &toggle](const BrushSettings& settings) {
        const QSignalBlocker quiet(button);
        button->setChecked(toggle.isOn(settings));
    });
}

QCheckBox* BrushBinding::addSwitch(const BrushSwitch& toggle, QWidget* parent) {
    auto* box = new QCheckBox(QString::fromUtf8(toggle.title), parent);
    bind(box, toggle);
    return box;
}

QAbstractButton* BrushBinding::addToggle(const BrushSwitch& toggle, const char* iconName,
                                         QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setAutoRaise(true);
    button->setIcon(icon(iconName));
    bind(button, toggle);
    return button;
}

QComboBox* BrushBinding::addControl(const BrushControl& control, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setObjectName(QLatin1String(control.name));
    box->setFocusPolicy(Qt::TabFocus);
    box->setAccessibleName(QString::fromUtf8(control.title));
    box->setToolTip(QString::fromUtf8(control.hint));
    for (const DynamicsControlName& name : dynamicsControlNames)
        box->addItem(toQt(name.displayName));
    QObject::connect(box, &QComboBox::activated, box, [this, &control](int place) {
        change([&](BrushSettings& settings) {
            control.of(settings) = static_cast<DynamicsControl>(place);
        });
    });
    addView([box, &control](const BrushSettings& settings) {
        const QSignalBlocker quiet(box);
        box->setCurrentIndex(static_cast<int>(control.value(settings)));
    });
    return box;
}

void BrushBinding::addView(std::function<void(const BrushSettings&)> show) {
    views_.push_back(std::move(show));
}

void BrushBinding::change(const std::function<void(BrushSettings&)>& change) const {
    if (BrushOptions* const options = options_()) options->update(change);
}

void BrushBinding::refresh() const {
    const BrushOptions* const options = options_();
    if (options == nullptr) return;
    const BrushSettings settings = options->get();
    for (const auto& show : views_)
        show(settings);
}

} // namespace ombrel
