#include "Commands/ClipboardCommands.h"

#include "Commands/ClipStacks.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/LayerTree.h"
#include "Commands/TranslateLayersCommand.h"

namespace ombrel {

namespace {

void empty(LayerNode& node) {
    if (PixelLayer* layer = node.writePixelLayer()) {
        layer->replacePixels(TileGrid(TileFormat::rgba16Float));
    } else {
        for (LayerNode& child : node.writeGroup()->children)
            empty(child);
    }
}

} // namespace

CommandResult PasteLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    if (layers.empty()) return {};
    const std::optional<LayerID> stack = ClipStacks::placeAbove(state);
    LayerTree::insertActive(state, layers.front(), stack ? stack : state.activeLayerID);
    // Beside the first one, never into it where it is a group.
    const auto first = state.location(layers.front().id());
    if (!first) return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
    const std::vector<LayerNode> others(layers.begin() + 1, layers.end());
    state.insert(others, first->parent, static_cast<std::int64_t>(first->index) + 1);
    state.activeLayerID = layers.back().id();
    return {};
}

CommandResult CutLayersCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    if (const LayerNode* locked = lockedNode(state, *ids, LayerLocks::pixels))
        return std::unexpected(CommandError::layerLocked(locked->properties().name));
    CommandResult deleted = DeleteLayersCommand{*ids}.apply(state, in);
    if (deleted || deleted.error().kind != CommandError::Kind::lastLayer) return deleted;
    for (const LayerID id : *ids)
        state.update(id, empty);
    return {};
}

} // namespace ombrel
