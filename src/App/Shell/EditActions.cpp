// The menu Edit: its beginning, undo and redo, and its end, colours and settings.
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/SettingsForm.h"
#include "App/Shell/ShortcutForm.h"
#include "App/Shell/WindowAction.h"

#include <utility>

namespace ombrel {

namespace {

using In = const ActionContext&;

std::string withName(const char* verb, const std::optional<std::string>& name) {
    return name ? std::string(verb) + " " + *name : verb;
}

const char* canUndo(In in) {
    return in.session.takesUndo() ? nullptr : "There is nothing to undo.";
}
const char* canRedo(In in) {
    return in.session.takesRedo() ? nullptr : "Nothing was undone.";
}

void swapColors(In in) {
    PaintColors colors = *in.session.colors;
    std::swap(colors.foreground, colors.background);
    in.session.colors = colors;
}

constexpr WindowAction edit[] = {
    {"&Edit", "undo", "&Undo", "Ctrl+Z", canUndo, [](In in) { in.session.undo(); },
     [](In in) { return withName("&Undo", in.session.undoName()); }},
    {"&Edit", "redo", "&Redo", "Ctrl+Shift+Z; Ctrl+Y", canRedo, [](In in) { in.session.redo(); },
     [](In in) { return withName("&Redo", in.session.redoName()); }},
};

constexpr WindowAction settings[] = {
    {"&Edit", nullptr, nullptr},
    {"&Edit", "swapColors", "S&wap Foreground and Background", "X", nullptr, swapColors},
    {"&Edit", "resetColors", "Blac&k and White", "D", nullptr,
     [](In in) { in.session.colors = PaintColors{}; }},
    {"&Edit", nullptr, nullptr},
    {"&Edit", "shortcuts", "Keyboard S&hortcuts…", "Ctrl+Alt+Shift+K", nullptr,
     [](In in) { showShortcutForm(in.window, in.controller.services().settings); }},
    {"&Edit", "settings", "Settin&gs…", "Ctrl+K", nullptr,
     [](In in) { SettingsForm::show(in.window, in.controller.services()); }},
};

} // namespace

std::span<const WindowAction> editActions() {
    return edit;
}
std::span<const WindowAction> settingsActions() {
    return settings;
}

} // namespace ombrel
