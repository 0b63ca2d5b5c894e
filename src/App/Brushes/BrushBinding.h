// Ties widgets to the settings of a brush: what the user does changes the settings, and whatever
// changes them shows in the widgets. Main thread only.
#pragma once

#include "App/Brushes/BrushFields.h"
#include "App/Brushes/NumberField.h"

#include <functional>
#include <vector>

class QAbstractButton;
class QCheckBox;
class QComboBox;

namespace ombrel {

class BrushOptions;

class BrushBinding {
public:
    /// Null for none: the widgets then do nothing.
    using FindOptions = std::function<BrushOptions*()>;

    explicit BrushBinding(FindOptions options) : options_(std::move(options)) {}

    /// The parent owns what these make.
    NumberField* addField(const BrushField& field, NumberField::Form form, QWidget* parent);
    QCheckBox* addSwitch(const BrushSwitch& toggle, QWidget* parent);
    /// A button of a bar that is on or off.
    QAbstractButton* addToggle(const BrushSwitch& toggle, const char* iconName, QWidget* parent);
    QComboBox* addControl(const BrushControl& control, QWidget* parent);
    /// Anything else that shows the settings.
    void addView(std::function<void(const BrushSettings&)> show);

    void change(const std::function<void(BrushSettings&)>& change) const;
    void refresh() const;

private:
    void bind(QAbstractButton* button, const BrushSwitch& toggle);

    FindOptions options_;
    std::vector<std::function<void(const BrushSettings&)>> views_;
};

} // namespace ombrel
