// Asks for a colour, with the one there was beside the one that is being made. Window-modal; opened
// and answered later. Main thread.
#pragma once

#include "App/Color/PickedColor.h"

#include <QDialog>
#include <functional>

namespace ombrel {

class ColorEditor;
class Settings;

class ColorDialog : public QDialog {
public:
    ColorDialog(Settings& settings, const QString& title, const PickedColor& color,
                QWidget* parent = nullptr);

    ColorEditor& editor() { return *editor_; }
    /// Once, with a colour that is another one than before.
    std::function<void(const PickedColor&)> onAccept;

    void accept() override;

private:
    const PickedColor before_;
    ColorEditor* editor_;
};

} // namespace ombrel
