#include "App/Shell/LayerSelection.h"

#include "Commands/LayerTree.h"
#include "Commands/MergeCommands.h"

#include <algorithm>

namespace ombrel {

namespace {

bool isLive(const LayerNode& node) {
    if (const PixelLayer* layer = node.pixelLayer()) return layer->isLive();
    return std::ranges::any_of(node.group()->children, isLive);
}

} // namespace

LayerSelection::LayerSelection(const DocumentSession& session) : state_(*session._state) {
    const std::set<LayerID>& selected = *session._selectedLayerIDs;
    const std::vector<LayerID> named(selected.begin(), selected.end());
    if (auto reduced = LayerTree::reduced(state_, named)) {
        ids_ = std::move(*reduced);
    } else if (state_.activeLayer() != nullptr) {
        ids_ = {*state_.activeLayerID};
    }
}

const LayerNode* LayerSelection::single() const {
    return ids_.size() == 1 ? state_.find(ids_.front()) : nullptr;
}

bool LayerSelection::isGroupActive() const {
    const LayerNode* active = state_.activeLayer();
    return active != nullptr && active->group() != nullptr;
}

bool LayerSelection::all(const std::function<bool(const LayerProperties&)>& holds) const {
    return !ids_.empty() && std::ranges::all_of(ids_, [&](LayerID id) {
        return holds(state_.find(id)->properties());
    });
}

bool LayerSelection::isVisible() const {
    return all([](const LayerProperties& each) { return each.isVisible; });
}

bool LayerSelection::isLocked() const {
    return all([](const LayerProperties& each) { return each.locks == LayerLocks::all; });
}

bool LayerSelection::isClipped() const {
    return all([](const LayerProperties& each) { return each.clipsToBelow; });
}

bool LayerSelection::holdsLive() const {
    return std::ranges::any_of(ids_, [&](LayerID id) { return isLive(*state_.find(id)); });
}

// Something stays at the root.
bool LayerSelection::canDelete() const {
    const auto atRoot = std::ranges::count_if(
        ids_, [&](LayerID id) { return !state_.location(id)->parent.has_value(); });
    return !ids_.empty() && atRoot < static_cast<std::ptrdiff_t>(state_.root->children.size());
}

bool LayerSelection::canArrange(ArrangeLayersCommand::Arrangement arrangement) const {
    using enum ArrangeLayersCommand::Arrangement;
    const bool goesUp = arrangement == bringForward || arrangement == bringToFront;
    return std::ranges::any_of(ids_, [&](LayerID id) {
        const DocumentState::Location at = *state_.location(id);
        const std::size_t siblings = state_.children(at.parent).size();
        return goesUp ? at.index + ids_.size() < siblings || at.index + 1 < siblings : at.index > 0;
    });
}

bool LayerSelection::canMerge() const {
    if (ids_.size() != 1) return ids_.size() > 1;
    if (single()->group() != nullptr) return true;
    return state_.location(ids_.front())->index > 0;
}

std::string LayerSelection::mergeText() const {
    if (ids_.size() > 1) return "&Merge Layers";
    return single() != nullptr && single()->group() != nullptr ? "&Merge Group" : "&Merge Down";
}

Command LayerSelection::mergeCommand() const {
    if (ids_.size() > 1) return MergeLayersCommand{ids_};
    if (single()->group() != nullptr) return MergeGroupCommand{ids_.front()};
    return MergeDownCommand{ids_.front()};
}

SetLayersPropertiesCommand
LayerSelection::withProperties(std::string name,
                               const std::function<void(LayerProperties&)>& change) const {
    SetLayersPropertiesCommand command;
    command.name = std::move(name);
    for (const LayerID id : ids_)
        change(command.properties[id] = state_.find(id)->properties());
    return command;
}

} // namespace ombrel
