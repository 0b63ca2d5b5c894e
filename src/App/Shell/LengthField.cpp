#include "App/Shell/LengthField.h"

#include "App/Look/QtText.h"
#include "Base/Settings.h"
#include "Core/Canvas.h"

#include <QComboBox>

#include <algorithm>

namespace ombrel {

namespace {

QString numberText(double pixels, LengthUnit unit, double resolution) {
    return QString::number(lengthOf(pixels, unit, resolution), 'f', traitsOf(unit).decimals);
}

} // namespace

LengthField::LengthField(QWidget* parent) : QDoubleSpinBox(parent) {
    setKeyboardTracking(true);
    setGroupSeparatorShown(false);
    setMinimumWidth(96);
    connect(this, &QDoubleSpinBox::valueChanged, this, [this](double length) {
        if (isShowing_) return;
        pixels_ = pixelsOf(length, unit_, resolution_);
        if (onEdit) onEdit();
    });
    showPixels();
}

void LengthField::setUnit(LengthUnit unit, double resolution) {
    unit_ = unit;
    resolution_ = resolution;
    showPixels();
}

void LengthField::setPixels(double pixels) {
    pixels_ = pixels;
    showPixels();
}

std::int64_t LengthField::wholePixels() const {
    return wholePixelsOf(pixels_, LengthUnit::pixels, resolution_);
}

void LengthField::showPixels() {
    isShowing_ = true;
    setDecimals(traitsOf(unit_).decimals);
    setRange(lengthOf(1, unit_, resolution_),
             lengthOf(static_cast<double>(largestCanvasSide), unit_, resolution_));
    setValue(lengthOf(pixels_, unit_, resolution_));
    isShowing_ = false;
}

QString lengthText(double pixels, LengthUnit unit, double resolution) {
    return numberText(pixels, unit, resolution) + u' ' + toQt(traitsOf(unit).symbol);
}

QString sizeText(const Canvas& canvas, LengthUnit unit) {
    const auto width = static_cast<double>(canvas.size.width);
    const auto height = static_cast<double>(canvas.size.height);
    return numberText(width, unit, canvas.resolution) + QStringLiteral(" × ") +
           lengthText(height, unit, canvas.resolution);
}

LengthUnit unitOf(const Settings& settings) {
    const std::string symbol = settings.get(SettingKeys::lengthUnit);
    return std::ranges::find(lengthUnits(), symbol, &LengthUnitTraits::symbol)->unit;
}

QComboBox* makeUnitChoice(QWidget* parent) {
    auto* choice = new QComboBox(parent);
    for (const LengthUnitTraits& unit : lengthUnits())
        choice->addItem(toQt(unit.name), static_cast<int>(unit.unit));
    return choice;
}

LengthUnit chosenUnit(const QComboBox& choice) {
    return static_cast<LengthUnit>(choice.currentData().toInt());
}

} // namespace ombrel
