#include "Commands/DeleteLayersCommand.h"

#include "Commands/LayerTree.h"

#include <algorithm>

namespace ombrel {

CommandResult DeleteLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    const bool deletesAll = std::ranges::all_of(state.root->children, [&](const LayerNode& node) {
        return std::ranges::find(*ids, node.id()) != ids->end();
    });
    if (deletesAll) return std::unexpected(CommandError::of(CommandError::Kind::lastLayer));
    for (const LayerID id : *ids)
        LayerTree::remove(state, id);
    return {};
}

} // namespace ombrel
