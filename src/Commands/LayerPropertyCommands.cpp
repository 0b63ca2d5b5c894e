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

} // namespace ombrel
