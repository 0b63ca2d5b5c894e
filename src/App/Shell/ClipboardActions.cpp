// The lines of the menu Edit that use the clipboard.
#include "App/Canvas/CanvasView.h"
#include "App/Clipboard/ClipMimeData.h"
#include "App/Clipboard/Pasting.h"
#include "App/Panels/LayerSelection.h"
#include "App/Shell/ActionReasons.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/WindowAction.h"

#include <QApplication>
#include <QClipboard>

namespace ombrel {

namespace {

using In = const ActionContext&;

using ActionReasons::whenFree;
using ActionReasons::whenLayers;

/// The clipboard owns what it is given.
void put(In in, LayerClip clip) {
    AppServices& services = in.controller.services();
    auto* data = new ClipMimeData(std::move(clip), services.store, services.device);
    if (!data->clip().fitsPicture())
        in.window.showMessage("Too large for other programs: it can be pasted in Ombrel only.");
    QApplication::clipboard()->setMimeData(data);
}

bool copyLayers(In in) {
    auto clip = LayerClip::ofLayers(*in.session._state, LayerSelection(in.session).ids());
    if (!clip) {
        in.session.onError(clip.error());
        return false;
    }
    put(in, *std::move(clip));
    return true;
}

void cut(In in) {
    const std::vector<LayerID> ids = LayerSelection(in.session).ids();
    if (copyLayers(in)) in.session.perform(CutLayersCommand{ids});
}

void pasteClipboard(In in, PasteTarget::Place place) {
    const QMimeData* data = QApplication::clipboard()->mimeData();
    std::vector<PasteSource> sources;
    if (data != nullptr && canPaste(*data)) sources = pasteSources(*data);
    if (sources.empty()) {
        QApplication::beep();
        return in.window.showMessage("There is no picture on the clipboard.");
    }
    paste(
        in.document, in.controller.services(), std::move(sources),
        {.canvas = {}, .visible = in.window.canvas().navigation().visibleBounds(), .place = place});
}

constexpr WindowAction clipboard[] = {
    {"&Edit", nullptr, nullptr},
    {"&Edit", "cut", "Cu&t", "Ctrl+X", whenLayers, cut},
    {"&Edit", "copy", "&Copy", "Ctrl+C", whenLayers, [](In in) { copyLayers(in); }},
    {"&Edit", "copyMerged", "Copy &Merged", "Ctrl+Shift+C", whenFree,
     [](In in) { put(in, LayerClip::merged(*in.session._state, "Merged Copy")); }},
    {"&Edit", "paste", "&Paste", "Ctrl+V", whenFree,
     [](In in) { pasteClipboard(in, PasteTarget::Place::view); }},
    {"&Edit", "pasteInPlace", "Paste &in Place", "Ctrl+Shift+V", whenFree,
     [](In in) { pasteClipboard(in, PasteTarget::Place::inPlace); }},
};

} // namespace

std::span<const WindowAction> clipboardActions() {
    return clipboard;
}

} // namespace ombrel
