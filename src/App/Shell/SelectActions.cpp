// The menu Select: which layers are chosen, and which of them is active.
#include "App/Panels/LayerActions.h"
#include "App/Shell/ActionReasons.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/WindowAction.h"

#include <set>

namespace ombrel {

namespace {

using In = const ActionContext&;
using ActionReasons::whenFree;

/// What to do with the session alone.
template <void (*action)(DocumentSession&)>
void act(In in) {
    action(in.session);
}

const char* whenSeveral(In in) {
    if (const char* why = whenFree(in)) return why;
    return in.session._selectedLayerIDs->size() > 1 ? nullptr : "Only one layer is chosen.";
}

void selectActiveAlone(In in) {
    std::set<LayerID> alone;
    if (const auto active = in.session._state->activeLayerID) alone.insert(*active);
    in.session._selectedLayerIDs = alone;
}

constexpr WindowAction selecting[] = {
    {"&Select", "selectLayerAbove", "Layer &Above", "Alt+]", whenFree,
     act<LayerActions::chooseAbove>},
    {"&Select", "selectLayerBelow", "Layer &Below", "Alt+[", whenFree,
     act<LayerActions::chooseBelow>},
    {"&Select", "extendLayerAbove", "Layer Above as &Well", "Alt+Shift+]", whenFree,
     act<LayerActions::extendAbove>},
    {"&Select", "extendLayerBelow", "Layer Below as W&ell", "Alt+Shift+[", whenFree,
     act<LayerActions::extendBelow>},
    {"&Select", "selectTopLayer", "&Top Layer", "Alt+.", whenFree, act<LayerActions::chooseTop>},
    {"&Select", "selectBottomLayer", "B&ottom Layer", "Alt+,", whenFree,
     act<LayerActions::chooseBottom>},
    {"&Select", "selectAllLayers", "A&ll Layers", "Ctrl+Alt+A", whenFree,
     act<LayerActions::chooseAll>},
    {"&Select", "selectActiveLayer", "Only the A&ctive Layer", "", whenSeveral, selectActiveAlone},
};

} // namespace

std::span<const WindowAction> selectActions() {
    return selecting;
}

} // namespace ombrel
