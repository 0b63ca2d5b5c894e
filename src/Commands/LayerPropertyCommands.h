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

} // namespace ombrel
