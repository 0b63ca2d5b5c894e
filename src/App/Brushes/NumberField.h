// A number with its name: typed into a box, moved by a slider, or dragged by its name. Tells only
// of what the user does. Main thread only.
#pragma once

#include <QWidget>
#include <functional>

class QDoubleSpinBox;
class QLabel;
class QSlider;

namespace ombrel {

class NumberField : public QWidget {
public:
    struct Description {
        QString name; ///< of the box; the slider's has "Slider" added
        QString title;
        QString hint;
        double minimum = 0;
        double maximum = 100;
        QString suffix = {};
        int decimals = 0;
        bool isLogarithmic = false; ///< even steps of slider and drag multiply; minimum above 0
    };
    enum class Form { compact, withSlider };

    NumberField(const Description& description, Form form, QWidget* parent = nullptr);

    std::function<void(double)> onChange;

    void setValue(double value); ///< in silence
    double value() const;
    /// So that fields below one another stand in columns.
    void setTitleWidth(int width);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void take(double value);
    double fractionOf(double value) const; ///< of the way from minimum to maximum
    double valueAt(double fraction) const;
    void drag(int pixels, bool isFine);

    const Description description_;
    QLabel* title_;
    QDoubleSpinBox* box_;
    QSlider* slider_ = nullptr;
    double dragStart_ = 0; ///< a fraction
    int pressedAt_ = 0;
};

} // namespace ombrel
