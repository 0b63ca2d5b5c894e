// A colour to choose: a square or a wheel with a strip for the third component, a slider and a
// number for each of red, green, blue, hue, saturation and brightness, and the hexadecimal code.
// Whether square or wheel, and which sliders, the settings keep for all editors. Shows what it is
// given and tells what the user makes of it. Main thread only.
#pragma once

#include "App/Color/ColorPlane.h"
#include "Base/Signal.h"

#include <QWidget>
#include <functional>
#include <vector>

class QLineEdit;
class QSpinBox;
class QToolButton;

namespace ombrel {

class ColorTrack;
class Settings;

class ColorEditor : public QWidget {
public:
    enum class Sliders : std::uint8_t { chosen, all }; ///< chosen: as the settings say

    ColorEditor(Settings& settings, Sliders sliders, QWidget* parent = nullptr);
    ~ColorEditor() override;

    const PickedColor& color() const { return color_; }
    void setColor(const PickedColor& color);
    /// Takes what was typed and not finished yet.
    void finishTyping() { takeCode(); }
    /// Something to stand left of the square.
    void setSide(QWidget* side);
    /// Something to stand left of the code.
    void setBesideCode(QWidget* widget);

    std::function<void(const PickedColor&)> onChange; ///< by the user
    std::function<void()> onChosen;                   ///< a drag, a number or a key has ended

private:
    struct Row;

    void makeHead();
    void makeRow(ColorComponent component);
    void makeCode();
    void followSettings();
    void refresh();
    void change(const PickedColor& color);
    void chosen();
    void takeCode();

    Settings& settings_;
    const Sliders sliders_;
    PickedColor color_;
    ColorPlane* plane_;
    ColorTrack* hueStrip_;
    ColorTrack* brightnessStrip_;
    std::vector<Row> rows_;
    QLineEdit* code_ = nullptr;
    QToolButton* kindButton_ = nullptr;
    QToolButton* slidersButton_ = nullptr; ///< null where all are shown
    std::vector<Connection> connections_;
};

} // namespace ombrel
