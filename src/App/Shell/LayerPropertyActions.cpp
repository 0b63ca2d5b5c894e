// The part of the menu Layer that sets what layers are like: blend mode, opacity, locks.
#include "App/Panels/LayerActions.h"
#include "App/Shell/ActionReasons.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/LayerDialogs.h"
#include "App/Shell/WindowAction.h"

#include <utility>
#include <vector>

namespace ombrel {

namespace {

using In = const ActionContext&;
using ActionReasons::whenLayers;

const LayerProperties* active(In in) {
    const LayerNode* node = in.session._state->activeLayer();
    return node != nullptr ? &node->properties() : nullptr;
}

template <std::size_t index>
const char* whenBlendable(In in) {
    if (const char* why = whenLayers(in)) return why;
    const bool wantsGroups = blendModeNames[index].mode == BlendMode::passThrough;
    return wantsGroups && !LayerSelection(in.session).areGroups() ? "Only groups can pass through."
                                                                  : nullptr;
}

template <std::size_t index>
constexpr WindowAction blend() {
    constexpr const BlendModeName& name = blendModeNames[index];
    return {"&Layer/&Blend Mode",
            name.rawValue.data(), // of a literal, so it ends where the text does
            name.displayName.data(),
            "",
            whenBlendable<index>,
            [](In in) {
                LayerActions::changeProperties(in.session, "Blend Mode", [](LayerProperties& each) {
                    each.blendMode = blendModeNames[index].mode;
                });
            },
            nullptr,
            [](In in) {
                return active(in) != nullptr && active(in)->blendMode == blendModeNames[index].mode;
            }};
}

template <std::uint8_t bits>
constexpr WindowAction lock(const char* identifier, const char* text, const char* shortcut = "") {
    return {"&Layer/Loc&ks",
            identifier,
            text,
            shortcut,
            whenLayers,
            [](In in) { LayerActions::toggleLocks(in.session, {bits}); },
            nullptr,
            [](In in) { return active(in) != nullptr && active(in)->locks.contains({bits}); }};
}

template <std::size_t... indices>
std::vector<WindowAction> rows(std::index_sequence<indices...> /*all*/) {
    std::vector<WindowAction> all{blend<indices>()...};
    const WindowAction rest[] = {
        {"&Layer", "layerOpacity", "O&pacity…", "", whenLayers,
         [](In in) { showLayerOpacity(in.window, in.session); }},
        lock<LayerLocks::transparency.rawValue>("lockTransparency", "&Transparent Pixels"),
        lock<LayerLocks::pixels.rawValue>("lockPixels", "&Pixels"),
        lock<LayerLocks::position.rawValue>("lockPosition", "P&osition"),
        lock<LayerLocks::all.rawValue>("lockLayers", "&All", "Ctrl+/"),
    };
    all.insert(all.end(), std::begin(rest), std::end(rest));
    return all;
}

} // namespace

std::span<const WindowAction> layerPropertyActions() {
    static const std::vector<WindowAction> all = rows(std::make_index_sequence<blendModeCount>());
    return all;
}

} // namespace ombrel
