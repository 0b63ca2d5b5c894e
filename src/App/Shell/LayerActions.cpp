// The menu Layer: what it does is told by LayerActions, when it is possible by LayerSelection.
#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerMaskActions.h"
#include "App/Panels/LayerSelection.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/WindowAction.h"
#include "Commands/ArrangeCommands.h"
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
    return isFree(in) && !selected(in).isEmpty();
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

/// What the session alone tells.
template <bool (*holds)(const DocumentSession&)>
bool tells(In in) {
    return holds(in.session);
}
/// What to do with the session alone.
template <void (*action)(DocumentSession&)>
void act(In in) {
    action(in.session);
}

constexpr WindowAction layer[] = {
    {"&Layer", "newLayer", "&New Layer", "Ctrl+Shift+N", isFree, act<LayerActions::addLayer>},
    {"&Layer", "newGroup", "New &Group", "", isFree, act<LayerActions::addGroup>},
    {"&Layer", "duplicateLayers", "&Duplicate", "Ctrl+J", hasLayers, act<LayerActions::duplicate>},
    {"&Layer", "deleteLayers", "D&elete", "",
     [](In in) { return isFree(in) && selected(in).canRemove(); }, act<LayerActions::remove>},
    {"&Layer", nullptr, nullptr},
    {"&Layer", "groupLayers", "Gr&oup Layers", "Ctrl+G", hasLayers, act<LayerActions::group>},
    {"&Layer", "ungroupLayers", "&Ungroup Layers", "Ctrl+Shift+G",
     [](In in) { return isFree(in) && selected(in).canUngroup(); }, act<LayerActions::ungroup>},
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
    {"&Layer", "clipLayers", "Create &Clipping Mask", "Ctrl+Alt+G",
     [](In in) { return isFree(in) && selected(in).canClip(); }, act<LayerActions::toggleClipping>,
     [](In in) -> std::string {
         return selected(in).areClipped() ? "Release &Clipping Mask" : "Create &Clipping Mask";
     }},
    {"&Layer", "showLayers", "&Hide", "Ctrl+,", hasLayers, act<LayerActions::toggleVisibility>,
     [](In in) -> std::string { return selected(in).areVisible() ? "&Hide" : "S&how"; }},
    {"&Layer", "lockLayers", "Loc&k", "Ctrl+/", hasLayers, act<LayerActions::toggleAllLocks>,
     [](In in) -> std::string {
         return selected(in).haveLocks(LayerLocks::all) ? "Unloc&k" : "Loc&k";
     }},
    {"&Layer", "rasterizeLayers", "&Rasterize", "",
     [](In in) { return isFree(in) && selected(in).holdsLive(); }, act<LayerActions::rasterize>},
    {"&Layer", nullptr, nullptr},
    {"&Layer", "mergeLayers", "&Merge Down", "Ctrl+E",
     [](In in) { return isFree(in) && selected(in).merge() != LayerSelection::Merge::none; },
     act<LayerActions::merge>,
     [](In in) { return std::string("&") + LayerActions::mergeText(in.session); }},
    {"&Layer", "mergeVisible", "Merge &Visible", "Ctrl+Shift+Alt+E", isFree,
     act<LayerActions::mergeVisible>},
    {"&Layer", "stampVisible", "&Stamp Visible", "", isFree, act<LayerActions::stampVisible>},
    {"&Layer", "flatten", "Flatten &Image", "", isFree, act<LayerActions::flatten>},
    {"&Layer", nullptr, nullptr},
    {"&Layer/Layer &Mask", "addMaskShowing", "&Add, Showing All", "",
     tells<LayerMaskActions::canAdd>, act<LayerMaskActions::addRevealing>},
    {"&Layer/Layer &Mask", "addMaskHiding", "Add, &Hiding All", "", tells<LayerMaskActions::canAdd>,
     act<LayerMaskActions::addHiding>},
    {"&Layer/Layer &Mask", nullptr, nullptr},
    {"&Layer/Layer &Mask", "enableMask", "&Enabled", "", tells<LayerMaskActions::hasMask>,
     act<LayerMaskActions::toggleEnabled>, nullptr, tells<LayerMaskActions::isEnabled>},
    {"&Layer/Layer &Mask", "linkMask", "&Linked to the Layer", "", tells<LayerMaskActions::hasMask>,
     act<LayerMaskActions::toggleLinked>, nullptr, tells<LayerMaskActions::isLinked>},
    {"&Layer/Layer &Mask", "viewMask", "&Show the Mask Itself", "",
     tells<LayerMaskActions::hasMask>, act<LayerMaskActions::toggleView>, nullptr,
     tells<LayerMaskActions::isViewed>},
    {"&Layer/Layer &Mask", nullptr, nullptr},
    {"&Layer/Layer &Mask", "applyMask", "A&pply", "", tells<LayerMaskActions::canApply>,
     act<LayerMaskActions::apply>},
    {"&Layer/Layer &Mask", "deleteMask", "&Delete", "", tells<LayerMaskActions::hasMask>,
     act<LayerMaskActions::remove>},
    {"&Layer/Se&lect", "selectLayerAbove", "Layer &Above", "Alt+]", isFree,
     act<LayerActions::chooseAbove>},
    {"&Layer/Se&lect", "selectLayerBelow", "Layer &Below", "Alt+[", isFree,
     act<LayerActions::chooseBelow>},
    {"&Layer/Se&lect", "extendLayerAbove", "Layer Above as &Well", "Alt+Shift+]", isFree,
     act<LayerActions::extendAbove>},
    {"&Layer/Se&lect", "extendLayerBelow", "Layer Below as W&ell", "Alt+Shift+[", isFree,
     act<LayerActions::extendBelow>},
    {"&Layer/Se&lect", "selectTopLayer", "&Top Layer", "Alt+.", isFree,
     act<LayerActions::chooseTop>},
    {"&Layer/Se&lect", "selectBottomLayer", "B&ottom Layer", "Alt+,", isFree,
     act<LayerActions::chooseBottom>},
    {"&Layer/Se&lect", "selectAllLayers", "A&ll Layers", "Ctrl+Alt+A", isFree,
     act<LayerActions::chooseAll>},
};

} // namespace

std::span<const WindowAction> layerActions() {
    return layer;
}

} // namespace ombrel
