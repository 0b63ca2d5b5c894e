// Moves layers on the canvas, without touching a pixel.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <cstdint>
#include <span>
#include <vector>

namespace ombrel {

/// Linked masks go with their layers, groups with all they hold.
struct TranslateLayersCommand {
    std::vector<LayerID> layerIDs;
    std::int64_t dx = 0;
    std::int64_t dy = 0;
    bool coalesces = false; ///< one of a run, such as from arrow keys: same layers

    static constexpr const char* nothingDone = "The layers lie there already.";

    std::string name() const { return "Move"; }
    std::optional<std::string> coalescingKey() const;
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const TranslateLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = TranslateLayersCommand;
        constexpr double farthest = 0x1p31;
        return commandSchema(
            "TranslateLayersCommand",
            "Moves layers on the canvas by whole pixels. Linked masks go with them, groups with "
            "all "
            "they hold.",
            field("layerIDs", &Self::layerIDs, "the layers, in any order"),
            field("dx", &Self::dx, "pixels to the right").between(-farthest, farthest),
            field("dy", &Self::dy, "pixels down").between(-farthest, farthest),
            field("coalesces", &Self::coalesces,
                  "joins the undo step before it if that moved the same layers")
                .orDefault());
    }
};

/// The edit itself, for layers that are already known to move; those that are gone are skipped.
void translateLayers(DocumentState& state, std::span<const LayerID> ids, PixelOffset by);
/// The first of the nodes, or of what lies in them, whose locks contain one of `locks`; null where
/// there is none.
const LayerNode* lockedNode(const DocumentState& state, std::span<const LayerID> ids,
                            LayerLocks locks);

} // namespace ombrel
