#include "App/Panels/BlendModeBox.h"

#include "App/Look/QtText.h"

#include <QEvent>
#include <QStandardItemModel>
#include <QTimer>
#include <algorithm>
#include <array>

namespace ombrel {

namespace {

/// After these a line is drawn.
constexpr std::array groupEnds{BlendMode::dissolve, BlendMode::linearBurn, BlendMode::linearDodge,
                               BlendMode::pinLight, BlendMode::divide,     BlendMode::luminosity};

} // namespace

bool endsBlendModeGroup(BlendMode mode) {
    return std::ranges::find(groupEnds, mode) != groupEnds.end();
}

BlendModeBox::BlendModeBox(QWidget* parent) : QComboBox(parent) {
    for (const BlendModeName& name : blendModeNames) {
        addItem(toQt(name.displayName), static_cast<int>(name.mode));
        if (endsBlendModeGroup(name.mode)) insertSeparator(count());
    }
    setMaxVisibleItems(count());
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Blend mode"));
    setToolTip(QStringLiteral("Blend mode"));
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(8);
    connect(this, &QComboBox::highlighted, this, [this](int place) {
        if (isListOpen_ && place >= 0 && onLook) onLook(modeAt(place));
    });
    connect(this, &QComboBox::activated, this, [this](int place) {
        isChosen_ = true;
        if (onChoose) onChoose(modeAt(place));
    });
}

void BlendModeBox::setMode(BlendMode mode) {
    const int place = findData(static_cast<int>(mode));
    if (place != currentIndex()) setCurrentIndex(place);
}

BlendMode BlendModeBox::mode() const {
    return modeAt(currentIndex());
}

BlendMode BlendModeBox::modeAt(int place) const {
    return static_cast<BlendMode>(itemData(place).toInt());
}

void BlendModeBox::setOffersPassThrough(bool offers) {
    auto* items = qobject_cast<QStandardItemModel*>(model());
    items->item(findData(static_cast<int>(BlendMode::passThrough)))->setEnabled(offers);
}

void BlendModeBox::showPopup() {
    isListOpen_ = true;
    isChosen_ = false;
    QComboBox::showPopup();
}

void BlendModeBox::hidePopup() {
    QComboBox::hidePopup();
    // The choice is told after the list closes.
    if (isListOpen_) QTimer::singleShot(0, this, [this] { endList(); });
}

void BlendModeBox::endList() {
    if (!std::exchange(isListOpen_, false) || isChosen_) return;
    if (onDismiss) onDismiss();
}

void BlendModeBox::changeEvent(QEvent* event) {
    QComboBox::changeEvent(event);
    if (event->type() == QEvent::EnabledChange && !isEnabled()) endList();
}

} // namespace ombrel
