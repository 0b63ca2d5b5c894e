// Edits that make and dissolve groups around layers that are there.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <vector>

namespace ombrel {

/// Puts layers into a new group, which takes the place of the topmost of them and becomes active.
struct GroupLayersCommand {
    std::vector<LayerID> layerIDs;
    GroupLayer group; ///< its children are replaced by the layers

    std::string name() const { return "Group Layers"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const GroupLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = GroupLayersCommand;
        return commandSchema("GroupLayersCommand",
                             "Puts layers into a new group, which takes the place of the topmost "
                             "of them and becomes active.",
                             field("layerIDs", &Self::layerIDs, "the layers, in any order"),
                             field("group", &Self::group, "the group, without children"));
    }
};

/// Puts a group's children in its place; its opacity, blend mode and mask are dropped. The topmost
/// child becomes active.
struct UngroupCommand {
    LayerID layerID;

    std::string name() const { return "Ungroup Layers"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const UngroupCommand&) const = default;

    static constexpr auto schema() {
        using Self = UngroupCommand;
        return commandSchema("UngroupCommand",
                             "Puts the children of a group in its place; the topmost of them "
                             "becomes active. The group's own opacity, blend mode and mask go.",
                             field("layerID", &Self::layerID, "the group"));
    }
};

} // namespace ombrel
