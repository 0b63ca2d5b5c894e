#include "Commands/RasterizeLayersCommand.h"

#include "Commands/LayerTree.h"

namespace ombrel {

namespace {

/// Whether any layer of the node was live.
bool rasterize(LayerNode& node) {
    if (GroupLayer* group = node.writeGroup()) {
        bool any = false;
        for (LayerNode& child : group->children)
            any = rasterize(child) || any;
        return any;
    }
    if (!node.pixelLayer()->isLive()) return false;
    PixelLayer& layer = *node.writePixelLayer();
    layer.replacePixels(layer.pixels);
    return true;
}

} // namespace

CommandResult RasterizeLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    bool any = false;
    for (const LayerID id : *ids)
        state.update(id, [&](LayerNode& node) { any = rasterize(node) || any; });
    if (!any) return std::unexpected(CommandError::of(CommandError::Kind::notALiveLayer));
    return {};
}

} // namespace ombrel
