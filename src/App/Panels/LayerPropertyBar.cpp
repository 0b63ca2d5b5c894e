#include "App/Panels/LayerPropertyBar.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/BlendModeBox.h"
#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerSelection.h"
#include "App/Panels/ScrubLabel.h"
#include "Editor/DocumentSession.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>
#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

struct LockButton {
    const char* objectName;
    const char* words;
    const char* icon;
    LayerLocks locks;
};

constexpr std::array<LockButton, 4> lockButtons{{
    {"lockTransparency", "Lock transparent pixels", "grid-2x2", LayerLocks::transparency},
    {"lockPixels", "Lock pixels", "brush", LayerLocks::pixels},
    {"lockPosition", "Lock position", "move", LayerLocks::position},
    {"lockAll", "Lock all", "lock", LayerLocks::all},
}};

const std::string opacityEntry = "Layer Opacity";
const std::string blendModeEntry = "Blend Mode";

/// A slider that tells of a press before it moves to where it was pressed.
class OpacitySlider : public QSlider {
public:
    using QSlider::QSlider;

    std::function<void()> onPress;
    std::function<void()> onRelease;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) onPress();
        QSlider::mousePressEvent(event);
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        QSlider::mouseReleaseEvent(event);
        if (event->button() == Qt::LeftButton) onRelease();
    }
};

LayerPropertyChange toOpacity(int percent) {
    return [percent](LayerProperties& properties) {
        properties.opacity = static_cast<float>(percent) / 100;
    };
}

} // namespace

LayerPropertyBar::LayerPropertyBar(std::shared_ptr<DocumentSession> session, QWidget* parent)
    : QWidget(parent), session_(std::move(session)), edit_(session_),
      blendMode_(new BlendModeBox(this)) {
    buildLocks();
    buildOpacity();
    buildScrubbing();
    blendMode_->setObjectName(QStringLiteral("blendMode"));
    auto* first = new QHBoxLayout;
    first->setSpacing(Spacing::hair);
    first->addWidget(blendMode_, 1);
    first->addSpacing(Spacing::tight);
    for (QToolButton* lock : locks_)
        first->addWidget(lock);
    auto* second = new QHBoxLayout;
    second->setSpacing(Spacing::normal);
    second->addWidget(label_);
    second->addWidget(slider_, 1);
    second->addWidget(spin_);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(Spacing::normal, Spacing::tight, Spacing::normal, Spacing::tight);
    rows->setSpacing(Spacing::tight);
    rows->addLayout(first);
    rows->addLayout(second);
    connectBlendMode();
    connectOpacity();
}

LayerPropertyBar::~LayerPropertyBar() = default;

void LayerPropertyBar::buildLocks() {
    for (std::size_t i = 0; i < lockButtons.size(); ++i) {
        const LockButton& description = lockButtons[i];
        auto* button = new QToolButton(this);
        button->setObjectName(QLatin1String(description.objectName));
        button->setAutoRaise(true);
        button->setCheckable(true);
        button->setIcon(icon(description.icon));
        button->setToolTip(QLatin1String(description.words));
        button->setAccessibleName(button->toolTip());
        connect(button, &QToolButton::clicked, this, [this, locks = description.locks] {
            LayerActions::toggleLocks(*session_, locks);
            refresh();
        });
        locks_[i] = button;
    }
}

void LayerPropertyBar::buildOpacity() {
    auto* slider = new OpacitySlider(Qt::Horizontal, this);
    slider->onPress = [this] { edit_.begin(); };
    slider->onRelease = [this] { edit_.commit(opacityEntry); };
    slider_ = slider;
    slider_->setObjectName(QStringLiteral("opacitySlider"));
    slider_->setRange(0, 100);
    slider_->setFocusPolicy(Qt::TabFocus);
    spin_ = new QSpinBox(this);
    spin_->setObjectName(QStringLiteral("opacity"));
    spin_->setRange(0, 100);
    spin_->setSuffix(QStringLiteral(" %"));
    spin_->setKeyboardTracking(false);
    spin_->setAlignment(Qt::AlignRight);
    for (QWidget* widget : {static_cast<QWidget*>(slider_), static_cast<QWidget*>(spin_)}) {
        widget->setToolTip(QStringLiteral("Opacity"));
        widget->setAccessibleName(QStringLiteral("Opacity"));
    }
}

void LayerPropertyBar::buildScrubbing() {
    label_ = new ScrubLabel(QStringLiteral("Opacity"), this);
    label_->setObjectName(QStringLiteral("opacityLabel"));
    label_->setBuddy(spin_);
    label_->onBegin = [this] {
        scrubbedFrom_ = spin_->value();
        edit_.begin();
    };
    label_->onScrub = [this](double steps) {
        setOpacity(static_cast<int>(std::lround(std::clamp(scrubbedFrom_ + steps, 0.0, 100.0))));
    };
    label_->onEnd = [this] {
        edit_.commit(opacityEntry);
        refresh();
    };
    label_->onCancel = [this] {
        edit_.cancel();
        refresh();
    };
}

void LayerPropertyBar::typeOpacity(int digit) {
    constexpr qint64 quickMilliseconds = 700;
    const bool isSecond = digit_ && sinceDigit_.elapsed() < quickMilliseconds;
    const int percent = isSecond ? 10 * *digit_ + digit : digit == 0 ? 100 : 10 * digit;
    digit_ = isSecond ? std::nullopt : std::optional(digit);
    sinceDigit_.start();
    if (!edit_.isOpen()) setOpacity(percent);
}

void LayerPropertyBar::connectBlendMode() {
    blendMode_->onLook = [this](BlendMode mode) {
        edit_.begin();
        setBlendMode(mode);
    };
    blendMode_->onChoose = [this](BlendMode mode) {
        const bool isByKey = !edit_.isOpen();
        edit_.begin();
        setBlendMode(mode);
        edit_.commit(blendModeEntry);
        if (isByKey) refresh();
    };
    blendMode_->onDismiss = [this] {
        edit_.cancel();
        refresh();
    };
}

void LayerPropertyBar::setBlendMode(BlendMode mode) {
    const auto change = [mode](LayerProperties& properties) { properties.blendMode = mode; };
    edit_.change(LayerActions::targets(*session_), change);
}

void LayerPropertyBar::connectOpacity() {
    connect(slider_, &QSlider::valueChanged, this, [this](int percent) { setOpacity(percent); });
    connect(spin_, &QSpinBox::valueChanged, this, [this](int percent) { setOpacity(percent); });
}

void LayerPropertyBar::setOpacity(int percent) {
    if (isRefreshing_) return;
    const std::vector<LayerID> ids = LayerActions::targets(*session_);
    if (edit_.isOpen()) {
        edit_.change(ids, toOpacity(percent));
    } else if (!ids.empty()) {
        session_->perform(
            propertiesCommand(*session_->_state, ids, toOpacity(percent), opacityEntry, true));
    }
}

void LayerPropertyBar::refresh() {
    isRefreshing_ = true;
    const LayerNode* active = session_->_state->activeLayer();
    setEnabled(active != nullptr);
    if (active != nullptr) {
        const LayerProperties& properties = active->properties();
        const int percent = static_cast<int>(std::lround(100 * properties.opacity));
        if (!edit_.isOpen()) slider_->setValue(percent);
        spin_->setValue(percent);
        // An open list shows what is under the pointer.
        if (!blendMode_->isListOpen()) blendMode_->setMode(properties.blendMode);
        const LayerSelection layers(*session_);
        blendMode_->setOffersPassThrough(layers.areGroups());
        for (std::size_t i = 0; i < locks_.size(); ++i)
            locks_[i]->setChecked(layers.haveLocks(lockButtons[i].locks));
    }
    isRefreshing_ = false;
}

} // namespace ombrel
