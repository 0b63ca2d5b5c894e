#include "Commands/AddLayerCommands.h"

#include "Commands/LayerTree.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

// Far beyond any canvas, and still far within the plane of tiles.
constexpr double farthestOffset = 0x1p36;

std::int64_t offsetOf(double center, std::int64_t side) {
    const double offset = std::floor(center - static_cast<double>(side) / 2 + 0.5);
    if (std::isnan(offset)) return 0;
    return static_cast<std::int64_t>(std::clamp(offset, -farthestOffset, farthestOffset));
}

} // namespace

CommandResult AddLayerCommand::apply(DocumentState& state, const CommandContext&) const {
    LayerTree::insertActive(state, layer, above ? above : state.activeLayerID);
    return {};
}

CommandResult AddRectangleLayerCommand::apply(DocumentState& state, const CommandContext&) const {
    LayerTree::insertActive(state, layer, state.activeLayerID);
    return {};
}

CommandResult NewGroupCommand::apply(DocumentState& state, const CommandContext&) const {
    LayerTree::insertActive(state, group, above ? above : state.activeLayerID);
    return {};
}

CommandResult PasteLayerCommand::apply(DocumentState& state, const CommandContext&) const {
    LayerTree::insertActive(state, layer, state.activeLayerID);
    return {};
}

CommandResult PlaceImageCommand::apply(DocumentState& state, const CommandContext&) const {
    PixelLayer layer = PixelLayer::named(layerName);
    layer.id = layerID;
    layer.pixels = pixels;
    layer.offset = {offsetOf(center.x, size.width), offsetOf(center.y, size.height)};
    LayerTree::insertActive(state, std::move(layer), above ? above : state.activeLayerID);
    return {};
}

} // namespace ombrel
