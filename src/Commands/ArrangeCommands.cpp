#include "Commands/ArrangeCommands.h"

#include "Commands/ClipStacks.h"
#include "Commands/LayerTree.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <span>

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
template <typename Each, typename IsFirst>
void divide(std::vector<Each>& list, const IsFirst& isFirst) {
    std::vector<Each> divided;
    divided.reserve(list.size());
    std::ranges::copy_if(list, std::back_inserter(divided), isFirst);
    std::ranges::copy_if(list, std::back_inserter(divided), std::not_fn(isFirst));
    list = std::move(divided);
}

// `list` holds layers or whole stacks.
template <typename Each, typename IsChosen>
void arrangeList(std::vector<Each>& list, const IsChosen& isChosen, Arrangement arrangement) {
    switch (arrangement) {
    case Arrangement::bringForward:
        step(list.begin(), list.end(), isChosen);
        break;
    case Arrangement::sendBackward:
        step(list.rbegin(), list.rend(), isChosen);
        break;
    case Arrangement::bringToFront:
        divide(list, std::not_fn(isChosen));
        break;
    case Arrangement::sendToBack:
        divide(list, isChosen);
        break;
    }
}

/// What clips to something, above it.
struct Stack {
    LayerNode base;
    std::vector<LayerNode> clipped;
};

std::vector<Stack> stacksOf(const std::vector<LayerNode>& siblings) {
    std::vector<Stack> stacks;
    for (std::size_t base = 0; base < siblings.size();) {
        const std::size_t end = ClipStacks::endOf(siblings, base);
        const std::span clipped = std::span(siblings).subspan(base + 1, end - base - 1);
        stacks.push_back({siblings[base], {clipped.begin(), clipped.end()}});
        base = end;
    }
    return stacks;
}

void arrangeSiblings(std::vector<LayerNode>& siblings, const std::set<LayerID>& chosen,
                     Arrangement arrangement, bool keepsStacks) {
    const auto isChosen = [&](const LayerNode& node) { return chosen.contains(node.id()); };
    if (!keepsStacks) return arrangeList(siblings, isChosen, arrangement);
    const auto isBaseChosen = [&](const Stack& stack) { return isChosen(stack.base); };
    std::vector<Stack> stacks = stacksOf(siblings);
    for (Stack& stack : stacks)
        if (!isBaseChosen(stack)) arrangeList(stack.clipped, isChosen, arrangement);
    arrangeList(stacks, isBaseChosen, arrangement);
    siblings.clear();
    for (Stack& stack : stacks) {
        siblings.push_back(std::move(stack.base));
        std::ranges::move(stack.clipped, std::back_inserter(siblings));
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
    return arrange(state);
}

CommandResult ArrangeLayersCommand::arrange(DocumentState& state) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    std::map<std::optional<LayerID>, std::set<LayerID>> chosen; // by parent
    for (const LayerID id : *ids) {
        if (state.find(id)->properties().locks.contains(LayerLocks::position)) continue;
        chosen[state.location(id)->parent].insert(id);
    }
    for (const auto& [parent, children] : chosen) {
        if (!parent) {
            arrangeSiblings(state.root.write().children, children, arrangement, keepsStacks);
            continue;
        }
        state.update(*parent, [&](LayerNode& node) {
            arrangeSiblings(node.writeGroup()->children, children, arrangement, keepsStacks);
        });
    }
    return {};
}

} // namespace ombrel
