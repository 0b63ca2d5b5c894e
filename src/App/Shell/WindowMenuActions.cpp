// The menu Window: panels, workspaces, windows.
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/WindowAction.h"
#include "App/Shell/WindowListMenus.h"

namespace ombrel {

namespace {

using In = const ActionContext&;

const char* whenSeveral(In in) {
    return in.controller.documents().size() > 1 ? nullptr : "This is the only open document.";
}

constexpr WindowAction window[] = {
    {"&Window", "panels", "&Panels"},
    {"&Window", nullptr, nullptr},
    {"&Window/&Workspace", "workspaces", "&Choose"},
    {"&Window/&Workspace", "saveWorkspace", "&Save Workspace…", "", nullptr,
     [](In in) { askToSaveWorkspace(in.window); }},
    {"&Window/&Workspace", "deleteWorkspace", "&Delete"},
    {"&Window/&Workspace", nullptr, nullptr},
    {"&Window/&Workspace", "resetWorkspace", "&Reset to Standard", "", nullptr,
     [](In in) { in.window.layout().reset(); }},
    {"&Window", nullptr, nullptr},
    {"&Window", "hideAround", "&Hide Everything Around the Canvas", "Tab", nullptr,
     [](In in) { in.window.layout().toggle(PanelLayout::Hiding::everything); }, nullptr,
     [](In in) { return in.window.layout().hiding() == PanelLayout::Hiding::everything; }},
    {"&Window", "hidePanels", "Hide Pa&nels", "Shift+Tab", nullptr,
     [](In in) { in.window.layout().toggle(PanelLayout::Hiding::panels); }, nullptr,
     [](In in) { return in.window.layout().hiding() == PanelLayout::Hiding::panels; }},
    {"&Window", "fullScreen", "F&ull Screen", "F11", nullptr,
     [](In in) { in.window.layout().toggleFullScreen(); }, nullptr,
     [](In in) { return in.window.isFullScreen(); }},
    {"&Window", nullptr, nullptr},
    {"&Window", "minimize", "&Minimize", "Ctrl+M", nullptr,
     [](In in) { in.window.showMinimized(); }},
    {"&Window", "nextDocument", "Ne&xt Document", "Ctrl+Tab", whenSeveral,
     [](In in) { in.controller.raiseNextTo(in.document, 1); }},
    {"&Window", "previousDocument", "P&revious Document", "Ctrl+Shift+Tab", whenSeveral,
     [](In in) { in.controller.raiseNextTo(in.document, -1); }},
    {"&Window", "documents", "&Documents"},
};

} // namespace

std::span<const WindowAction> windowMenuActions() {
    return window;
}

} // namespace ombrel
