#include "App/Shell/SettingRows.h"

#include "App/Look/QtText.h"
#include "App/Look/Theme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>

#include <cmath>
#include <memory>

namespace ombrel {

namespace {

/// `show` runs now and after each change of the setting, as long as the widget lives.
template <typename Show>
void follow(Settings& settings, std::string_view name, QWidget* widget, Show show) {
    show();
    const auto connection = std::make_shared<Connection>(
        settings.onChange(name, [show](const Json& /*value*/) { show(); }));
    QObject::connect(widget, &QObject::destroyed, [connection] { connection->disconnect(); });
}

} // namespace

QComboBox* SettingRows::makeChoice(Settings& settings, const ChoiceSetting& key,
                                   std::span<const Choice> all) {
    auto* box = new QComboBox;
    box->setObjectName(toQt(key.name));
    for (const Choice& choice : all)
        box->addItem(choice.text, QString(choice.value));
    QObject::connect(box, &QComboBox::activated, box, [box, &settings, &key] {
        settings.set(key, fromQt(box->currentData().toString()));
    });
    follow(settings, key.name, box, [box, &settings, &key] {
        box->setCurrentIndex(box->findData(toQt(settings.get(key))));
    });
    return box;
}

QCheckBox* SettingRows::makeCheck(Settings& settings, const BoolSetting& key, const QString& text) {
    auto* box = new QCheckBox(text);
    box->setObjectName(toQt(key.name));
    QObject::connect(box, &QCheckBox::clicked, box,
                     [&settings, &key](bool isOn) { settings.set(key, isOn); });
    follow(settings, key.name, box, [box, &settings, &key] { box->setChecked(settings.get(key)); });
    return box;
}

QSpinBox* SettingRows::makeCount(Settings& settings, const IntegerSetting& key) {
    auto* box = new QSpinBox;
    box->setObjectName(toQt(key.name));
    box->setRange(static_cast<int>(key.minimum), static_cast<int>(key.maximum));
    box->setKeyboardTracking(false); // "100" is typed by way of 1 and 10
    follow(settings, key.name, box,
           [box, &settings, &key] { box->setValue(static_cast<int>(settings.get(key))); });
    QObject::connect(box, &QSpinBox::valueChanged, box,
                     [&settings, &key](int value) { settings.set(key, value); });
    return box;
}

QWidget* SettingRows::makePercent(Settings& settings, const NumberSetting& key,
                                  const PercentStyle& style) {
    auto* row = new QWidget;
    auto* slider = new QSlider(Qt::Horizontal, row);
    auto* box = new QSpinBox(row);
    slider->setObjectName(toQt(key.name) + "Slider");
    box->setObjectName(toQt(key.name));
    const auto shown = [factor = style.factor](double value) {
        return static_cast<int>(std::lround(value * factor));
    };
    slider->setRange(shown(key.minimum), shown(key.maximum));
    box->setRange(shown(key.minimum), shown(key.maximum));
    box->setSuffix(style.suffix);
    box->setKeyboardTracking(false);
    slider->setMinimumWidth(160);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Spacing::normal);
    layout->addWidget(slider, 1);
    layout->addWidget(box);
    const auto take = [&settings, &key, factor = style.factor](int value) {
        settings.set(key, value / factor);
    };
    follow(settings, key.name, row, [=, &settings, &key] {
        const QSignalBlocker quietSlider(slider);
        const QSignalBlocker quietBox(box);
        slider->setValue(shown(settings.get(key)));
        box->setValue(shown(settings.get(key)));
    });
    QObject::connect(slider, &QSlider::valueChanged, row, take);
    QObject::connect(box, &QSpinBox::valueChanged, row, take);
    return row;
}

} // namespace ombrel
