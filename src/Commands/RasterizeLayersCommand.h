// Makes live layers (shapes, text, instances) plain ones: their pixels stay, what they were drawn
// from goes.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <vector>

namespace ombrel {

/// Layers inside named groups count too. Fails where none of them is live.
struct RasterizeLayersCommand {
    std::vector<LayerID> layerIDs;

    std::string name() const {
        return layerIDs.size() == 1 ? "Rasterize Layer" : "Rasterize Layers";
    }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const RasterizeLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = RasterizeLayersCommand;
        return commandSchema("RasterizeLayersCommand",
                             "Makes shapes, text and instances plain pixels.",
                             field("layerIDs", &Self::layerIDs, "layers and groups"));
    }
};

} // namespace ombrel
