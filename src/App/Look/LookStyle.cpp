#include "App/Look/LookStyle.h"

#include "App/Look/Icons.h"
#include "App/Look/LookControls.h"
#include "App/Look/Theme.h"

#include <QPainter>
#include <QSlider>
#include <QStyleOption>

#include <algorithm>

namespace ombrel {

namespace {

/// A button of a bar: flat, and coloured only while it is under the pointer, held or on.
void drawToolButton(const QStyleOption& option, QPainter& painter) {
    const QStyle::State state = option.state;
    const bool isEnabled = (state & QStyle::State_Enabled) != 0;
    QColor fill = Qt::transparent;
    if ((state & QStyle::State_On) != 0) {
        fill = Theme::color(isEnabled ? ThemeColor::selection : ThemeColor::line);
    } else if (isEnabled && (state & QStyle::State_Sunken) != 0) {
        fill = Theme::color(ThemeColor::pressed);
    } else if (isEnabled && (state & QStyle::State_MouseOver) != 0) {
        fill = Theme::color(ThemeColor::hovered).lighter(115);
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(Qt::NoPen);
    if ((state & QStyle::State_HasFocus) != 0)
        painter.setPen(QPen(Theme::color(ThemeColor::accent), 1));
    painter.drawRoundedRect(QRectF(option.rect).adjusted(1, 1, -1, -1), Spacing::corner,
                            Spacing::corner);
    painter.restore();
}

bool hasFrame(const QStyleOption& option) {
    const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(&option);
    return frame == nullptr || frame->lineWidth > 0;
}

void drawRow(const QStyleOption& option, QPainter& painter) {
    if ((option.state & QStyle::State_Selected) != 0) {
        painter.fillRect(option.rect, Theme::color(ThemeColor::selection));
    } else if ((option.state & QStyle::State_MouseOver) != 0) {
        painter.fillRect(option.rect, Theme::color(ThemeColor::hovered));
    }
}

/// Flat, with one line on the side of the canvas.
void drawToolBar(const QStyleOption& option, QPainter& painter) {
    const QRect& rect = option.rect;
    painter.fillRect(rect, Theme::color(ThemeColor::window));
    painter.setPen(Theme::color(ThemeColor::edge));
    const auto* bar = qstyleoption_cast<const QStyleOptionToolBar*>(&option);
    switch (bar != nullptr ? bar->toolBarArea : Qt::NoToolBarArea) {
    case Qt::LeftToolBarArea:
        return painter.drawLine(rect.topRight(), rect.bottomRight());
    case Qt::RightToolBarArea:
        return painter.drawLine(rect.topLeft(), rect.bottomLeft());
    case Qt::TopToolBarArea:
        return painter.drawLine(rect.bottomLeft(), rect.bottomRight());
    case Qt::BottomToolBarArea:
        return painter.drawLine(rect.topLeft(), rect.topRight());
    default:
        return;
    }
}

/// A line between rows, a frame around one.
void drawDropIndicator(const QStyleOption& option, QPainter& painter) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::color(ThemeColor::accent), 2));
    const QRectF rect(option.rect);
    if (option.rect.height() == 0) {
        const QPointF start(rect.left() + 4, rect.top());
        painter.drawLine(start + QPointF(3, 0), QPointF(rect.right(), rect.top()));
        painter.drawEllipse(start, 3, 3);
    } else {
        painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), Spacing::corner, Spacing::corner);
    }
    painter.restore();
}

} // namespace

LookStyle::LookStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

int LookStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                           const QWidget* widget) const {
    switch (metric) {
    case PM_SmallIconSize:
    case PM_ButtonIconSize:
    case PM_ToolBarIconSize:
        return Spacing::icon;
    case PM_ToolBarItemSpacing:
        return Spacing::hair;
    case PM_ToolBarItemMargin:
        return Spacing::hair;
    case PM_DockWidgetTitleMargin:
        return Spacing::tight;
    case PM_LayoutHorizontalSpacing:
    case PM_LayoutVerticalSpacing:
        return Spacing::tight;
    case PM_ScrollBarExtent:
        return 11;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int LookStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                         QStyleHintReturn* returned) const {
    switch (hint) {
    // A click beside a slider's handle brings the handle there.
    case SH_Slider_AbsoluteSetButtons:
        return Qt::LeftButton;
    case SH_Slider_PageSetButtons:
        return Qt::NoButton;
    case SH_ItemView_ShowDecorationSelected:
        return 1;
    case SH_ToolTip_WakeUpDelay:
        return 600;
    case SH_DialogButtonBox_ButtonsHaveIcons:
    case SH_EtchDisabledText: // grey words would be drawn twice, a pixel apart
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
}

void LookStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                              QPainter* painter, const QWidget* widget) const {
    switch (element) {
    case PE_PanelButtonTool:
        return drawToolButton(*option, *painter);
    case PE_PanelItemViewItem:
        return drawRow(*option, *painter);
    case PE_PanelItemViewRow:
        return; // items and branches cover it
    case PE_IndicatorItemViewItemDrop:
        return drawDropIndicator(*option, *painter);
    case PE_PanelButtonCommand:
        return LookControls::drawButton(*option, *painter);
    case PE_PanelLineEdit:
        if (hasFrame(*option)) return LookControls::drawField(*option, *painter);
        return; // the field around it is drawn
    case PE_FrameLineEdit:
        return LookControls::drawField(*option, *painter);
    case PE_IndicatorCheckBox:
    case PE_IndicatorItemViewItemCheck:
        return LookControls::drawCheckMark(*option, *painter);
    case PE_IndicatorRadioButton:
        return LookControls::drawRadioMark(*option, *painter);
    case PE_Frame:
        return LookControls::drawFrame(*option, *painter);
    case PE_FrameTabBarBase:
        return; // tabs stand on what they belong to
    case PE_FrameFocusRect:
        return; // controls show it themselves, rows by their selection
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void LookStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                   QPainter* painter, const QWidget* widget) const {
    if (const auto* combo = qstyleoption_cast<const QStyleOptionComboBox*>(option);
        control == CC_ComboBox && combo != nullptr)
        return LookControls::drawComboBox(*combo, *painter, *this, widget);
    if (const auto* spin = qstyleoption_cast<const QStyleOptionSpinBox*>(option);
        control == CC_SpinBox && spin != nullptr)
        return LookControls::drawSpinBox(*spin, *painter, *this, widget);
    if (const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
        control == CC_Slider && slider != nullptr && slider->tickPosition == QSlider::NoTicks)
        return LookControls::drawSlider(*slider, *painter, *this, widget);
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

// Low enough for panels, high enough to be hit.
QSize LookStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                  const QWidget* widget) const {
    QSize wanted = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (type == CT_PushButton) wanted = wanted.expandedTo({72, 26});
    if (type == CT_ComboBox || type == CT_LineEdit || type == CT_SpinBox)
        wanted.setHeight(std::max(wanted.height(), 24));
    if (type == CT_MenuItem && wanted.height() > 8) wanted.setHeight(std::max(wanted.height(), 24));
    if (type == CT_ItemViewItem) wanted.setHeight(std::max(wanted.height(), 22));
    if (type == CT_TabBarTab) wanted.setHeight(std::max(wanted.height(), 26));
    return wanted;
}

// Words begin in all fields alike, as in boxes with a choice.
QRect LookStyle::subElementRect(SubElement element, const QStyleOption* option,
                                const QWidget* widget) const {
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    if (element != SE_LineEditContents || !hasFrame(*option)) return rect;
    return rect.adjusted(Spacing::hair, 0, -Spacing::hair, 0);
}

// The buttons of a dock's title, and of bars that are too short.
QIcon LookStyle::standardIcon(StandardPixmap which, const QStyleOption* option,
                              const QWidget* widget) const {
    if (which == SP_TitleBarCloseButton) return icon("x");
    if (which == SP_TitleBarNormalButton) return icon("picture-in-picture-2");
    if (which == SP_ToolBarHorizontalExtensionButton) return icon("chevron-right");
    if (which == SP_ToolBarVerticalExtensionButton) return icon("chevron-down");
    return QProxyStyle::standardIcon(which, option, widget);
}

void LookStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    switch (element) {
    case CE_ToolBar:
        return drawToolBar(*option, *painter);
    case CE_TabBarTabShape:
        return LookControls::drawTab(*option, *painter);
    case CE_DockWidgetTitle:
        return LookControls::drawDockTitle(*option, *painter, *this, widget);
    case CE_ProgressBarGroove:
        return LookControls::drawProgress(*option, *painter);
    case CE_ProgressBarContents:
        return; // the groove shows it
    case CE_HeaderSection:
        return LookControls::drawHeader(*option, *painter);
    default:
        break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

} // namespace ombrel
