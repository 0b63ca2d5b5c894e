// Fields of a form that are bound to a setting both ways: what people choose is stored at once, and
// what is stored elsewhere shows. Main thread.
#pragma once

#include "Base/Settings.h"

#include <QString>
#include <span>

class QCheckBox;
class QComboBox;
class QSpinBox;
class QWidget;

namespace ombrel::SettingRows {

struct Choice {
    const char* value; ///< as stored
    const char* text;
};

/// Each is named by its setting.
QComboBox* makeChoice(Settings& settings, const ChoiceSetting& key, std::span<const Choice> all);
QCheckBox* makeCheck(Settings& settings, const BoolSetting& key, const QString& text);
QSpinBox* makeCount(Settings& settings, const IntegerSetting& key);

/// A slider in hundredths of the range's own unit, with a field for the same number.
struct PercentStyle {
    double factor = 100; ///< what is shown of 1
    QString suffix = " %";
};
QWidget* makePercent(Settings& settings, const NumberSetting& key, const PercentStyle& style = {});

} // namespace ombrel::SettingRows
