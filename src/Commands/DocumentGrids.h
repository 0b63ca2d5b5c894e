// Edits of every grid of a document or of some of its layers: the pixels of layers and the masks of
// layers and groups, one after the other, with one progress for all of them.
#pragma once

#include "Commands/Command.h"
#include "Engine/WorkMeter.h"

#include <functional>
#include <optional>
#include <span>

namespace ombrel {

/// A grid where it stands in the tree.
struct DocumentGrid {
    TileGrid& tiles;
    PixelOffset& offset;
    bool isMask = false;
    bool isLinked = true; ///< of a mask: moves with its layer
    float background = 0; ///< of a mask: what an absent cell reads as
};

using GridEdit = std::function<std::expected<void, EngineError>(DocumentGrid&, WorkMeter&)>;

/// The first failure ends it.
CommandResult editGrids(std::span<LayerNode> nodes, const CommandContext& in, const GridEdit& edit);
CommandResult editGrids(DocumentState& state, const CommandContext& in, const GridEdit& edit);

/// Moves all grids on the canvas, without touching a pixel.
void moveGrids(DocumentState& state, PixelOffset by);

/// Around all pixels with alpha above 0 of the layers below, on the canvas; nothing where there are
/// none.
std::optional<PixelRect> contentBounds(std::span<const LayerNode> nodes);

} // namespace ombrel
