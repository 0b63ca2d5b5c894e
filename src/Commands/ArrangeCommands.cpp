#include "Commands/ArrangeCommands.h"

#include "Commands/LayerTree.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace ombrel {

namespace {

using Arrangement = ArrangeLayersCommand::Arrangement;

void setClipping(DocumentState& state, std::span<const LayerID> ids, bool clips) {
    for (const LayerID id : ids)
        state.update(id, [&](LayerNode& node) { node.writeProperties().clipsToBelow = clips; });
}

// Moves each chosen element one place towards the end, unless another chosen one is in its way.
template <typename Iterator, typename IsChosen>
void step(const Iterator& begin, const Iterator& end, const IsChosen& isChosen) {
    if (begin == end) return;
    for (Iterator next = std::prev(end); next != begin; --next) {
        const Iterator each = std::prev(next);
        if (isChosen(*each) && !isChosen(*next)) std::iter_swap(each, next);
    }
}

// Those that `isFirst` holds for, then the others, both in their order.
template <typename IsFirst>
void divide(std::vector<LayerNode>& siblings, const IsFirst& isFirst) {
    std::vector<LayerNode> divided;
    divided.reserve(siblings.size());
    std::ranges::copy_if(siblings, std::back_inserter(divided), isFirst);
    std::ranges::copy_if(siblings, std::back_inserter(divided), std::not_fn(isFirst));
    siblings = std::move(divided);
}

void arrange(std::vector<LayerNode>& siblings, const std::set<LayerID>& chosen,
             Arrangement arrangement) {
    const auto isChosen = [&](const LayerNode& node) { return chosen.contains(node.id()); };
    switch (arrangement) {
    case Arrangement::bringForward:
        step(siblings.begin(), siblings.end(), isChosen);
        break;
    case Arrangement::sendBackward:
        step(siblings.rbegin(), siblings.rend(), isChosen);
        break;
    case Arrangement::bringToFront:
        divide(siblings, std::not_fn(isChosen));
        break;
    case Arrangement::sendToBack:
        divide(siblings, isChosen);
        break;
    }
}

} // namespace

CommandResult MoveLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    const auto moved = LayerTree::move(state, *ids, parent, gap);
    if (!moved) return std::unexpected(moved.error());
    if (releasesClipping) setClipping(state, *moved, false);
    return {};
}

CommandResult ClipLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const std::optional<DocumentState::Location> base = state.location(baseID);
    if (!base) return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
    std::vector<LayerID> others = layerIDs;
    // No layer clips to itself.
    if (std::erase(others, baseID) > 0 && others.empty()) return {};
    const auto ids = LayerTree::reduced(state, others);
    if (!ids) return std::unexpected(ids.error());
    const auto moved =
        LayerTree::move(state, *ids, base->parent, static_cast<std::int64_t>(base->index) + 1);
    if (!moved) return std::unexpected(moved.error());
    setClipping(state, *moved, true);
    return {};
}

std::string ArrangeLayersCommand::name() const {
    static constexpr std::array<const char*, 4> names{"Bring Forward", "Send Backward",
                                                      "Bring to Front", "Send to Back"};
    return names[static_cast<std::size_t>(arrangement)];
}

CommandResult ArrangeLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    std::map<std::optional<LayerID>, std::set<LayerID>> chosen; // by parent
    for (const LayerID id : *ids) {
        if (state.find(id)->properties().locks.contains(LayerLocks::position)) continue;
        chosen[state.location(id)->parent].insert(id);
    }
    for (const auto& [parent, children] : chosen) {
        if (!parent) {
            arrange(state.root.write().children, children, arrangement);
            continue;
        }
        state.update(*parent, [&](LayerNode& node) {
            arrange(node.writeGroup()->children, children, arrangement);
        });
    }
    return {};
}

} // namespace ombrel
