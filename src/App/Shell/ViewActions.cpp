// The menu View.
#include "App/Canvas/CanvasView.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/WindowAction.h"

namespace ombrel {

namespace {

using In = const ActionContext&;

CanvasNavigation& navigation(In in) {
    return in.window.canvas().navigation();
}

void toggleFullScreen(In in) {
    in.window.setWindowState(in.window.windowState() ^ Qt::WindowFullScreen);
}

constexpr WindowAction view[] = {
    {"&View", "zoomIn", "Zoom &In", "Ctrl++", nullptr, [](In in) { navigation(in).zoomIn(); }},
    {"&View", "zoomOut", "Zoom &Out", "Ctrl+-", nullptr, [](In in) { navigation(in).zoomOut(); }},
    {"&View", "zoomFit", "&Fit on Screen", "Ctrl+0", nullptr,
     [](In in) { navigation(in).zoomToFit(); }},
    {"&View", "zoom100", "&100%", "Ctrl+1", nullptr, [](In in) { navigation(in).actualPixels(); }},
    {"&View", "zoom200", "&200%", "Ctrl+2", nullptr, [](In in) { navigation(in).zoomTo(2); }},
    {"&View", nullptr, nullptr},
    {"&View", "resetRotation", "Reset &Rotation", "",
     [](In in) { return in.session._viewTransform->rotation != 0; },
     [](In in) { navigation(in).resetRotation(); }},
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
