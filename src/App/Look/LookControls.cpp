#include "App/Look/LookControls.h"

#include "App/Look/Theme.h"

#include <QPainter>
#include <QStyleOption>

#include <algorithm>

namespace ombrel {

namespace {

using Theme::color;

constexpr int handleSide = 13;
constexpr int grooveHeight = 4;
constexpr qreal half = 0.5; ///< brings lines of one pixel onto pixels

bool isEnabled(const QStyleOption& option) {
    return (option.state & QStyle::State_Enabled) != 0;
}
bool isHovered(const QStyleOption& option) {
    return isEnabled(option) && (option.state & QStyle::State_MouseOver) != 0;
}
bool hasKeyboard(const QStyleOption& option) {
    return (option.state & QStyle::State_HasFocus) != 0;
}

/// A rounded area with a line around it.
void drawBox(QPainter& painter, const QRect& rect, const QColor& fill, const QColor& line,
             qreal radius = Spacing::corner) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(QPen(line, 1));
    painter.drawRoundedRect(QRectF(rect).adjusted(half, half, -half, -half), radius, radius);
    painter.restore();
}

QColor lineOf(const QStyleOption& option) {
    if (!isEnabled(option)) return color(ThemeColor::line);
    return color(hasKeyboard(option) ? ThemeColor::accent : ThemeColor::outline);
}

void drawChevron(QPainter& painter, const QRect& rect, bool pointsUp, const QColor& ink) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ink, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    const QPointF middle = QRectF(rect).center();
    const qreal way = pointsUp ? -1.5 : 1.5;
    painter.drawPolyline(QPolygonF{
        {middle + QPointF(-3, -way), middle + QPointF(0, way), middle + QPointF(3, -way)}});
    painter.restore();
}

QColor inkOf(const QStyleOption& option) {
    return color(isEnabled(option) ? ThemeColor::icon : ThemeColor::disabledIcon);
}

/// What a mark stands on: filled where it is set.
void drawMarkGround(const QStyleOption& option, QPainter& painter, const QRect& rect, bool isSet,
                    qreal radius) {
    const QColor fill = !isEnabled(option)  ? color(ThemeColor::window)
                        : isSet             ? color(ThemeColor::selection)
                        : isHovered(option) ? color(ThemeColor::hovered)
                                            : color(ThemeColor::field);
    const QColor line = isSet && isEnabled(option) && !hasKeyboard(option)
                            ? color(ThemeColor::selection)
                            : lineOf(option);
    drawBox(painter, rect, fill, line, radius);
}

QRect squareIn(const QRect& rect) {
    const int side = std::min({rect.width(), rect.height(), 15});
    QRect square(0, 0, side, side);
    square.moveCenter(rect.center());
    return square;
}

} // namespace

void LookControls::drawButton(const QStyleOption& option, QPainter& painter) {
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(&option);
    const bool isDefault =
        button != nullptr && (button->features & QStyleOptionButton::DefaultButton) != 0;
    const bool isDown = (option.state & (QStyle::State_Sunken | QStyle::State_On)) != 0;
    const ThemeColor fill = !isEnabled(option)  ? ThemeColor::window
                            : isDown            ? ThemeColor::pressed
                            : isHovered(option) ? ThemeColor::hovered
                                                : ThemeColor::raised;
    const bool isMarked = isEnabled(option) && (isDefault || hasKeyboard(option));
    drawBox(painter, option.rect, color(fill),
            isMarked ? color(ThemeColor::accent) : lineOf(option));
}

void LookControls::drawField(const QStyleOption& option, QPainter& painter) {
    drawBox(painter, option.rect, color(isEnabled(option) ? ThemeColor::field : ThemeColor::window),
            lineOf(option));
}

void LookControls::drawComboBox(const QStyleOptionComboBox& option, QPainter& painter,
                                const QStyle& style, const QWidget* widget) {
    if (option.frame && option.editable) {
        drawField(option, painter);
    } else if (option.frame) {
        const ThemeColor fill = !isEnabled(option)  ? ThemeColor::window
                                : isHovered(option) ? ThemeColor::hovered
                                                    : ThemeColor::raised;
        drawBox(painter, option.rect, color(fill), lineOf(option));
    }
    const QRect arrow =
        style.subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxArrow, widget);
    drawChevron(painter, arrow, false, inkOf(option));
}

void LookControls::drawSpinBox(const QStyleOptionSpinBox& option, QPainter& painter,
                               const QStyle& style, const QWidget* widget) {
    if (option.frame) drawField(option, painter);
    if (option.buttonSymbols == QAbstractSpinBox::NoButtons) return;
    struct Step {
        QStyle::SubControl control;
        QAbstractSpinBox::StepEnabledFlag flag;
    };
    for (const Step& step : {Step{QStyle::SC_SpinBoxUp, QAbstractSpinBox::StepUpEnabled},
                             Step{QStyle::SC_SpinBoxDown, QAbstractSpinBox::StepDownEnabled}}) {
        const QRect rect = style.subControlRect(QStyle::CC_SpinBox, &option, step.control, widget);
        const bool isUp = step.control == QStyle::SC_SpinBoxUp;
        const bool isActive = option.activeSubControls == step.control && isHovered(option);
        if (isActive) {
            const bool isDown = (option.state & QStyle::State_Sunken) != 0;
            painter.fillRect(rect.adjusted(0, isUp ? 1 : 0, -1, isUp ? 0 : -1),
                             color(isDown ? ThemeColor::pressed : ThemeColor::hovered));
        }
        const bool isPossible = isEnabled(option) && (option.stepEnabled & step.flag) != 0;
        drawChevron(painter, rect, isUp,
                    color(isPossible ? ThemeColor::icon : ThemeColor::disabledIcon));
    }
}

void LookControls::drawSlider(const QStyleOptionSlider& option, QPainter& painter,
                              const QStyle& style, const QWidget* widget) {
    const QRect groove =
        style.subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, widget);
    const QRect grip =
        style.subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, widget);
    const bool isFlat = option.orientation == Qt::Horizontal;
    QRect line = groove;
    if (isFlat) {
        line.setHeight(grooveHeight);
        line.moveCenter({groove.center().x(), groove.center().y()});
    } else {
        line.setWidth(grooveHeight);
        line.moveCenter({groove.center().x(), groove.center().y()});
    }
    QRect filled = line;
    if (isFlat)
        (option.upsideDown ? filled.setLeft(grip.center().x())
                           : filled.setRight(grip.center().x()));
    else
        (option.upsideDown ? filled.setTop(grip.center().y())
                           : filled.setBottom(grip.center().y()));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color(ThemeColor::track));
    painter.drawRoundedRect(line, grooveHeight / 2.0, grooveHeight / 2.0);
    painter.setBrush(color(isEnabled(option) ? ThemeColor::accent : ThemeColor::disabledIcon));
    painter.drawRoundedRect(filled, grooveHeight / 2.0, grooveHeight / 2.0);
    painter.setBrush(
        color(isHovered(option) || hasKeyboard(option) ? ThemeColor::text : ThemeColor::icon));
    if (!isEnabled(option)) painter.setBrush(color(ThemeColor::disabledIcon));
    QRectF handle(0, 0, handleSide, handleSide);
    handle.moveCenter(QRectF(grip).center());
    painter.drawEllipse(handle);
    painter.restore();
}

void LookControls::drawCheckMark(const QStyleOption& option, QPainter& painter) {
    const bool isOn = (option.state & QStyle::State_On) != 0;
    const bool isPartly = (option.state & QStyle::State_NoChange) != 0;
    const QRect square = squareIn(option.rect);
    drawMarkGround(option, painter, square, isOn || isPartly, Spacing::corner);
    if (!isOn && !isPartly) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        QPen(color(isEnabled(option) ? ThemeColor::selectedText : ThemeColor::disabledIcon), 1.8,
             Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF at = square.topLeft();
    const qreal unit = square.width() / 15.0;
    if (isOn)
        painter.drawPolyline(QPolygonF{{at + QPointF(4, 7.8) * unit, at + QPointF(6.5, 10.3) * unit,
                                        at + QPointF(11, 5) * unit}});
    else
        painter.drawLine(at + QPointF(4, 7.5) * unit, at + QPointF(11, 7.5) * unit);
    painter.restore();
}

void LookControls::drawRadioMark(const QStyleOption& option, QPainter& painter) {
    const bool isOn = (option.state & QStyle::State_On) != 0;
    const QRect square = squareIn(option.rect);
    drawMarkGround(option, painter, square, isOn, square.width() / 2.0);
    if (!isOn) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        color(isEnabled(option) ? ThemeColor::selectedText : ThemeColor::disabledIcon));
    painter.drawEllipse(QRectF(square).center(), 3, 3);
    painter.restore();
}

// The one in front joins what it shows.
void LookControls::drawTab(const QStyleOption& option, QPainter& painter) {
    const bool isFront = (option.state & QStyle::State_Selected) != 0;
    const QRect& rect = option.rect;
    painter.fillRect(rect, color(isFront             ? ThemeColor::panel
                                 : isHovered(option) ? ThemeColor::hovered
                                                     : ThemeColor::window));
    // The mark lies away from what the tabs belong to.
    const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(&option);
    const bool isBelow = tab != nullptr && (tab->shape == QTabBar::RoundedSouth ||
                                            tab->shape == QTabBar::TriangularSouth);
    const int top = isBelow ? rect.bottom() - 1 : rect.top();
    if (isFront) painter.fillRect(rect.left(), top, rect.width(), 2, color(ThemeColor::accent));
    painter.fillRect(rect.right(), rect.top(), 1, rect.height(), color(ThemeColor::edge));
}

void LookControls::drawDockTitle(const QStyleOption& option, QPainter& painter, const QStyle& style,
                                 const QWidget* widget) {
    const auto* dock = qstyleoption_cast<const QStyleOptionDockWidget*>(&option);
    painter.fillRect(option.rect, color(ThemeColor::window));
    if (dock == nullptr) return;
    const QRect place = style.subElementRect(QStyle::SE_DockWidgetTitleBarText, &option, widget)
                            .adjusted(Spacing::tight, 0, 0, 0);
    painter.setPen(color(ThemeColor::dimText));
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft,
                     option.fontMetrics.elidedText(dock->title, Qt::ElideRight, place.width()));
}

void LookControls::drawProgress(const QStyleOption& option, QPainter& painter) {
    const auto* bar = qstyleoption_cast<const QStyleOptionProgressBar*>(&option);
    if (bar == nullptr) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QRectF groove(option.rect);
    groove.setHeight(std::min<qreal>(groove.height(), 6));
    groove.moveCenter(QRectF(option.rect).center());
    painter.setBrush(color(ThemeColor::track));
    painter.drawRoundedRect(groove, 3, 3);
    const double range = double(bar->maximum) - bar->minimum;
    QRectF done = groove;
    if (range > 0) {
        done.setWidth(groove.width() * (bar->progress - bar->minimum) / range);
    } else { // nobody knows how far it is
        done.setWidth(groove.width() / 3);
        done.moveCenter(groove.center());
    }
    painter.setBrush(color(ThemeColor::accent));
    painter.drawRoundedRect(done, 3, 3);
    painter.restore();
}

void LookControls::drawHeader(const QStyleOption& option, QPainter& painter) {
    const QRect& rect = option.rect;
    painter.fillRect(rect, color(ThemeColor::window));
    painter.fillRect(rect.left(), rect.bottom(), rect.width(), 1, color(ThemeColor::line));
}

void LookControls::drawFrame(const QStyleOption& option, QPainter& painter) {
    const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(&option);
    if (frame != nullptr && frame->lineWidth == 0) return;
    painter.save();
    painter.setPen(color(ThemeColor::line));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(option.rect.adjusted(0, 0, -1, -1));
    painter.restore();
}

} // namespace ombrel
