// The menu Layer: each action is a command built from what is selected.
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/LayerSelection.h"
#include "App/Shell/WindowAction.h"
#include "Commands/AddLayerCommands.h"
#include "Commands/ArrangeCommands.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/GroupCommands.h"
#include "Commands/LayerPropertyCommands.h"
#include "Commands/MergeCommands.h"
#include "Commands/RasterizeLayersCommand.h"
#include "Commands/RotateCommands.h"

namespace ombrel {

namespace {

using In = const ActionContext&;
using Arrangement = ArrangeLayersCommand::Arrangement;

LayerSelection selected(In in) {
    return LayerSelection(in.session);
}
bool isFree(In in) {
    return !*in.session._isLiveEditing;
}
bool hasLayers(In in) {
    return isFree(in) && !selected(in).ids().empty();
}

template <Arrangement arrangement>
constexpr WindowAction arrange(const char* identifier, const char* text, const char* shortcut) {
    return {
        "&Layer/&Arrange",
        identifier,
        text,
        shortcut,
        [](In in) { return isFree(in) && selected(in).canArrange(arrangement); },
        [](In in) { in.session.perform(ArrangeLayersCommand{selected(in).ids(), arrangement}); }};
}

template <FlipAxis axis>
constexpr WindowAction flip(const char* identifier, const char* text) {
    return {"&Layer/&Transform", identifier, text, "", hasLayers, [](In in) {
                in.session.perform(FlipLayersCommand{selected(in).ids(), axis});
            }};
}

template <int degrees>
constexpr WindowAction turn(const char* identifier, const char* text) {
    return {"&Layer/&Transform", identifier, text, "", hasLayers, [](In in) {
                in.session.perform(RotateLayersCommand{selected(in).ids(), double(degrees)});
            }};
}

void toggleLock(In in) {
    const LayerSelection layers = selected(in);
    const LayerLocks locks = layers.isLocked() ? LayerLocks{} : LayerLocks::all;
    in.session.perform(layers.withProperties("Lock or Unlock Layers",
                                             [&](LayerProperties& each) { each.locks = locks; }));
}

void toggleVisibility(In in) {
    const LayerSelection layers = selected(in);
    SetLayersVisibilityCommand command;
    for (const LayerID id : layers.ids())
        command.visibility[id] = !layers.isVisible();
    in.session.perform(command);
}

std::string newLayerName(In in) {
    return "Layer " + std::to_string(in.session._state->allPixelLayers().size() + 1);
}

constexpr WindowAction layer[] = {
    {"&Layer", "newLayer", "&New Layer", "Ctrl+Shift+N", isFree,
     [](In in) { in.session.perform(AddLayerCommand{PixelLayer::named(newLayerName(in)), {}}); }},
    {"&Layer", "newGroup", "New &Group", "", isFree,
     [](In in) { in.session.perform(NewGroupCommand{GroupLayer::named("Group"), {}}); }},
    {"&Layer", "duplicateLayers", "&Duplicate", "Ctrl+J", hasLayers,
     [](In in) {
         in.session.perform(DuplicateLayersCommand::of(*in.session._state, selected(in).ids()));
     }},
    {"&Layer", "deleteLayers", "D&elete", "",
     [](In in) { return isFree(in) && selected(in).canDelete(); },
     [](In in) { in.session.perform(DeleteLayersCommand{selected(in).ids()}); }},
    {"&Layer", nullptr, nullptr},
    {"&Layer", "groupLayers", "Gr&oup Layers", "Ctrl+G", hasLayers,
     [](In in) {
         in.session.perform(GroupLayersCommand{selected(in).ids(), GroupLayer::named("Group")});
     }},
    {"&Layer", "ungroupLayers", "&Ungroup Layers", "Ctrl+Shift+G",
     [](In in) { return isFree(in) && selected(in).isGroupActive(); },
     [](In in) { in.session.perform(UngroupCommand{*in.session._state->activeLayerID}); }},
    {"&Layer", nullptr, nullptr},
    arrange<Arrangement::bringToFront>("bringToFront", "Bring to &Front", "Ctrl+Shift+]"),
    arrange<Arrangement::bringForward>("bringForward", "Bring F&orward", "Ctrl+]"),
    arrange<Arrangement::sendBackward>("sendBackward", "Send Back&ward", "Ctrl+["),
    arrange<Arrangement::sendToBack>("sendToBack", "Send to &Back", "Ctrl+Shift+["),
    flip<FlipAxis::horizontal>("flipLayersHorizontal", "Flip &Horizontal"),
    flip<FlipAxis::vertical>("flipLayersVertical", "Flip &Vertical"),
    turn<90>("turnLayersRight", "Rotate 90° &Right"),
    turn<-90>("turnLayersLeft", "Rotate 90° &Left"),
    turn<180>("turnLayersAround", "Rotate 180°"),
    {"&Layer", nullptr, nullptr},
    {"&Layer", "clipLayers", "Create &Clipping Mask", "Ctrl+Alt+G", hasLayers,
     [](In in) {
         const LayerSelection layers = selected(in);
         in.session.perform(SetClippingCommand{layers.ids(), !layers.isClipped()});
     },
     [](In in) -> std::string {
         return selected(in).isClipped() ? "Release &Clipping Mask" : "Create &Clipping Mask";
     }},
    {"&Layer", "showLayers", "&Hide", "Ctrl+,", hasLayers, toggleVisibility,
     [](In in) -> std::string { return selected(in).isVisible() ? "&Hide" : "S&how"; }},
    {"&Layer", "lockLayers", "Loc&k", "Ctrl+/", hasLayers, toggleLock,
     [](In in) -> std::string { return selected(in).isLocked() ? "Unloc&k" : "Loc&k"; }},
    {"&Layer", "rasterizeLayers", "&Rasterize", "",
     [](In in) { return isFree(in) && selected(in).holdsLive(); },
     [](In in) { in.session.perform(RasterizeLayersCommand{selected(in).ids()}); }},
    {"&Layer", nullptr, nullptr},
    {"&Layer", "mergeLayers", "&Merge Down", "Ctrl+E",
     [](In in) { return isFree(in) && selected(in).canMerge(); },
     [](In in) { in.session.perform(selected(in).mergeCommand()); },
     [](In in) { return selected(in).mergeText(); }},
    {"&Layer", "mergeVisible", "Merge &Visible", "Ctrl+Shift+Alt+E", isFree,
     [](In in) { in.session.perform(MergeVisibleCommand{}); }},
    {"&Layer", "stampVisible", "&Stamp Visible", "", isFree,
     [](In in) { in.session.perform(StampVisibleCommand{}); }},
    {"&Layer", "flatten", "Flatten &Image", "", isFree,
     [](In in) { in.session.perform(FlattenImageCommand{}); }},
};

} // namespace

std::span<const WindowAction> layerActions() {
    return layer;
}

} // namespace ombrel
