#include "Commands/LayerTree.h"

#include "Base/Check.h"

#include <algorithm>
#include <unordered_set>

namespace ombrel::LayerTree {

namespace {

using IDSet = std::unordered_set<Uuid>;

void addOutermost(std::span<const LayerNode> nodes, const IDSet& named, std::vector<LayerID>& out) {
    for (const LayerNode& node : nodes) {
        if (named.contains(node.id().rawValue))
            out.push_back(node.id());
        else if (const GroupLayer* group = node.group())
            addOutermost(group->children, named, out);
    }
}

// A layer to be active in place of siblings[index].
std::optional<LayerID> neighbourOf(std::span<const LayerNode> siblings, std::size_t index,
                                   std::optional<LayerID> parent) {
    if (index > 0) return siblings[index - 1].id();
    if (siblings.size() > 1) return siblings[1].id();
    return parent;
}

bool contains(const LayerNode& node, LayerID id) {
    if (node.id() == id) return true;
    const GroupLayer* group = node.group();
    return group != nullptr && std::ranges::any_of(group->children, [&](const LayerNode& child) {
               return contains(child, id);
           });
}

bool holdsAny(const LayerNode& node, const IDSet& named) {
    if (named.contains(node.id().rawValue)) return true;
    const GroupLayer* group = node.group();
    return group != nullptr && std::ranges::any_of(group->children, [&](const LayerNode& child) {
               return holdsAny(child, named);
           });
}

/// Groups that hold none of the named stay shared.
std::size_t changeEach(std::vector<LayerNode>& nodes, const IDSet& named,
                       const std::function<void(LayerNode&)>& change) {
    std::size_t count = 0;
    for (LayerNode& node : nodes) {
        if (const GroupLayer* group = node.group()) {
            const bool holdsSome = std::ranges::any_of(
                group->children, [&](const LayerNode& child) { return holdsAny(child, named); });
            if (holdsSome) count += changeEach(node.writeGroup()->children, named, change);
        }
        if (!named.contains(node.id().rawValue)) continue;
        change(node);
        ++count;
    }
    return count;
}

std::unexpected<CommandError> failure(CommandError::Kind kind) {
    return std::unexpected(CommandError::of(kind));
}

} // namespace

DocumentState::Location insertionPoint(const DocumentState& state, std::optional<LayerID> above) {
    const LayerNode* node = above ? state.find(*above) : nullptr;
    if (node == nullptr) return {std::nullopt, state.root->children.size()};
    if (const GroupLayer* group = node->group()) return {above, group->children.size()};
    DocumentState::Location location = *state.location(*above);
    ++location.index;
    return location;
}

void insertActive(DocumentState& state, LayerNode node, std::optional<LayerID> above) {
    const LayerID id = node.id();
    const DocumentState::Location place = insertionPoint(state, above);
    state.insert({std::move(node)}, place.parent, static_cast<std::int64_t>(place.index));
    state.activeLayerID = id;
}

std::expected<std::vector<LayerID>, CommandError> reduced(const DocumentState& state,
                                                          std::span<const LayerID> ids) {
    IDSet named;
    for (const LayerID id : ids)
        named.insert(id.rawValue);
    std::vector<LayerID> outermost;
    addOutermost(state.root->children, named, outermost);
    if (outermost.empty()) return failure(CommandError::Kind::layerNotFound);
    return outermost;
}

std::optional<LayerNode> remove(DocumentState& state, LayerID id) {
    const std::optional<DocumentState::Location> location = state.location(id);
    if (!location) return std::nullopt;
    if (state.activeLayerID && isWithin(state, *state.activeLayerID, id)) {
        state.activeLayerID =
            neighbourOf(state.children(location->parent), location->index, location->parent);
    }
    return state.remove(id);
}

std::expected<std::vector<LayerID>, CommandError> move(DocumentState& state,
                                                       std::span<const LayerID> ids,
                                                       std::optional<LayerID> parent,
                                                       std::int64_t gap) {
    if (parent) {
        const LayerNode* node = state.find(*parent);
        if (node == nullptr) return failure(CommandError::Kind::layerNotFound);
        if (node->group() == nullptr) return failure(CommandError::Kind::notAGroup);
    }
    std::vector<LayerID> moved;
    std::int64_t below = 0;
    for (const LayerID id : ids) {
        if (parent && isWithin(state, *parent, id)) continue;
        const DocumentState::Location location = state.location(id).value();
        if (location.parent == parent && static_cast<std::int64_t>(location.index) < gap) ++below;
        moved.push_back(id);
    }
    std::vector<LayerNode> nodes;
    nodes.reserve(moved.size());
    for (const LayerID id : moved)
        nodes.push_back(state.remove(id).value());
    state.insert(std::move(nodes), parent, std::max<std::int64_t>(gap, 0) - below);
    return moved;
}

std::size_t updateEach(DocumentState& state, std::span<const LayerID> ids,
                       const std::function<void(LayerNode&)>& change) {
    IDSet named;
    for (const LayerID id : ids)
        named.insert(id.rawValue);
    const bool holdsSome = std::ranges::any_of(
        state.root->children, [&](const LayerNode& node) { return holdsAny(node, named); });
    return holdsSome ? changeEach(state.root.write().children, named, change) : 0;
}

bool isWithin(const DocumentState& state, LayerID id, LayerID ancestor) {
    const LayerNode* node = state.find(ancestor);
    return node != nullptr && contains(*node, id);
}

} // namespace ombrel::LayerTree
