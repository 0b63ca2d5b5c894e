// The menu View.
#include "App/Canvas/CanvasView.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/WindowAction.h"

#include <numbers>

namespace ombrel {

namespace {

using In = const ActionContext&;

constexpr double turnStep = 15 * std::numbers::pi / 180;

CanvasNavigation& navigation(In in) {
    return in.window.canvas().navigation();
}
Settings& settings(In in) {
    return in.controller.services().settings;
}

template <const BoolSetting& key>
constexpr WindowAction toggle(const char* identifier, const char* text) {
    return {"&View", identifier,
            text,    "",
            nullptr, [](In in) { settings(in).set(key, !settings(in).get(key)); },
            nullptr, [](In in) { return settings(in).get(key); }};
}

constexpr WindowAction view[] = {
    {"&View", "zoomIn", "Zoom &In", "Ctrl++; Ctrl+=", nullptr,
     [](In in) { navigation(in).zoomIn(); }},
    {"&View", "zoomOut", "Zoom &Out", "Ctrl+-", nullptr, [](In in) { navigation(in).zoomOut(); }},
    {"&View", "zoomFit", "&Fit on Screen", "Ctrl+0", nullptr,
     [](In in) { navigation(in).zoomToFit(); }},
    {"&View", "zoom50", "&50%", "", nullptr, [](In in) { navigation(in).zoomTo(0.5); }},
    {"&View", "zoom100", "&100%", "Ctrl+1", nullptr, [](In in) { navigation(in).actualPixels(); }},
    {"&View", "zoom200", "&200%", "Ctrl+2", nullptr, [](In in) { navigation(in).zoomTo(2); }},
    {"&View", nullptr, nullptr},
    {"&View", "turnViewRight", "Turn &Right", "Ctrl+Alt+Right", nullptr,
     [](In in) { navigation(in).rotateBy(turnStep); }},
    {"&View", "turnViewLeft", "Turn &Left", "Ctrl+Alt+Left", nullptr,
     [](In in) { navigation(in).rotateBy(-turnStep); }},
    {"&View", "resetRotation", "Upri&ght", "Ctrl+Alt+Up",
     [](In in) {
         return in.session._viewTransform->rotation != 0 ? nullptr : "The view is upright.";
     },
     [](In in) { navigation(in).resetRotation(); }},
    {"&View", nullptr, nullptr},
    toggle<SettingKeys::zoomLocked>("lockZoom", "Lock &Zoom Against Gestures"),
    toggle<SettingKeys::rotationLocked>("lockRotation", "Lock Ro&tation Against Gestures"),
};

} // namespace

std::span<const WindowAction> viewActions() {
    return view;
}

} // namespace ombrel
