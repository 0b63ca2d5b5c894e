// The menu Layer: what it does is told by LayerActions, when it is possible by LayerSelection.
#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerMaskActions.h"
#include "App/Panels/LayerSelection.h"
#include "App/Shell/ActionReasons.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/LayerDialogs.h"
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
using ActionReasons::whenFree;
using ActionReasons::whenLayers;

/// `why` where the layers that are chosen are not of the kind that is asked for.
template <bool (LayerSelection::*is)() const>
const char* whenChosen(In in, const char* why) {
    if (const char* other = whenLayers(in)) return other;
    return (selected(in).*is)() ? nullptr : why;
}

template <Arrangement arrangement>
constexpr WindowAction arrange(const char* identifier, const char* text, const char* shortcut) {
    return {"&Layer/&Arrange",
            identifier,
            text,
            shortcut,
            [](In in) -> const char* {
                if (const char* why = whenLayers(in)) return why;
                return selected(in).canArrange(arrangement) ? nullptr : "It stands there already.";
            },
            [](In in) { LayerActions::arrange(in.session, arrangement); }};
}

template <FlipAxis axis>
constexpr WindowAction flip(const char* identifier, const char* text) {
    return {"&Layer/&Transform", identifier, text, "", whenLayers, [](In in) {
                in.session.perform(FlipLayersCommand{selected(in).ids(), axis});
            }};
}

template <int degrees>
constexpr WindowAction turn(const char* identifier, const char* text) {
    return {"&Layer/&Transform", identifier, text, "", whenLayers, [](In in) {
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

const char* whenMask(In in) {
    if (const char* why = whenFree(in)) return why;
    return LayerMaskActions::hasMask(in.session) ? nullptr : "The active layer has no mask.";
}
const char* whenMaskable(In in) {
    if (const char* why = whenFree(in)) return why;
    return LayerMaskActions::canAdd(in.session) ? nullptr : "The active layer has a mask already.";
}
const char* whenAppliable(In in) {
    if (const char* why = whenMask(in)) return why;
    return LayerMaskActions::canApply(in.session) ? nullptr : "A group has no pixels of its own.";
}

constexpr WindowAction layer[] = {
    {"&Layer", "newLayer", "&New Layer", "Ctrl+Shift+N", whenFree, act<LayerActions::addLayer>},
    {"&Layer", "newGroup", "New &Group", "", whenFree, act<LayerActions::addGroup>},
    {"&Layer", "duplicateLayers", "&Duplicate", "Ctrl+J", whenLayers, act<LayerActions::duplicate>},
    {"&Layer", "deleteLayers", "D&elete", "",
     [](In in) {
         return whenChosen<&LayerSelection::canRemove>(in, "A document keeps at least one layer.");
     },
     act<LayerActions::remove>},
    {"&Layer", "renameLayer", "&Rename…", "F2", ActionReasons::whenActive,
     [](In in) { showRenameLayer(in.window, in.session); }},
    {"&Layer", nullptr, nullptr},
    {"&Layer", "groupLayers", "Gr&oup Layers", "Ctrl+G", whenLayers, act<LayerActions::group>},
    {"&Layer", "ungroupLayers", "&Ungroup Layers", "Ctrl+Shift+G",
     [](In in) { return whenChosen<&LayerSelection::canUngroup>(in, "No group is chosen."); },
     act<LayerActions::ungroup>},
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
    {"&Layer/&Transform", "turnLayersBy", "Rotate by &Angle…", "", whenLayers,
     [](In in) { showRotateLayers(in.window, in.session); }},
    {"&Layer/&Transform", nullptr, nullptr},
    {"&Layer/&Transform", "moveLayersBy", "&Move by Distance…", "", whenLayers,
     [](In in) { showMoveLayers(in.window, in.session); }},
    {"&Layer", nullptr, nullptr},
    {"&Layer", "clipLayers", "Create &Clipping Mask", "Ctrl+Alt+G",
     [](In in) {
         const bool hasLayer =
             selected(in).any([](const LayerNode& node) { return node.pixelLayer() != nullptr; });
         return whenChosen<&LayerSelection::canClip>(
             in, hasLayer ? "There is nothing below to clip to." : "Groups cannot be clipped.");
     },
     act<LayerActions::toggleClipping>,
     [](In in) -> std::string {
         return selected(in).areClipped() ? "Release &Clipping Mask" : "Create &Clipping Mask";
     }},
    {"&Layer", "showLayers", "&Hide", "Ctrl+,", whenLayers, act<LayerActions::toggleVisibility>,
     [](In in) -> std::string { return selected(in).areVisible() ? "&Hide" : "S&how"; }},
    {"&Layer", "rasterizeLayers", "Rasteri&ze", "",
     [](In in) {
         return whenChosen<&LayerSelection::holdsLive>(in, "The layer is made of pixels already.");
     },
     act<LayerActions::rasterize>},
    {"&Layer/La&yer Mask", "addMaskShowing", "&Add, Showing All", "", whenMaskable,
     act<LayerMaskActions::addRevealing>},
    {"&Layer/La&yer Mask", "addMaskHiding", "Add, &Hiding All", "", whenMaskable,
     act<LayerMaskActions::addHiding>},
    {"&Layer/La&yer Mask", nullptr, nullptr},
    {"&Layer/La&yer Mask", "enableMask", "&Enabled", "", whenMask,
     act<LayerMaskActions::toggleEnabled>, nullptr, tells<LayerMaskActions::isEnabled>},
    {"&Layer/La&yer Mask", "linkMask", "&Linked to the Layer", "", whenMask,
     act<LayerMaskActions::toggleLinked>, nullptr, tells<LayerMaskActions::isLinked>},
    {"&Layer/La&yer Mask", "viewMask", "&Show the Mask Itself", "", whenMask,
     act<LayerMaskActions::toggleView>, nullptr, tells<LayerMaskActions::isViewed>},
    {"&Layer/La&yer Mask", nullptr, nullptr},
    {"&Layer/La&yer Mask", "applyMask", "A&pply", "", whenAppliable, act<LayerMaskActions::apply>},
    {"&Layer/La&yer Mask", "deleteMask", "&Delete", "", whenMask, act<LayerMaskActions::remove>},
};

constexpr WindowAction merge[] = {
    {"&Layer", nullptr, nullptr},
    {"&Layer", "mergeLayers", "&Merge Down", "Ctrl+E",
     [](In in) -> const char* {
         if (const char* why = whenLayers(in)) return why;
         const bool isPossible = selected(in).merge() != LayerSelection::Merge::none;
         return isPossible ? nullptr : "There is no layer below to merge with.";
     },
     act<LayerActions::merge>,
     [](In in) { return std::string("&") + LayerActions::mergeText(in.session); }},
    {"&Layer", "mergeVisible", "Merge &Visible", "Ctrl+Shift+Alt+E", whenFree,
     act<LayerActions::mergeVisible>},
    {"&Layer", "stampVisible", "&Stamp Visible", "", whenFree, act<LayerActions::stampVisible>},
    {"&Layer", "flatten", "Flatten &Image", "", whenFree, act<LayerActions::flatten>},
};

} // namespace

std::span<const WindowAction> layerActions() {
    return layer;
}
std::span<const WindowAction> mergeActions() {
    return merge;
}

} // namespace ombrel
