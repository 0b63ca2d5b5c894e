#include "App/Panels/ColorWells.h"

#include "App/Color/ColorDialog.h"
#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/ScreenColor.h"
#include "Editor/DocumentSession.h"

#include <QKeySequence>
#include <QPainter>
#include <QToolButton>
#include <utility>

namespace ombrel {

namespace {

constexpr int wellSide = 24;
constexpr int wellStep = 12; ///< the one behind is so far to the right and below
constexpr int buttonSide = 18;

/// A square of one colour.
class Well : public QToolButton {
public:
    using QToolButton::QToolButton;

    void setColor(const QColor& color) {
        if (color == color_) return;
        color_ = color;
        update();
    }

    std::function<void()> onDoubleClick;

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override {
        QToolButton::mouseDoubleClickEvent(event);
        if (onDoubleClick) onDoubleClick();
    }
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.fillRect(rect(), Theme::color(ThemeColor::edge));
        const bool isMarked = underMouse() || hasFocus() || isChecked();
        painter.fillRect(rect().adjusted(1, 1, -1, -1),
                         Theme::color(isMarked ? ThemeColor::accent : ThemeColor::dimText));
        painter.fillRect(rect().adjusted(2, 2, -2, -2), color_);
    }

private:
    QColor color_;
};

} // namespace

ColorWells::ColorWells(const PanelContext& context, Click click, QWidget* parent)
    : QWidget(parent), session_(context.session), settings_(context.settings), click_(click),
      background_(makeWell(QStringLiteral("Background color"), &PaintColors::background)),
      foreground_(makeWell(QStringLiteral("Foreground color"), &PaintColors::foreground)) {
    background_->setObjectName(QStringLiteral("backgroundColor"));
    foreground_->setObjectName(QStringLiteral("foregroundColor"));
    QToolButton* reset =
        makeButton("defaultColors", "rotate-ccw", QStringLiteral("Black and white"), Qt::Key_D,
                   &ColorWells::reset);
    QToolButton* swap = makeButton("swapColors", "arrow-left-right",
                                   QStringLiteral("Swap the colors"), Qt::Key_X, &ColorWells::swap);
    setFixedSize(wellSide + wellStep, wellSide + wellStep + buttonSide + Spacing::hair);
    reset->move(0, 0);
    swap->move(width() - buttonSide, 0);
    foreground_->move(0, buttonSide + Spacing::hair);
    background_->move(wellStep, buttonSide + Spacing::hair + wellStep);
    connections_.push_back(session_->colors.onChange([this](const auto&) { refresh(); }));
    // The profile says what the numbers look like.
    connections_.push_back(session_->_state.onChange(
        [this, profile = session_->_state->canvas.profile](const DocumentState& state) mutable {
            if (state.canvas.profile == profile) return;
            profile = state.canvas.profile;
            refresh();
        }));
    refresh();
    select(&PaintColors::foreground);
}

ColorWells::~ColorWells() = default;

QToolButton* ColorWells::makeWell(const QString& name, Slot slot) {
    auto* well = new Well(this);
    well->setFixedSize(wellSide, wellSide);
    well->setToolTip(name);
    well->setAccessibleName(name);
    if (click_ == Click::asks) {
        connect(well, &QToolButton::clicked, this, [this, slot, name] { choose(slot, name); });
    } else {
        well->setCheckable(true);
        connect(well, &QToolButton::clicked, this, [this, slot] { select(slot); });
        well->onDoubleClick = [this, slot, name] { choose(slot, name); };
    }
    return well;
}

QToolButton* ColorWells::makeButton(const char* objectName, const char* icon, const QString& words,
                                    int key, void (ColorWells::*action)()) {
    auto* button = new QToolButton(this);
    button->setObjectName(QLatin1String(objectName));
    button->setAutoRaise(true);
    button->setFixedSize(buttonSide, buttonSide);
    button->setIconSize({12, 12});
    button->setIcon(ombrel::icon(icon));
    button->setToolTip(QStringLiteral("%1 (%2)").arg(words, QKeySequence(key).toString()));
    button->setAccessibleName(words);
    connect(button, &QToolButton::clicked, this, action);
    return button;
}

void ColorWells::swap() {
    PaintColors colors = *session_->colors;
    std::swap(colors.foreground, colors.background);
    session_->colors = colors;
}

void ColorWells::reset() {
    session_->colors = PaintColors{};
}

void ColorWells::select(Slot slot) {
    if (click_ == Click::asks) return;
    foreground_->setChecked(slot == &PaintColors::foreground);
    background_->setChecked(slot == &PaintColors::background);
    if (onSelect) onSelect(slot);
}

void ColorWells::choose(Slot slot, const QString& title) {
    const PickedColor color(
        displayColor((*session_->colors).*slot, session_->_state->canvas.profile));
    auto* dialog = new ColorDialog(settings_, title, color, this);
    dialog->onAccept = [this, slot](const PickedColor& chosen) {
        PaintColors colors = *session_->colors;
        colors.*slot = documentColor(chosen.rgb(), session_->_state->canvas.profile);
        session_->colors = colors;
    };
    dialog->open();
}

void ColorWells::refresh() {
    const ColorProfile& profile = session_->_state->canvas.profile;
    const PaintColors& colors = *session_->colors;
    static_cast<Well*>(foreground_)->setColor(screenColor(colors.foreground, profile));
    static_cast<Well*>(background_)->setColor(screenColor(colors.background, profile));
}

} // namespace ombrel
