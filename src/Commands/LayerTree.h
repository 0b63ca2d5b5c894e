// Rules that commands on the layer tree share: where a new layer goes, which of the named layers an
// edit of many acts on, and which layer becomes active where the active one has gone. Pure
// functions of a state; any thread.
#pragma once

#include "Commands/CommandError.h"
#include "Core/DocumentState.h"

#include <expected>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace ombrel::LayerTree {

/// Where a new node goes: on top inside `above` where that is a group, directly above it where it
/// is another layer, on top of the root where it is absent or unknown.
DocumentState::Location insertionPoint(const DocumentState& state, std::optional<LayerID> above);
/// Inserts by that rule and makes the node active. Its identifiers must be new to the state.
void insertActive(DocumentState& state, LayerNode node, std::optional<LayerID> above);

/// The outermost of the named nodes in stack order, each once: what lies inside another named one
/// moves with it, unknown identifiers are dropped. `layerNotFound` where nothing remains.
std::expected<std::vector<LayerID>, CommandError> reduced(const DocumentState& state,
                                                          std::span<const LayerID> ids);

/// Takes the node out. Where the active layer goes with it, the sibling below becomes active, or
/// the one above, or the parent that is left empty.
std::optional<LayerNode> remove(DocumentState& state, LayerID id);

/// Takes the nodes (reduced) out and puts them under `parent` at `gap`, an index among its
/// children before the move, in stack order. Nodes that would move into themselves stay where they
/// are; the others are returned. `layerNotFound` or `notAGroup` for the parent.
std::expected<std::vector<LayerID>, CommandError> move(DocumentState& state,
                                                       std::span<const LayerID> ids,
                                                       std::optional<LayerID> parent,
                                                       std::int64_t gap);

/// Changes each of the named nodes that are there, all in one walk; returns how many there were.
std::size_t updateEach(DocumentState& state, std::span<const LayerID> ids,
                       const std::function<void(LayerNode&)>& change);

/// Whether `id` is `ancestor` or lies inside it.
bool isWithin(const DocumentState& state, LayerID id, LayerID ancestor);

} // namespace ombrel::LayerTree
