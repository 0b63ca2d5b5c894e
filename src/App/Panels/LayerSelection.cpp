#include "App/Panels/LayerSelection.h"

#include "Editor/DocumentSession.h"

#include <algorithm>
#include <map>

namespace ombrel {

namespace {

bool isLive(const LayerNode& node) {
    if (const PixelLayer* layer = node.pixelLayer()) return layer->isLive();
    return std::ranges::any_of(node.group()->children, isLive);
}

} // namespace

LayerSelection::LayerSelection(const DocumentSession& session)
    : root_(*session._state->root), active_(session._state->activeLayer()) {
    const DocumentState& state = *session._state;
    walk(root_, *session._selectedLayerIDs, false);
    if (places_.empty() && active_ != nullptr) walk(root_, {*state.activeLayerID}, false);
}

// One walk for all: looking for each of many layers would walk the tree for each.
void LayerSelection::walk(const GroupLayer& group, const std::set<LayerID>& chosen, bool isInside) {
    for (std::size_t i = 0; i < group.children.size() && places_.size() < chosen.size(); ++i) {
        const LayerNode& node = group.children[i];
        const bool isChosen = chosen.contains(node.id());
        if (const GroupLayer* inner = node.group()) walk(*inner, chosen, isInside || isChosen);
        if (isChosen) places_.push_back({&node, &group, i, !isInside});
    }
}

std::vector<LayerID> LayerSelection::ids() const {
    std::vector<LayerID> ids;
    ids.reserve(places_.size());
    for (const Place& place : places_)
        ids.push_back(place.node->id());
    return ids;
}

const LayerNode* LayerSelection::single() const {
    return places_.size() == 1 ? places_.front().node : nullptr;
}

bool LayerSelection::all(const std::function<bool(const LayerNode&)>& holds) const {
    return !isEmpty() &&
           std::ranges::all_of(places_, [&](const Place& place) { return holds(*place.node); });
}

bool LayerSelection::any(const std::function<bool(const LayerNode&)>& holds) const {
    return std::ranges::any_of(places_, [&](const Place& place) { return holds(*place.node); });
}

bool LayerSelection::areVisible() const {
    return all([](const LayerNode& node) { return node.properties().isVisible; });
}

bool LayerSelection::haveLocks(LayerLocks locks) const {
    return all([&](const LayerNode& node) { return node.properties().locks.contains(locks); });
}

bool LayerSelection::areClipped() const {
    return canClip() && all([](const LayerNode& node) {
               return node.properties().clipsToBelow || node.group() != nullptr;
           });
}

bool LayerSelection::areGroups() const {
    return all([](const LayerNode& node) { return node.group() != nullptr; });
}

bool LayerSelection::holdsLive() const {
    return any(isLive);
}

bool LayerSelection::canRemove() const {
    const auto atRoot =
        std::ranges::count_if(places_, [&](const Place& place) { return place.parent == &root_; });
    return !isEmpty() && atRoot < static_cast<std::ptrdiff_t>(root_.children.size());
}

bool LayerSelection::canUngroup() const {
    return single() != nullptr && single()->group() != nullptr;
}

bool LayerSelection::canClip() const {
    return any([](const LayerNode& node) { return node.pixelLayer() != nullptr; });
}

// Among some siblings the chosen ones are not the topmost (or lowest) already.
bool LayerSelection::canArrange(ArrangeLayersCommand::Arrangement arrangement) const {
    using enum ArrangeLayersCommand::Arrangement;
    struct Siblings {
        std::size_t count = 0;
        std::size_t lowest = 0;
        std::size_t highest = 0;
    };
    std::map<const GroupLayer*, Siblings> moving;
    for (const Place& place : places_) {
        if (!place.isOutermost || place.node->properties().locks.contains(LayerLocks::position))
            continue;
        Siblings& siblings = moving[place.parent];
        if (siblings.count++ == 0) siblings.lowest = place.index;
        siblings.highest = place.index;
    }
    const bool goesUp = arrangement == bringForward || arrangement == bringToFront;
    return std::ranges::any_of(moving, [&](const auto& entry) {
        const auto& [parent, siblings] = entry;
        return goesUp ? siblings.lowest + siblings.count < parent->children.size()
                      : siblings.highest + 1 > siblings.count;
    });
}

LayerSelection::Merge LayerSelection::merge() const {
    if (places_.size() != 1) return isEmpty() ? Merge::none : Merge::layers;
    if (areGroups()) return Merge::group;
    return places_.front().index > 0 ? Merge::down : Merge::none;
}

} // namespace ombrel
