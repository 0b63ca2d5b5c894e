#include "Commands/LayerPropertyCommands.h"

#include "Commands/LayerTree.h"

#include <ranges>

namespace ombrel {

namespace {

template <typename Values>
std::vector<LayerID> keysOf(const Values& values) {
    const auto keys = std::views::keys(values);
    return {keys.begin(), keys.end()};
}

} // namespace

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
    LayerTree::updateEach(state, keysOf(properties), [&](LayerNode& node) {
        node.writeProperties() = properties.at(node.id());
    });
    return {};
}

CommandResult SetLayersVisibilityCommand::apply(DocumentState& state, const CommandContext&) const {
    LayerTree::updateEach(state, keysOf(visibility), [&](LayerNode& node) {
        node.writeProperties().isVisible = visibility.at(node.id());
    });
    return {};
}

CommandResult SetClippingCommand::apply(DocumentState& state, const CommandContext&) const {
    const std::size_t count = LayerTree::updateEach(
        state, layerIDs, [&](LayerNode& node) { node.writeProperties().clipsToBelow = clipped; });
    if (count == 0) return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
    return {};
}

} // namespace ombrel
