#include "App/Panels/LayerMove.h"

#include "Commands/ArrangeCommands.h"
#include "Commands/ClipStacks.h"
#include "Commands/LayerTree.h"

#include <algorithm>
#include <set>
#include <vector>

namespace ombrel {

namespace {

using Children = std::vector<LayerNode>;
using ClipStacks::clips;

/// The layer that the child at `place` clips to; null where it clips to none.
const LayerNode* baseOf(const Children& children, std::size_t place) {
    const std::size_t base = ClipStacks::baseOf(children, place);
    return base == place || clips(children[base]) ? nullptr : &children[base];
}

/// The layers, and what clips to them.
std::vector<LayerID> withClipped(const DocumentState& state, std::span<const LayerID> ids) {
    std::vector<LayerID> all;
    for (const LayerID id : ids) {
        all.push_back(id);
        const DocumentState::Location place = *state.location(id);
        const Children siblings = state.children(place.parent);
        if (ClipStacks::baseOf(siblings, place.index) != place.index) continue;
        for (std::size_t i = place.index + 1; i < ClipStacks::endOf(siblings, place.index); ++i)
            all.push_back(siblings[i].id());
    }
    return all;
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
            base = clips(*below) ? baseOf(children, i - 1) : below;
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
        if (base == nullptr) return clips(siblings[place.index]);
        if (moving.contains(base->id())) return false; // they go together
        return gap.base == nullptr || gap.base->id() != base->id();
    });
}

/// The first gap above `gap` that no layer which stays is clipped at.
std::int64_t endOfRun(const Children& children, std::size_t gap, const std::set<LayerID>& moving) {
    while (gap < children.size() && (moving.contains(children[gap].id()) || clips(children[gap])))
        ++gap;
    return static_cast<std::int64_t>(gap);
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
    const auto chosen = LayerTree::reduced(state, ids);
    if (!chosen) return std::nullopt;
    const auto moved = LayerTree::reduced(state, withClipped(state, *chosen));
    const Children children = state.children(parent);
    const auto place = static_cast<std::size_t>(
        std::clamp<std::int64_t>(gap, 0, static_cast<std::int64_t>(children.size())));
    const std::set<LayerID> moving(moved->begin(), moved->end());
    const Gap at(children, place, moving);
    const auto areAll = [&](const auto& holds) {
        return std::ranges::all_of(*moved, [&](LayerID id) { return holds(*state.find(id)); });
    };
    const bool isWithinRun = at.above != nullptr && clips(*at.above) && at.below != nullptr;
    const bool stays = areThereAlready(children, place, *moved);
    if (isWithinRun && !areAll([](const LayerNode& node) { return node.pixelLayer() != nullptr; }))
        return moveCommand(state, *moved, parent, endOfRun(children, place, moving));
    if (isWithinRun) {
        if (stays && areAll(clips)) return std::nullopt;
        return ClipLayersCommand{.layerIDs = *moved, .baseID = at.below->id()};
    }
    if (stays) return std::nullopt;
    return MoveLayersCommand{.layerIDs = *moved,
                             .parent = parent,
                             .gap = gap,
                             .releasesClipping = isAnyReleased(state, *moved, at, moving)};
}

// Copies stay what their originals are: clipped ones may join a stack, others go above it.
std::int64_t copyGap(const DocumentState& state, std::span<const LayerID> ids,
                     std::optional<LayerID> parent, std::int64_t gap) {
    const auto copied = LayerTree::reduced(state, ids);
    const Children children = state.children(parent);
    if (!copied || gap <= 0 || gap >= std::ssize(children)) return gap;
    const auto place = static_cast<std::size_t>(gap);
    const bool mayJoin =
        std::ranges::all_of(*copied, [&](LayerID id) { return clips(*state.find(id)); });
    if (!clips(children[place]) || mayJoin) return gap;
    return static_cast<std::int64_t>(ClipStacks::endOf(children, place));
}

} // namespace ombrel
