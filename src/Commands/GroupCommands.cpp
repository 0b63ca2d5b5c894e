#include "Commands/GroupCommands.h"

#include "Commands/LayerTree.h"

namespace ombrel {

CommandResult GroupLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    // The parent of an outermost node stays; only siblings below the topmost one shift its place.
    DocumentState::Location place = state.location(ids->back()).value();
    std::vector<LayerNode> nodes;
    for (const LayerID id : *ids) {
        if (id != ids->back() && state.location(id)->parent == place.parent) --place.index;
        nodes.push_back(state.remove(id).value());
    }
    GroupLayer filled = group;
    filled.children = std::move(nodes);
    state.insert({std::move(filled)}, place.parent, static_cast<std::int64_t>(place.index));
    state.activeLayerID = group.id;
    return {};
}

CommandResult UngroupCommand::apply(DocumentState& state, const CommandContext&) const {
    const LayerNode* node = state.find(layerID);
    if (node == nullptr)
        return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
    if (node->group() == nullptr)
        return std::unexpected(CommandError::of(CommandError::Kind::notAGroup));
    std::vector<LayerNode> children = node->group()->children;
    const DocumentState::Location place = state.location(layerID).value();
    if (children.empty() && !place.parent && state.root->children.size() == 1)
        return std::unexpected(CommandError::of(CommandError::Kind::lastLayer));
    LayerTree::remove(state, layerID);
    if (!children.empty()) state.activeLayerID = children.back().id();
    state.insert(std::move(children), place.parent, static_cast<std::int64_t>(place.index));
    return {};
}

} // namespace ombrel
