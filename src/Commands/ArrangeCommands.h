// Edits of the order and nesting of layers: moves to a place, to above another layer as its clipped
// layers, and by one place or to the end among siblings.
#pragma once

#include "Commands/Coding/EnumNames.h"
#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <array>
#include <vector>

namespace ombrel {

/// A group that would move into itself stays where it is.
struct MoveLayersCommand {
    std::vector<LayerID> layerIDs;
    std::optional<LayerID> parent; ///< absent: the root
    std::int64_t gap = 0;          ///< among the parent's children, before anything moves
    bool releasesClipping = false; ///< of the layers that move

    std::string name() const { return "Move Layers"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MoveLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = MoveLayersCommand;
        return commandSchema(
            "MoveLayersCommand",
            "Moves layers to another place in the stack; they keep their order. A group that would "
            "move into itself stays where it is.",
            field("layerIDs", &Self::layerIDs, "the layers, in any order"),
            field("parent", &Self::parent, "the group they go to; the root unless given"),
            field("gap", &Self::gap,
                  "their place among the children there, counted before the move, 0 at the bottom"),
            field("releasesClipping", &Self::releasesClipping,
                  "the layers clip no longer to what is below")
                .orDefault());
    }
};

/// Moves the layers to directly above the base and clips them. The base itself is passed over.
struct ClipLayersCommand {
    std::vector<LayerID> layerIDs;
    LayerID baseID;

    std::string name() const { return "Create Clipping Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const ClipLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = ClipLayersCommand;
        return commandSchema("ClipLayersCommand",
                             "Moves layers to directly above another one and clips them to it.",
                             field("layerIDs", &Self::layerIDs, "the layers, in any order"),
                             field("baseID", &Self::baseID, "the layer they are clipped to"));
    }
};

/// Layers with the position lock stay. Layers that move together keep their order: none passes
/// another one. With `keepsStacks` no layer gets another base: a base takes along what clips to it,
/// all step over whole stacks, and a clipped layer alone moves within its own.
struct ArrangeLayersCommand {
    enum class Arrangement { bringForward, sendBackward, bringToFront, sendToBack };

    std::vector<LayerID> layerIDs;
    Arrangement arrangement = Arrangement::bringForward;
    bool keepsStacks = false;

    std::string name() const;
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    /// The same, for who has no context: nothing is computed.
    CommandResult arrange(DocumentState& state) const;
    bool operator==(const ArrangeLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = ArrangeLayersCommand;
        return commandSchema(
            "ArrangeLayersCommand",
            "Moves layers among their siblings, by one place or to the end. Layers whose position "
            "is locked stay.",
            field("layerIDs", &Self::layerIDs, "the layers, in any order"),
            field("arrangement", &Self::arrangement, "where to"),
            field("keepsStacks", &Self::keepsStacks,
                  "a layer takes along what clips to it and steps over whole such stacks; clipped "
                  "ones move within theirs")
                .orDefault());
    }
};

template <>
struct EnumNames<ArrangeLayersCommand::Arrangement> {
    using Arrangement = ArrangeLayersCommand::Arrangement;
    static constexpr std::string_view name = "arrangement";
    static constexpr std::array<EnumCase<Arrangement>, 4> cases{
        {{Arrangement::bringForward, "bringForward"},
         {Arrangement::sendBackward, "sendBackward"},
         {Arrangement::bringToFront, "bringToFront"},
         {Arrangement::sendToBack, "sendToBack"}}};
};

} // namespace ombrel
