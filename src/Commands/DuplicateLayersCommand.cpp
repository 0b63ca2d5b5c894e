#include "Commands/DuplicateLayersCommand.h"

#include "Commands/ClipStacks.h"
#include "Commands/Coding/LayerIDSource.h"
#include "Commands/LayerTree.h"

#include <limits>
#include <set>

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

// A copied base goes above its whole stack, and the copies of what clips to it follow it there: so
// no layer gets another base.
void insertAboveOriginals(DocumentState& state, std::span<const LayerID> originals,
                          std::vector<LayerNode> copies) {
    const std::set<LayerID> copied(originals.begin(), originals.end());
    std::map<LayerID, LayerID> topOfCopy; // of the stacks whose base is copied, by base
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const LayerID copy = copies[i].id();
        const DocumentState::Location place = state.location(originals[i]).value();
        const std::vector<LayerNode> siblings = state.children(place.parent);
        const LayerID base = siblings[ClipStacks::baseOf(siblings, place.index)].id();
        std::size_t index = place.index + 1;
        if (const auto top = topOfCopy.find(base); top != topOfCopy.end())
            index = state.location(top->second)->index + 1;
        else if (copied.contains(base))
            index = ClipStacks::endOf(siblings, place.index);
        if (copied.contains(base)) topOfCopy[base] = copy;
        state.insert({std::move(copies[i])}, place.parent, static_cast<std::int64_t>(index));
    }
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
    insertAboveOriginals(state, *ids, std::move(nodes));
    return {};
}

} // namespace ombrel
