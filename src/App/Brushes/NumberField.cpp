#include "App/Brushes/NumberField.h"

#include "App/Look/Theme.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr int sliderSteps = 1000;
constexpr double pixelsOfRange = 300; ///< of a drag from minimum to maximum
constexpr double fineness = 8;

} // namespace

NumberField::NumberField(const Description& description, Form form, QWidget* parent)
    : QWidget(parent), description_(description), title_(new QLabel(description.title, this)),
      box_(new QDoubleSpinBox(this)) {
    title_->setCursor(Qt::SizeHorCursor);
    title_->installEventFilter(this);
    box_->setObjectName(description.name);
    box_->setRange(description.minimum, description.maximum);
    box_->setDecimals(description.decimals);
    box_->setSuffix(description.suffix);
    box_->setKeyboardTracking(false);
    box_->setAlignment(Qt::AlignRight);
    box_->setButtonSymbols(QAbstractSpinBox::NoButtons);
    box_->setFixedWidth(box_->fontMetrics().horizontalAdvance(QStringLiteral("2000 px")) + 10);
    title_->setBuddy(box_);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Spacing::tight);
    row->addWidget(title_);
    if (form == Form::withSlider) {
        slider_ = new QSlider(Qt::Horizontal, this);
        slider_->setObjectName(description.name + QStringLiteral("Slider"));
        slider_->setRange(0, sliderSteps);
        slider_->setFocusPolicy(Qt::TabFocus);
        slider_->setMinimumWidth(36);
        row->addWidget(slider_, 1);
        connect(slider_, &QSlider::valueChanged, this,
                [this](int place) { take(valueAt(double(place) / sliderSteps)); });
    }
    row->addWidget(box_);
    for (QWidget* widget : {static_cast<QWidget*>(box_), static_cast<QWidget*>(slider_)}) {
        if (widget == nullptr) continue;
        widget->installEventFilter(this);
        widget->setAccessibleName(description.title);
        widget->setAccessibleDescription(description.hint);
    }
    setToolTip(description.hint);
    connect(box_, &QDoubleSpinBox::valueChanged, this, [this](double value) { take(value); });
}

void NumberField::setValue(double value) {
    const QSignalBlocker quietBox(box_);
    box_->setValue(value);
    if (slider_ == nullptr || slider_->isSliderDown()) return;
    const QSignalBlocker quietSlider(slider_);
    slider_->setValue(static_cast<int>(std::lround(sliderSteps * fractionOf(value))));
}

double NumberField::value() const {
    return box_->value();
}

void NumberField::setTitleWidth(int width) {
    title_->setFixedWidth(width);
}

bool NumberField::eventFilter(QObject* watched, QEvent* event) {
    // Who scrolls the panel changes no number on the way.
    if (event->type() == QEvent::Wheel && !static_cast<QWidget*>(watched)->hasFocus()) {
        event->ignore();
        return true;
    }
    if (watched != title_ || !isEnabled()) return QWidget::eventFilter(watched, event);
    const auto* mouse = dynamic_cast<QMouseEvent*>(event);
    if (mouse == nullptr) return QWidget::eventFilter(watched, event);
    if (event->type() == QEvent::MouseButtonPress && mouse->button() == Qt::LeftButton) {
        pressedAt_ = mouse->globalPosition().toPoint().x();
        dragStart_ = fractionOf(value());
        return true;
    }
    if (event->type() == QEvent::MouseMove && (mouse->buttons() & Qt::LeftButton) != 0) {
        drag(mouse->globalPosition().toPoint().x() - pressedAt_,
             (mouse->modifiers() & Qt::ShiftModifier) != 0);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void NumberField::drag(int pixels, bool isFine) {
    const double way = pixels / (isFine ? pixelsOfRange * fineness : pixelsOfRange);
    take(valueAt(std::clamp(dragStart_ + way, 0.0, 1.0)));
}

void NumberField::take(double value) {
    const double digits = std::pow(10, description_.decimals);
    value = std::round(value * digits) / digits;
    setValue(value);
    if (onChange) onChange(value);
}

double NumberField::fractionOf(double value) const {
    const double low = description_.minimum;
    const double high = description_.maximum;
    if (!description_.isLogarithmic) return (value - low) / (high - low);
    return std::log(std::max(value, low) / low) / std::log(high / low);
}

double NumberField::valueAt(double fraction) const {
    const double low = description_.minimum;
    const double high = description_.maximum;
    if (!description_.isLogarithmic) return std::lerp(low, high, fraction);
    return low * std::pow(high / low, fraction);
}

} // namespace ombrel
