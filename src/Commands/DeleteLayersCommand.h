// The removal of layers and groups with all they hold. Some layer always stays at the root.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <vector>

namespace ombrel {

/// Where the active layer goes, its neighbour becomes active: below it, else above it, else the
/// group that is left empty.
struct DeleteLayersCommand {
    std::vector<LayerID> layerIDs;

    std::string name() const { return layerIDs.size() == 1 ? "Delete Layer" : "Delete Layers"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const DeleteLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = DeleteLayersCommand;
        return commandSchema("DeleteLayersCommand",
                             "Deletes layers, and groups with all they hold. Not everything can be "
                             "deleted. Where the active layer goes, one beside it becomes active.",
                             field("layerIDs", &Self::layerIDs, "the layers"));
    }
};

} // namespace ombrel
