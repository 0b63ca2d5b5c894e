// Deep copies of layers. Pixels are shared with the originals, identifiers are fixed beforehand.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <functional>
#include <map>
#include <vector>

namespace ombrel {

/// Each copy lies directly above its original, that of a base above all that clips to it, with the
/// copies of its clipped layers; with `parent` or `gap` all go there, in stack order. The topmost
/// copy becomes active.
struct DuplicateLayersCommand {
    std::vector<LayerID> layerIDs;
    std::optional<LayerID> parent;   ///< with a gap, absent: the root
    std::optional<std::int64_t> gap; ///< among the parent's children; with a parent, absent: on top
    /// Original to copy, for every node that is copied, those in groups too.
    std::map<LayerID, LayerID> copies;

    /// With fresh identifiers for all that the layers hold in this state.
    static DuplicateLayersCommand of(const DocumentState& state, std::vector<LayerID> layerIDs,
                                     std::optional<LayerID> parent = {},
                                     std::optional<std::int64_t> gap = {});
    /// Makes the identifiers that `copies` lacks.
    void complete(const DocumentState& state, const std::function<LayerID()>& makeID);

    std::string name() const { return "Duplicate Layers"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    /// The same, for who has no context: nothing is computed.
    CommandResult duplicate(DocumentState& state) const;
    bool operator==(const DuplicateLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = DuplicateLayersCommand;
        return commandSchema(
            "DuplicateLayersCommand",
            "Copies layers, and groups with all they hold. The topmost copy becomes active.",
            field("layerIDs", &Self::layerIDs, "the layers, in any order"),
            field("parent", &Self::parent, "the group that the copies go to"),
            field("gap", &Self::gap,
                  "their place among the children there, 0 at the bottom; without parent and gap "
                  "each copy goes directly above its original and what clips to that"),
            field("copies", &Self::copies, "the identifiers of the copies").orDefault());
    }
};

} // namespace ombrel
