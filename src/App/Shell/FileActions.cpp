// The menus File, Edit and Help.
#include "App/Shell/AboutDialogs.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ExportDialog.h"
#include "App/Shell/WindowAction.h"

#include <QApplication>

namespace ombrel {

namespace {

using In = const ActionContext&;

bool isQuiet(In in) {
    return !*in.session._isLiveEditing && !*in.session._isBusy;
}
bool canSave(In in) {
    return !in.document.isSaving() && !in.document.isReverting();
}
bool canRevert(In in) {
    return in.document.source() && in.document.isEdited() && canSave(in) && isQuiet(in);
}
std::string withName(const char* verb, const std::optional<std::string>& name) {
    return name ? std::string(verb) + " " + *name : verb;
}

constexpr WindowAction file[] = {
    {"&File", "new", "&New…", "Ctrl+N", nullptr,
     [](In in) { in.controller.newDocument(&in.window); }},
    {"&File", "open", "&Open…", "Ctrl+O", nullptr,
     [](In in) { in.controller.chooseAndOpen(&in.window); }},
    {"&File", "openRecent", "Open &Recent"},
    {"&File", nullptr, nullptr},
    {"&File", "close", "&Close", "Ctrl+W", nullptr, [](In in) { in.window.close(); }},
    {"&File", "save", "&Save", "Ctrl+S", canSave, [](In in) { in.document.save(); }},
    {"&File", "saveAs", "Save &As…", "Ctrl+Shift+S", canSave, [](In in) { in.document.saveAs(); }},
    {"&File", "revert", "Re&vert", "", canRevert, [](In in) { in.document.revert(); }},
    {"&File", nullptr, nullptr},
    {"&File", "export", "&Export As…", "Ctrl+Shift+E", nullptr,
     [](In in) { ExportDialog::showOn(in.window, in.document, in.controller.services()); }},
    {"&File", nullptr, nullptr},
    {"&File", "quit", "&Quit", "Ctrl+Q", nullptr, [](In in) { in.controller.quit(); }},
};

constexpr WindowAction edit[] = {
    {"&Edit", "undo", "&Undo", "Ctrl+Z", [](In in) { return in.session.takesUndo(); },
     [](In in) { in.session.undo(); },
     [](In in) { return withName("&Undo", in.session.undoName()); }},
    {"&Edit", "redo", "&Redo", "Ctrl+Shift+Z", [](In in) { return in.session.takesRedo(); },
     [](In in) { in.session.redo(); },
     [](In in) { return withName("&Redo", in.session.redoName()); }},
};

constexpr WindowAction help[] = {
    {"&Help", "shortcuts", "&Keyboard Shortcuts", "F1", nullptr,
     [](In in) { showShortcuts(in.window); }},
    {"&Help", "about", "&About Ombrel", "", nullptr, [](In in) { showAbout(&in.window); }},
};

} // namespace

std::span<const WindowAction> fileActions() {
    return file;
}
std::span<const WindowAction> editActions() {
    return edit;
}
std::span<const WindowAction> helpActions() {
    return help;
}

} // namespace ombrel
