// The menu View.
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/WindowAction.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

using In = const ActionContext&;

constexpr double smallestScale = 1.0 / 256;
constexpr double largestScale = 64;
/// Of the view, left free around the whole canvas.
constexpr double fitMargin = 0.04;

/// View points a canvas pixel, so that 100% is one screen pixel.
double scaleOf(In in, double percent) {
    return percent / 100 / *in.session._contentsScale;
}

void zoomTo(In in, double scale) {
    ViewTransform view = *in.session._viewTransform;
    view.scale = std::clamp(scale, smallestScale, largestScale);
    in.session.setViewTransform(view);
}

/// The next of the round magnifications, which lie at powers of two and halfway between.
void zoomStep(In in, int direction) {
    const double percent = in.session._viewTransform->scale * *in.session._contentsScale;
    const double step = std::log2(percent) * 2;
    const double next = direction > 0 ? std::floor(step + 1.01) : std::ceil(step - 1.01);
    const double power = std::exp2(std::floor(next / 2));
    const double rounded = std::fmod(std::abs(next), 2) > 0.5 ? power * 1.5 : power;
    zoomTo(in, rounded / *in.session._contentsScale);
}

void fit(In in) {
    ViewTransform view = *in.session._viewTransform;
    const PixelSize size = in.session._state->canvas.size;
    if (size.isEmpty() || view.viewportSize.width <= 0) return;
    const double cosine = std::abs(std::cos(view.rotation));
    const double sine = std::abs(std::sin(view.rotation));
    const auto width = static_cast<double>(size.width);
    const auto height = static_cast<double>(size.height);
    const double across = view.viewportSize.width / (width * cosine + height * sine);
    const double down = view.viewportSize.height / (width * sine + height * cosine);
    view.scale = std::clamp(std::min(across, down) * (1 - fitMargin), smallestScale, largestScale);
    view.center = {width / 2, height / 2};
    in.session.setViewTransform(view);
}

void resetRotation(In in) {
    ViewTransform view = *in.session._viewTransform;
    view.rotation = 0;
    in.session.setViewTransform(view);
}

void toggleFullScreen(In in) {
    in.window.setWindowState(in.window.windowState() ^ Qt::WindowFullScreen);
}

constexpr WindowAction view[] = {
    {"&View", "zoomIn", "Zoom &In", "Ctrl++", nullptr, [](In in) { zoomStep(in, 1); }},
    {"&View", "zoomOut", "Zoom &Out", "Ctrl+-", nullptr, [](In in) { zoomStep(in, -1); }},
    {"&View", "zoomFit", "&Fit on Screen", "Ctrl+0", nullptr, fit},
    {"&View", "zoom100", "&100%", "Ctrl+1", nullptr, [](In in) { zoomTo(in, scaleOf(in, 100)); }},
    {"&View", "zoom200", "&200%", "Ctrl+2", nullptr, [](In in) { zoomTo(in, scaleOf(in, 200)); }},
    {"&View", nullptr, nullptr},
    {"&View", "resetRotation", "Reset &Rotation", "",
     [](In in) { return in.session._viewTransform->rotation != 0; }, resetRotation},
    {"&View", nullptr, nullptr},
    {"&View", "fullScreen", "F&ull Screen", "F11", nullptr, toggleFullScreen, nullptr,
     [](In in) { return in.window.isFullScreen(); }},
    {"&View", "panels", "&Panels"},
};

} // namespace

std::span<const WindowAction> viewActions() {
    return view;
}

} // namespace ombrel
