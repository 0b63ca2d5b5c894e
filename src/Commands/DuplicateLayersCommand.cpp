#include "Commands/DuplicateLayersCommand.h"

#include "Commands/Coding/LayerIDSource.h"
#include "Commands/LayerTree.h"

#include <limits>

namespace ombrel {

namespace {

void addMissing(const LayerNode& node, const std::function<LayerID()>& makeID,
                std::map<LayerID, LayerID>& copies) {
    if (!copies.contains(node.id())) copies.emplace(node.id(), makeID());
    if (const GroupLayer* group = node.group())
        for (const LayerNode& child : group->children)
            addMissing(child, makeID, copies);
}

LayerNode copyOf(const LayerNode& node, const std::map<LayerID, LayerID>& copies) {
    if (const PixelLayer* layer = node.pixelLayer()) {
        PixelLayer copy = *layer;
        copy.id = copies.at(layer->id);
        return copy;
    }
    const GroupLayer& group = *node.group();
    GroupLayer copy{.id = copies.at(group.id),
                    .properties = group.properties,
                    .children = {},
                    .mask = group.mask};
    for (const LayerNode& child : group.children)
        copy.children.push_back(copyOf(child, copies));
    return copy;
}

// For layers that came into a group after the command was built: identifiers that follow from
// those that were fixed, so that applying it again gives them again.
LayerIDSource laterIDs(const std::map<LayerID, LayerID>& copies) {
    std::uint64_t seed = 0;
    for (const auto& [original, copy] : copies)
        seed = seed * 31 + std::hash<Uuid>{}(copy.rawValue);
    return LayerIDSource(seed);
}

CommandResult insertCopies(DocumentState& state, std::vector<LayerNode> copies,
                           std::optional<LayerID> parent, std::int64_t gap) {
    if (state.insert(std::move(copies), parent, gap)) return {};
    const bool isThere = state.find(*parent) != nullptr;
    return std::unexpected(CommandError::of(isThere ? CommandError::Kind::notAGroup
                                                    : CommandError::Kind::layerNotFound));
}

} // namespace

DuplicateLayersCommand DuplicateLayersCommand::of(const DocumentState& state,
                                                  std::vector<LayerID> layerIDs,
                                                  std::optional<LayerID> parent,
                                                  std::optional<std::int64_t> gap) {
    DuplicateLayersCommand command{std::move(layerIDs), parent, gap, {}};
    command.complete(state, LayerID::make);
    return command;
}

void DuplicateLayersCommand::complete(const DocumentState& state,
                                      const std::function<LayerID()>& makeID) {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return; // applying it says so
    for (const LayerID id : *ids)
        addMissing(*state.find(id), makeID, copies);
}

CommandResult DuplicateLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    return duplicate(state);
}

CommandResult DuplicateLayersCommand::duplicate(DocumentState& state) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    DuplicateLayersCommand whole = *this;
    LayerIDSource later = laterIDs(copies);
    whole.complete(state, [&] { return later.next(); });
    std::vector<LayerNode> nodes;
    for (const LayerID id : *ids)
        nodes.push_back(copyOf(*state.find(id), whole.copies));
    state.activeLayerID = nodes.back().id();
    if (parent || gap) {
        return insertCopies(state, std::move(nodes), parent,
                            gap.value_or(std::numeric_limits<std::int64_t>::max()));
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const DocumentState::Location place = state.location((*ids)[i]).value();
        state.insert({std::move(nodes[i])}, place.parent,
                     static_cast<std::int64_t>(place.index) + 1);
    }
    return {};
}

} // namespace ombrel
