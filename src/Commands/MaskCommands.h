// Edits of the masks of layers and groups: adding, removing, applying, moving them, and any edit of
// pixels done to a mask instead of its layer.
#pragma once

#include "Commands/Coding/EnumNames.h"
#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <array>

namespace ombrel {

enum class NewMaskKind : std::uint8_t { revealAll, hideAll, revealSelection, hideSelection };

template <>
struct EnumNames<NewMaskKind> {
    static constexpr std::string_view name = "kind of mask";
    static constexpr auto cases = std::to_array<EnumCase<NewMaskKind>>({
        {NewMaskKind::revealAll, "revealAll"},
        {NewMaskKind::hideAll, "hideAll"},
        {NewMaskKind::revealSelection, "revealSelection"},
        {NewMaskKind::hideSelection, "hideSelection"},
    });
};

/// Documents hold no selection yet, so the kinds that want one are refused for want of it.
struct AddLayerMaskCommand {
    LayerID layerID;
    NewMaskKind kind = NewMaskKind::revealAll;

    std::string name() const { return "Add Layer Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const AddLayerMaskCommand&) const = default;

    static constexpr auto schema() {
        using Self = AddLayerMaskCommand;
        return commandSchema("AddLayerMaskCommand",
                             "Gives a layer or group that has none a mask of one value.",
                             field("layerID", &Self::layerID, "the layer"),
                             field("kind", &Self::kind, "what is seen at first").orDefault());
    }
};

struct DeleteLayerMaskCommand {
    LayerID layerID;

    std::string name() const { return "Delete Layer Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const DeleteLayerMaskCommand&) const = default;

    static constexpr auto schema() {
        using Self = DeleteLayerMaskCommand;
        return commandSchema("DeleteLayerMaskCommand",
                             "Takes the mask away; what it hid is seen again.",
                             field("layerID", &Self::layerID, "the layer"));
    }
};

struct SetLayerMaskEnabledCommand {
    LayerID layerID;
    bool isEnabled = true;

    std::string name() const { return isEnabled ? "Enable Layer Mask" : "Disable Layer Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetLayerMaskEnabledCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetLayerMaskEnabledCommand;
        return commandSchema("SetLayerMaskEnabledCommand",
                             "Lets a mask hide parts of its layer, or keeps it without effect.",
                             field("layerID", &Self::layerID, "the layer"),
                             field("isEnabled", &Self::isEnabled, "false keeps it unused"));
    }
};

/// Pixel layers only. A live layer becomes a plain one.
struct ApplyLayerMaskCommand {
    LayerID layerID;

    std::string name() const { return "Apply Layer Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const ApplyLayerMaskCommand&) const = default;

    static constexpr auto schema() {
        using Self = ApplyLayerMaskCommand;
        return commandSchema(
            "ApplyLayerMaskCommand",
            "Takes what the mask hides out of the layer's pixels, and the mask away. A mask that "
            "is not enabled is only taken away.",
            field("layerID", &Self::layerID, "the layer"));
    }
};

/// The mask is shown to the inner command as the pixels of its layer, and read back.
struct MaskTargetCommand {
    Command command = DeleteLayerMaskCommand{};
    LayerID layerID;

    std::string name() const { return command.name(); }
    std::optional<std::string> coalescingKey() const;
    bool runsOnQueue() const { return command.runsOnQueue(); }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MaskTargetCommand&) const = default;

    static constexpr auto schema() {
        using Self = MaskTargetCommand;
        return commandSchema("MaskTargetCommand",
                             "Edits the mask of a layer as if it were the layer's pixels.",
                             field("edit", &Self::command, "what to do, naming the same layer"),
                             field("layerID", &Self::layerID, "the layer"));
    }
};

struct SetMaskLinkedCommand {
    LayerID layerID;
    bool isLinked = true;

    std::string name() const { return isLinked ? "Link Layer Mask" : "Unlink Layer Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetMaskLinkedCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetMaskLinkedCommand;
        return commandSchema("SetMaskLinkedCommand", "Says whether a mask moves with its layer.",
                             field("layerID", &Self::layerID, "the layer"),
                             field("isLinked", &Self::isLinked, "false lets it stay"));
    }
};

/// The mask stays where it is on the canvas. A mask that the target has is replaced.
struct MoveLayerMaskCommand {
    LayerID sourceID;
    LayerID targetID;
    bool copy = false;

    std::string name() const { return copy ? "Copy Layer Mask" : "Move Layer Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MoveLayerMaskCommand&) const = default;

    static constexpr auto schema() {
        using Self = MoveLayerMaskCommand;
        return commandSchema("MoveLayerMaskCommand",
                             "Moves or copies a mask to another layer, in place of its own.",
                             field("sourceID", &Self::sourceID, "the layer that has it"),
                             field("targetID", &Self::targetID, "the layer that gets it"),
                             field("copy", &Self::copy, "the source keeps it").orDefault());
    }
};

} // namespace ombrel
