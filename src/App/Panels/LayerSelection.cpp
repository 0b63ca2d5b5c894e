#include "App/Panels/LayerSelection.h"

#include "Commands/ClipStacks.h"
#include "Editor/DocumentSession.h"

#include <algorithm>

namespace ombrel {

namespace {

bool isLive(const LayerNode& node) {
    if (const PixelLayer* layer = node.pixelLayer()) return layer->isLive();
    return std::ranges::any_of(node.group()->children, isLive);
}

} // namespace

LayerSelection::LayerSelection(const DocumentSession& session)
    : state_(*session._state), root_(*state_.root), active_(state_.activeLayer()) {
    walk(root_, *session._selectedLayerIDs);
    if (places_.empty() && active_ != nullptr) walk(root_, {*state_.activeLayerID});
}

// One walk for all: looking for each of many layers would walk the tree for each.
void LayerSelection::walk(const GroupLayer& group, const std::set<LayerID>& chosen) {
    for (std::size_t i = 0; i < group.children.size() && places_.size() < chosen.size(); ++i) {
        const LayerNode& node = group.children[i];
        if (const GroupLayer* inner = node.group()) walk(*inner, chosen);
        if (chosen.contains(node.id())) places_.push_back({&node, &group, i});
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
    return canClip() && std::ranges::all_of(places_, [](const Place& place) {
               return !isClippable(place) || ClipStacks::clips(*place.node);
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
    return std::ranges::any_of(places_, isClippable);
}

std::vector<LayerID> LayerSelection::clippableIds() const {
    std::vector<LayerID> ids;
    for (const Place& place : places_)
        if (isClippable(place)) ids.push_back(place.node->id());
    return ids;
}

// One that has nothing below it can still be released.
bool LayerSelection::isClippable(const Place& place) {
    if (place.node->pixelLayer() == nullptr) return false;
    return place.index > 0 || ClipStacks::clips(*place.node);
}

// It is tried: what is not moved stays shared, so that a look at the lists of layers tells.
bool LayerSelection::canArrange(ArrangeLayersCommand::Arrangement arrangement) const {
    if (isEmpty()) return false;
    DocumentState after = state_;
    return ArrangeLayersCommand{ids(), arrangement, true}.arrange(after) &&
           after.root != state_.root;
}

LayerSelection::Merge LayerSelection::merge() const {
    if (places_.size() != 1) return isEmpty() ? Merge::none : Merge::layers;
    if (areGroups()) return Merge::group;
    return places_.front().index > 0 ? Merge::down : Merge::none;
}

} // namespace ombrel
