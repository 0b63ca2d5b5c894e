// The menu Help.
#include "App/Shell/CommandPalette.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/InformationDialogs.h"
#include "App/Shell/WindowAction.h"

namespace ombrel {

namespace {

using In = const ActionContext&;

constexpr WindowAction help[] = {
    {"&Help", "findCommand", "&Find Command…", "F1; Ctrl+Shift+P", nullptr,
     [](In in) { CommandPalette::showOn(in.window); }},
    {"&Help", nullptr, nullptr},
    {"&Help", "systemInformation", "&System Information…", "", nullptr,
     [](In in) { showSystemInformation(in.window, in.controller.services()); }},
    {"&Help", "licences", "&Licenses…", "", nullptr, [](In in) { showLicenses(in.window); }},
    {"&Help", nullptr, nullptr},
    {"&Help", "about", "&About Ombrel", "", nullptr, [](In in) { showAbout(&in.window); }},
};

} // namespace

std::span<const WindowAction> helpActions() {
    return help;
}

} // namespace ombrel
