#include "Editor/PixelTarget.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace ombrel {

namespace {

constexpr std::array maskTools{ToolKind::brush, ToolKind::pencil, ToolKind::eraser,
                               ToolKind::paintBucket, ToolKind::gradient};
constexpr const char* maskToolsOnly =
    "Masks are edited with the Brush, Pencil, Eraser, Paint Bucket and Gradient tools. Click the "
    "layer thumbnail to edit its pixels.";

/// Itself and all groups around it.
bool isShown(const DocumentState& state, const LayerNode& layer) {
    if (!layer.properties().isVisible) return false;
    for (auto place = state.location(layer.id()); place && place->parent;
         place = state.location(*place->parent)) {
        if (!state.find(*place->parent)->properties().isVisible) return false;
    }
    return true;
}

} // namespace

std::expected<LayerID, std::string> pixelTargetOf(const DocumentState& state,
                                                  const PixelTargetQuery& query) {
    const LayerNode* layer = query.maskLayer ? state.find(*query.maskLayer) : state.activeLayer();
    if (layer == nullptr || (!query.maskLayer && layer->pixelLayer() == nullptr))
        return std::unexpected(selectPixelLayer);
    if (query.maskLayer && std::ranges::find(maskTools, query.tool) == maskTools.end())
        return std::unexpected(maskToolsOnly);
    const LayerProperties& properties = layer->properties();
    if (!isShown(state, *layer))
        return std::unexpected(fmt::format("The layer “{}” is hidden.", properties.name));
    if ((properties.locks.rawValue & query.locks.rawValue) != 0)
        return std::unexpected(fmt::format("The layer “{}” is locked.", properties.name));
    return layer->id();
}

} // namespace ombrel
