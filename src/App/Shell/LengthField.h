// A length that people see in a unit and the program keeps in pixels. Main thread.
#pragma once

#include "Editor/DocumentPresets.h"

#include <QDoubleSpinBox>

#include <cstdint>
#include <functional>

class QComboBox;

namespace ombrel {

class Settings;
struct Canvas;

class LengthField final : public QDoubleSpinBox {
public:
    explicit LengthField(QWidget* parent);

    /// Shows the same number of pixels in another unit.
    void setUnit(LengthUnit unit, double resolution);
    void setPixels(double pixels);
    double pixels() const { return pixels_; }
    std::int64_t wholePixels() const;

    std::function<void()> onEdit; ///< by the user, not by the setters

private:
    void showPixels();

    LengthUnit unit_ = LengthUnit::pixels;
    double resolution_ = 72;
    double pixels_ = 1;
    bool isShowing_ = false;
};

/// "12.50 cm"
QString lengthText(double pixels, LengthUnit unit, double resolution);
/// "21.00 × 29.70 cm"
QString sizeText(const Canvas& canvas, LengthUnit unit);

/// The one that lengths are shown in, by the settings.
LengthUnit unitOf(const Settings& settings);
/// All units, the data of each its number.
QComboBox* makeUnitChoice(QWidget* parent);
LengthUnit chosenUnit(const QComboBox& choice);

} // namespace ombrel
