// The menu File.
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ExportDialog.h"
#include "App/Shell/InformationDialogs.h"
#include "App/Shell/PlaceImage.h"
#include "App/Shell/WindowAction.h"

namespace ombrel {

namespace {

using In = const ActionContext&;

const char* canSave(In in) {
    if (in.document.isSaving()) return "The document is being saved.";
    return in.document.isReverting() ? "The document is being read anew." : nullptr;
}
const char* canRevert(In in) {
    if (const char* why = canSave(in)) return why;
    if (!in.document.source()) return "The document comes from no file yet.";
    if (!in.document.isEdited()) return "Nothing was changed since the file was read.";
    const bool isQuiet = !*in.session._isLiveEditing && !*in.session._isBusy;
    return isQuiet ? nullptr : "An edit is under way: finish it first.";
}

constexpr WindowAction file[] = {
    {"&File", "new", "&New…", "Ctrl+N", nullptr,
     [](In in) { in.controller.newDocument(&in.window); }},
    {"&File", "open", "&Open…", "Ctrl+O", nullptr,
     [](In in) { in.controller.chooseAndOpen(&in.window); }},
    {"&File", "openRecent", "Open &Recent"},
    {"&File", nullptr, nullptr},
    {"&File", "close", "&Close", "Ctrl+W", nullptr, [](In in) { in.window.close(); }},
    {"&File", "closeAll", "Close A&ll", "Ctrl+Alt+W", nullptr,
     [](In in) { in.controller.closeAll(); }},
    {"&File", "save", "&Save", "Ctrl+S", canSave, [](In in) { in.document.save(); }},
    {"&File", "saveAs", "Save &As…", "Ctrl+Shift+S", canSave, [](In in) { in.document.saveAs(); }},
    {"&File", "saveCopy", "Save a Cop&y…", "Ctrl+Alt+S", canSave,
     [](In in) { in.document.saveCopy(); }},
    {"&File", "revert", "Re&vert", "F12", canRevert, [](In in) { in.document.revert(); }},
    {"&File", nullptr, nullptr},
    {"&File", "placeImage", "&Place Image…", "", nullptr,
     [](In in) { choosePlacedImage(in.window, in.document, in.controller); }},
    {"&File", "export", "&Export As…", "Ctrl+Shift+E", nullptr,
     [](In in) { ExportDialog::showOn(in.window, in.document, in.controller.services()); }},
    {"&File", nullptr, nullptr},
    {"&File", "fileInformation", "&Information…", "Ctrl+Alt+Shift+I", nullptr,
     [](In in) { showDocumentInformation(in.window, in.document); }},
    {"&File", nullptr, nullptr},
    {"&File", "quit", "&Quit", "Ctrl+Q", nullptr, [](In in) { in.controller.quit(); }},
};

} // namespace

std::span<const WindowAction> fileActions() {
    return file;
}

} // namespace ombrel
