// Several layers made one: what they show together, masks applied and clipping resolved, becomes
// the pixels of a layer. Hidden layers are never merged and stay, except where the whole image is
// flattened. A layer whose pixels are locked refuses to be merged into another one; flattening and
// stamping ask no layer.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Coding/LayerCodecs.h"
#include "Commands/Command.h"

#include <vector>

namespace ombrel {

/// Into the layer below, which keeps its name, mode, locks and clipping. The picture stays as it is
/// where the lower layer is opaque or both modes are normal, and always where the upper one clips
/// to the lower one. What clips to the upper layer is merged with it.
struct MergeDownCommand {
    LayerID layerID;

    std::string name() const { return "Merge Down"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MergeDownCommand&) const = default;

    static constexpr auto schema() {
        using Self = MergeDownCommand;
        return commandSchema("MergeDownCommand", "Merges a layer into the one below.",
                             field("layerID", &Self::layerID, "the upper layer"));
    }
};

/// The visible ones of some layers and groups, in place of the topmost, which gives its name; a
/// single layer merges down, a single group becomes a layer.
struct MergeLayersCommand {
    std::vector<LayerID> layerIDs;

    std::string name() const { return "Merge Layers"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MergeLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = MergeLayersCommand;
        return commandSchema("MergeLayersCommand",
                             "Merges layers and groups into one layer in place of the topmost.",
                             field("layerIDs", &Self::layerIDs, "layers and groups"));
    }
};

/// A group becomes a layer with its properties and mask. Hidden layers within it are dropped. The
/// picture stays as it is unless the group passes through.
struct MergeGroupCommand {
    LayerID layerID;

    std::string name() const { return "Merge Group"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MergeGroupCommand&) const = default;

    static constexpr auto schema() {
        using Self = MergeGroupCommand;
        return commandSchema("MergeGroupCommand", "Makes a group one layer.",
                             field("layerID", &Self::layerID, "the group"));
    }
};

/// All that is seen becomes one layer in place of the lowest, which gives its name. Hidden layers
/// stay, in their groups.
struct MergeVisibleCommand {
    static constexpr const char* nothingDone =
        "There is nothing to merge: one layer alone is visible.";

    std::string name() const { return "Merge Visible"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const MergeVisibleCommand&) const = default;

    static constexpr auto schema() {
        return commandSchema("MergeVisibleCommand", "Merges all visible layers into one.");
    }
};

/// One opaque layer "Background", locked as that of a new document: the picture on white, cut at
/// the canvas. Hidden layers are dropped.
struct FlattenImageCommand {
    LayerID layerID = LayerID::make(); ///< of the new layer

    static constexpr const char* nothingDone = "The image is flat already.";

    std::string name() const { return "Flatten Image"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const FlattenImageCommand&) const = default;

    static constexpr auto schema() {
        using Self = FlattenImageCommand;
        return commandSchema(
            "FlattenImageCommand",
            "Makes the picture, on white, the only layer. Hidden layers are dropped.",
            field("layerID", &Self::layerID, "the new layer's identifier, a UUID").orMade());
    }
};

/// A new layer on top of all that holds the picture.
struct StampVisibleCommand {
    LayerID layerID = LayerID::make(); ///< of the new layer
    std::string layerName = "Stamp";

    std::string name() const { return "Stamp Visible"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const StampVisibleCommand&) const = default;

    static constexpr auto schema() {
        using Self = StampVisibleCommand;
        return commandSchema(
            "StampVisibleCommand", "Adds a layer on top that holds what is seen.",
            field("layerID", &Self::layerID, "the new layer's identifier, a UUID").orMade(),
            field("layerName", &Self::layerName, "of the new layer").orDefault());
    }
};

} // namespace ombrel
