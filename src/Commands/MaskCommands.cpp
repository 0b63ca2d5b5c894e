#include "Commands/MaskCommands.h"

#include "Commands/MaskEditing.h"
#include "Engine/Flattener.h"

#include <utility>

namespace ombrel {

namespace {

using Kind = CommandError::Kind;

std::unexpected<CommandError> failure(Kind kind) {
    return std::unexpected(CommandError::of(kind));
}

/// A layer that must have a mask.
std::expected<const LayerNode*, CommandError> maskedNode(const DocumentState& state, LayerID id) {
    const LayerNode* node = state.find(id);
    if (node == nullptr) return failure(Kind::layerNotFound);
    if (!node->mask()) return failure(Kind::noMask);
    return node;
}

CommandResult changeMask(DocumentState& state, LayerID id,
                         const std::function<void(std::optional<LayerMask>&)>& change) {
    const auto node = maskedNode(state, id);
    if (!node) return std::unexpected(node.error());
    state.update(id, [&](LayerNode& found) { change(found.writeMask()); });
    return {};
}

/// What is left of a layer's pixels under its mask, on the layer's own raster.
std::expected<TileGrid, CommandError>
maskedPixels(const DocumentState& state, const PixelLayer& layer, const CommandContext& in) {
    PixelLayer plain;
    plain.pixels = layer.pixels;
    plain.mask = layer.mask;
    plain.mask->offset.dx -= layer.offset.dx;
    plain.mask->offset.dy -= layer.offset.dy;
    const CompositeProgram program{{LayerStep{std::move(plain)}}};
    auto grid =
        Flattener::compositeTiles(program, !state.canvas.blendUsingGamma1,
                                  layer.pixels.tileBounds(), in.device, in.store, in.progress);
    if (!grid) return std::unexpected(CommandError::from(grid.error()));
    return *std::move(grid);
}

} // namespace

CommandResult AddLayerMaskCommand::apply(DocumentState& state, const CommandContext&) const {
    const LayerNode* node = state.find(layerID);
    if (node == nullptr) return failure(Kind::layerNotFound);
    if (node->mask()) return failure(Kind::hasMask);
    if (kind == NewMaskKind::revealSelection || kind == NewMaskKind::hideSelection)
        return failure(Kind::emptyRegion);
    LayerMask mask;
    mask.background = kind == NewMaskKind::revealAll ? 1.0f : 0.0f;
    state.update(layerID, [&](LayerNode& found) { found.writeMask() = std::move(mask); });
    return {};
}

CommandResult DeleteLayerMaskCommand::apply(DocumentState& state, const CommandContext&) const {
    return changeMask(state, layerID, [](std::optional<LayerMask>& mask) { mask.reset(); });
}

CommandResult SetLayerMaskEnabledCommand::apply(DocumentState& state, const CommandContext&) const {
    return changeMask(state, layerID,
                      [&](std::optional<LayerMask>& mask) { mask->isEnabled = isEnabled; });
}

CommandResult ApplyLayerMaskCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto node = maskedNode(state, layerID);
    if (!node) return std::unexpected(node.error());
    const PixelLayer* layer = (*node)->pixelLayer();
    if (layer == nullptr) return failure(Kind::notAPixelLayer);
    if (!layer->mask->isEnabled)
        return changeMask(state, layerID, [](std::optional<LayerMask>& mask) { mask.reset(); });
    if (layer->properties.locks.contains(LayerLocks::pixels))
        return std::unexpected(CommandError::layerLocked(layer->properties.name));
    auto pixels = maskedPixels(state, *layer, in);
    if (!pixels) return std::unexpected(pixels.error());
    state.update(layerID, [&](LayerNode& found) {
        PixelLayer& written = *found.writePixelLayer();
        written.replacePixels(*std::move(pixels));
        written.mask.reset();
    });
    return {};
}

std::optional<std::string> MaskTargetCommand::coalescingKey() const {
    auto key = command.coalescingKey();
    if (key) key->insert(0, "mask-");
    return key;
}

CommandResult MaskTargetCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto node = maskedNode(state, layerID);
    if (!node) return std::unexpected(node.error());
    const MaskPicture picture(*(*node)->mask(), state.canvas.size, in.store);
    DocumentState edited = *MaskEditing::editingState(state, layerID, picture);
    if (CommandResult result = command.apply(edited, in); !result) return result;
    if (!MaskEditing::writeBack(edited, layerID, picture, state, in.store))
        return failure(Kind::layerNotFound);
    return {};
}

CommandResult SetMaskLinkedCommand::apply(DocumentState& state, const CommandContext&) const {
    return changeMask(state, layerID,
                      [&](std::optional<LayerMask>& mask) { mask->isLinked = isLinked; });
}

CommandResult MoveLayerMaskCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto source = maskedNode(state, sourceID);
    if (!source) return std::unexpected(source.error());
    LayerMask mask = *(*source)->mask();
    if (!copy) state.update(sourceID, [](LayerNode& node) { node.writeMask().reset(); });
    const bool isFound =
        state.update(targetID, [&](LayerNode& node) { node.writeMask() = std::move(mask); });
    if (!isFound) return failure(Kind::layerNotFound);
    return {};
}

} // namespace ombrel
