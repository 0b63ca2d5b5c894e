#include "Commands/LayerPropertyCommands.h"

namespace ombrel {

std::optional<std::string> SetLayerPropertiesCommand::coalescingKey() const {
    if (!coalesces) return std::nullopt;
    return "properties-" + layerID.rawValue.text() + "-" + name;
}

CommandResult SetLayerPropertiesCommand::apply(DocumentState& state, const CommandContext&) const {
    const bool isFound =
        state.update(layerID, [&](LayerNode& node) { node.writeProperties() = properties; });
    if (!isFound) return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
    return {};
}

std::optional<std::string> SetLayersPropertiesCommand::coalescingKey() const {
    if (!coalesces) return std::nullopt;
    std::string key = "properties-";
    for (const auto& [id, value] : properties)
        key += id.rawValue.text() + "-";
    return key + name;
}

CommandResult SetLayersPropertiesCommand::apply(DocumentState& state, const CommandContext&) const {
    for (const auto& [id, value] : properties)
        state.update(id, [&](LayerNode& node) { node.writeProperties() = value; });
    return {};
}

CommandResult SetLayersVisibilityCommand::apply(DocumentState& state, const CommandContext&) const {
    for (const auto& [id, isVisible] : visibility)
        state.update(id, [&](LayerNode& node) { node.writeProperties().isVisible = isVisible; });
    return {};
}

CommandResult SetClippingCommand::apply(DocumentState& state, const CommandContext&) const {
    bool isAnyFound = false;
    for (const LayerID id : layerIDs) {
        isAnyFound |= state.update(
            id, [&](LayerNode& node) { node.writeProperties().clipsToBelow = clipped; });
    }
    if (!isAnyFound) return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
    return {};
}

} // namespace ombrel
