#include "App/Panels/NavigatorPanel.h"

#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/NavigatorView.h"
#include "App/Panels/PictureImage.h"
#include "App/Panels/ViewChange.h"
#include "App/Panels/ZoomField.h"
#include "Engine/SmallPicture.h"

#include <QHBoxLayout>
#include <QSlider>
#include <QToolButton>
#include <QVBoxLayout>
#include <chrono>
#include <cmath>
#include <numbers>
#include <utility>

namespace ombrel {

namespace {

using namespace std::chrono_literals;

constexpr auto gathering = 150ms;
constexpr auto slice = 4ms;
constexpr int zoomSteps = 1000;

constexpr double lowest = 0.01; ///< of the slider; what is typed may go further
constexpr double highest = 32;

int stepOf(double magnification) {
    const double share = std::log(magnification / lowest) / std::log(highest / lowest);
    return static_cast<int>(std::lround(zoomSteps * std::clamp(share, 0.0, 1.0)));
}

double magnificationOf(int step) {
    return lowest * std::pow(highest / lowest, static_cast<double>(step) / zoomSteps);
}

} // namespace

struct NavigatorPanel::Making {
    Making(PixelDevice& device, TileStore& store) : picture(device, store) {}

    SmallPicture picture;
    QImage image;
};

NavigatorPanel::NavigatorPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session),
      making_(std::make_shared<Making>(context.device, context.store)),
      view_(new NavigatorView(this)), zoom_(new QSlider(Qt::Horizontal, this)),
      turn_(new QToolButton(this)),
      work_(context.main, context.worker, gathering, [this] { return makingPicture(); }) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::tight, Spacing::tight, Spacing::tight, Spacing::tight);
    layout->setSpacing(Spacing::hair);
    layout->addWidget(view_, 1);
    makeBar();
    view_->onCenter = [this](RealPoint center) {
        ViewTransform wanted = *session_->_viewTransform;
        wanted.center = {center.x, center.y};
        changeView(*session_, [&](CanvasNavigation& view) { view.set(wanted); });
    };
    view_->onZoom = [this](double factor) {
        changeView(*session_, [factor](CanvasNavigation& view) { view.zoomBy(factor); });
    };
    view_->onResize = [this] {
        if (isVisible()) work_.wish();
    };
    connections_.push_back(
        session_->_state.observe([this](const DocumentState& state) { followState(state); }));
    connections_.push_back(
        session_->_viewTransform.observe([this](const ViewTransform& view) { followView(view); }));
}

NavigatorPanel::~NavigatorPanel() = default;

void NavigatorPanel::makeBar() {
    auto* bar = new QHBoxLayout;
    bar->setSpacing(Spacing::hair);
    const auto addButton = [&](const char* icon, const QString& words, double factor) {
        auto* button = new QToolButton(this);
        button->setObjectName(QLatin1String(icon));
        button->setAutoRaise(true);
        button->setIcon(ombrel::icon(icon));
        button->setToolTip(words);
        button->setAccessibleName(words);
        connect(button, &QToolButton::clicked, this, [this, factor] { view_->onZoom(factor); });
        bar->addWidget(button);
    };
    auto* field = new ZoomField(session_, this);
    field->setObjectName(QStringLiteral("navigatorZoomField"));
    bar->addWidget(field);
    addButton("zoom-out", QStringLiteral("Zoom out"), 0.5);
    zoom_->setObjectName(QStringLiteral("navigatorZoom"));
    zoom_->setAccessibleName(QStringLiteral("Magnification"));
    zoom_->setToolTip(zoom_->accessibleName());
    zoom_->setRange(0, zoomSteps);
    zoom_->setPageStep(zoomSteps / 12);
    zoom_->setSingleStep(zoomSteps / 60);
    connect(zoom_, &QSlider::valueChanged, this,
            [this](int step) { zoomTo(magnificationOf(step)); });
    bar->addWidget(zoom_, 1);
    addButton("zoom-in", QStringLiteral("Zoom in"), 2);
    turn_->setObjectName(QStringLiteral("navigatorTurn"));
    turn_->setAutoRaise(true);
    turn_->setToolTip(QStringLiteral("The view is turned; click to turn it back"));
    connect(turn_, &QToolButton::clicked, this, [this] {
        changeView(*session_, [](CanvasNavigation& view) { view.resetRotation(); });
    });
    bar->addWidget(turn_);
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);
}

void NavigatorPanel::followState(const DocumentState& state) {
    const PixelSize size = state.canvas.size;
    view_->setDocument({static_cast<double>(size.width), static_cast<double>(size.height)});
    if (isVisible()) work_.wish();
}

void NavigatorPanel::followView(const ViewTransform& view) {
    view_->setView(view);
    const QSignalBlocker blocker(zoom_);
    zoom_->setValue(stepOf(view.scale * *session_->_contentsScale));
    const double degrees = view.rotation * 180 / std::numbers::pi;
    turn_->setVisible(view.rotation != 0);
    turn_->setText(QStringLiteral("%1°").arg(degrees, 0, 'f', std::abs(degrees) < 10 ? 1 : 0));
    turn_->setAccessibleName(QStringLiteral("Rotation %1").arg(turn_->text()));
}

FollowingWork::Job NavigatorPanel::makingPicture() {
    auto make = [state = std::optional(*session_->_state), making = making_,
                 profile = session_->_state->canvas.profile,
                 side = view_->pictureSide()]() mutable {
        if (state) making->picture.follow(*std::exchange(state, std::nullopt), side);
        const auto result = making->picture.advance(slice);
        if (result && !*result) return false;
        const auto picture = making->picture.picture();
        making->image = picture ? pictureImage(*picture, profile) : QImage();
        return true;
    };
    return {std::move(make), [this] { view_->setPicture(making_->image); }};
}

void NavigatorPanel::zoomTo(double magnification) {
    changeView(*session_, [&](CanvasNavigation& view) { view.zoomTo(magnification); });
}

void NavigatorPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    work_.wish();
}

void NavigatorPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    work_.stopWith([making = making_] { // keeps nothing of the document alive
        making->picture.follow({}, 1);
        return true;
    });
}

} // namespace ombrel
