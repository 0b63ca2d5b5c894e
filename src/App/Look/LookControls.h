// How the controls of forms look: buttons, fields, choices, sliders, tabs, marks. Flat, from the
// theme's colours, on whole pixels at any scale. Used by LookStyle alone. Main thread.
#pragma once

class QPainter;
class QStyle;
class QStyleOption;
class QStyleOptionComboBox;
class QStyleOptionSlider;
class QStyleOptionSpinBox;
class QWidget;

namespace ombrel::LookControls {

void drawButton(const QStyleOption& option, QPainter& painter);
void drawField(const QStyleOption& option, QPainter& painter); ///< where one types
void drawComboBox(const QStyleOptionComboBox& option, QPainter& painter, const QStyle& style,
                  const QWidget* widget);
void drawSpinBox(const QStyleOptionSpinBox& option, QPainter& painter, const QStyle& style,
                 const QWidget* widget);
void drawSlider(const QStyleOptionSlider& option, QPainter& painter, const QStyle& style,
                const QWidget* widget);
void drawCheckMark(const QStyleOption& option, QPainter& painter);
void drawRadioMark(const QStyleOption& option, QPainter& painter);
void drawTab(const QStyleOption& option, QPainter& painter);
void drawDockTitle(const QStyleOption& option, QPainter& painter, const QStyle& style,
                   const QWidget* widget);
void drawProgress(const QStyleOption& option, QPainter& painter);
void drawHeader(const QStyleOption& option, QPainter& painter);
void drawFrame(const QStyleOption& option, QPainter& painter);

} // namespace ombrel::LookControls
