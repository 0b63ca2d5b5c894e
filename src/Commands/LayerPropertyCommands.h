// Edits of the properties of layers and groups: whole, or visibility and clipping alone. Properties
// are taken whole: who builds the command reads them, changes them and hands them back.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <map>
#include <vector>

namespace ombrel {

struct SetLayerPropertiesCommand {
    LayerID layerID;
    LayerProperties properties;
    std::string name = "Layer Properties";
    bool coalesces = false; ///< one of a run, such as from a slider: same layer, same name

    std::optional<std::string> coalescingKey() const;
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetLayerPropertiesCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetLayerPropertiesCommand;
        return commandSchema(
            "SetLayerPropertiesCommand", "Sets the properties of a layer.",
            field("layerID", &Self::layerID, "the layer"),
            field("properties", &Self::properties, "what is left out stays as it is"),
            field("name", &Self::name, "what the undo list shows").orDefault(),
            field("coalesces", &Self::coalesces,
                  "joins the undo step before it if that changed the same layer by the same name")
                .orDefault());
    }
};

/// Layers that are gone are skipped.
struct SetLayersPropertiesCommand {
    std::map<LayerID, LayerProperties> properties;
    std::string name = "Layer Properties";
    bool coalesces = false; ///< one of a run: same layers, same name

    std::optional<std::string> coalescingKey() const;
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetLayersPropertiesCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetLayersPropertiesCommand;
        return commandSchema(
            "SetLayersPropertiesCommand", "Sets the properties of many layers at once.",
            field("properties", &Self::properties, "what is left out of each stays as it is"),
            field("name", &Self::name, "what the undo list shows").orDefault(),
            field("coalesces", &Self::coalesces,
                  "joins the undo step before it if that changed the same layers by the same name")
                .orDefault());
    }
};

/// Layers that are gone are skipped.
struct SetLayersVisibilityCommand {
    std::map<LayerID, bool> visibility;
    std::string name = "Layer Visibility";

    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetLayersVisibilityCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetLayersVisibilityCommand;
        return commandSchema("SetLayersVisibilityCommand", "Shows and hides layers.",
                             field("visibility", &Self::visibility, "true shows, false hides"),
                             field("name", &Self::name, "what the undo list shows").orDefault());
    }
};

/// Layers stay where they are. Of a list, those that are gone are skipped, unless all are.
struct SetClippingCommand {
    std::vector<LayerID> layerIDs;
    bool clipped = true;

    std::string name() const { return clipped ? "Create Clipping Mask" : "Release Clipping Mask"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetClippingCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetClippingCommand;
        return commandSchema("SetClippingCommand",
                             "Clips layers to the one below them, or releases them.",
                             field("layerIDs", &Self::layerIDs, "the layers"),
                             field("clipped", &Self::clipped, "true clips, false releases"));
    }
};

} // namespace ombrel
