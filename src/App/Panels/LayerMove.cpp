#include "App/Panels/LayerMove.h"

#include "Commands/ArrangeCommands.h"
#include "Commands/LayerTree.h"

#include <algorithm>
#include <set>
#include <vector>

namespace ombrel {

namespace {

using Children = std::vector<LayerNode>;

bool isClipped(const LayerNode& node) {
    return node.pixelLayer() != nullptr && node.properties().clipsToBelow;
}

/// The layer that the child at `place` clips to; null where it clips to none.
const LayerNode* baseOf(const Children& children, std::size_t place) {
    if (!isClipped(children[place])) return nullptr;
    while (place > 0 && isClipped(children[place]))
        --place;
    return isClipped(children[place]) ? nullptr : &children[place];
}

/// The neighbours of a gap, those that move left out.
struct Gap {
    const LayerNode* below = nullptr;
    const LayerNode* above = nullptr;
    const LayerNode* base = nullptr; ///< what `below` clips to, or is

    Gap(const Children& children, std::size_t gap, const std::set<LayerID>& moving) {
        for (std::size_t i = gap; i > 0 && below == nullptr; --i) {
            if (moving.contains(children[i - 1].id())) continue;
            below = &children[i - 1];
            base = isClipped(*below) ? baseOf(children, i - 1) : below;
        }
        for (std::size_t i = gap; i < children.size() && above == nullptr; ++i) {
            if (!moving.contains(children[i].id())) above = &children[i];
        }
    }
};

/// Whether a clipped layer among the moved ones comes away from its base.
bool isAnyReleased(const DocumentState& state, std::span<const LayerID> ids, const Gap& gap,
                   const std::set<LayerID>& moving) {
    return std::ranges::any_of(ids, [&](LayerID id) {
        const DocumentState::Location place = *state.location(id);
        const Children siblings = state.children(place.parent);
        const LayerNode* base = baseOf(siblings, place.index);
        if (base == nullptr) return isClipped(siblings[place.index]);
        if (moving.contains(base->id())) return false; // they go together
        return gap.base == nullptr || gap.base->id() != base->id();
    });
}

bool areThereAlready(const Children& children, std::size_t gap, std::span<const LayerID> ids) {
    for (std::size_t first = gap - std::min(gap, ids.size()); first <= gap; ++first) {
        if (first + ids.size() > children.size()) break;
        if (std::ranges::equal(ids, std::span(children).subspan(first, ids.size()), {}, {},
                               [](const LayerNode& node) { return node.id(); }))
            return true;
    }
    return false;
}

} // namespace

std::optional<Command> moveCommand(const DocumentState& state, std::span<const LayerID> ids,
                                   std::optional<LayerID> parent, std::int64_t gap) {
    const auto moved = LayerTree::reduced(state, ids);
    if (!moved) return std::nullopt;
    const Children children = parent ? state.children(parent) : state.root->children;
    const auto place = static_cast<std::size_t>(
        std::clamp<std::int64_t>(gap, 0, static_cast<std::int64_t>(children.size())));
    const std::set<LayerID> moving(moved->begin(), moved->end());
    const Gap at(children, place, moving);
    const bool areLayers = std::ranges::all_of(
        *moved, [&](LayerID id) { return state.find(id)->pixelLayer() != nullptr; });
    const bool isWithinRun =
        at.above != nullptr && isClipped(*at.above) && at.below != nullptr && areLayers;
    const bool stays = areThereAlready(children, place, *moved);
    if (isWithinRun) {
        const bool areClipped =
            std::ranges::all_of(*moved, [&](LayerID id) { return isClipped(*state.find(id)); });
        if (stays && areClipped) return std::nullopt;
        return ClipLayersCommand{.layerIDs = *moved, .baseID = at.below->id()};
    }
    if (stays) return std::nullopt;
    return MoveLayersCommand{.layerIDs = *moved,
                             .parent = parent,
                             .gap = gap,
                             .releasesClipping = isAnyReleased(state, *moved, at, moving)};
}

} // namespace ombrel
