// Edits that the clipboard asks for: layers made beforehand that come into the tree, and layers
// that leave it.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

#include <vector>

namespace ombrel {

/// Each layer goes above the one before it, the first above the active layer and all that clips to
/// the same base as it, or to it. The last becomes active.
struct PasteLayersCommand {
    std::vector<LayerNode> layers; ///< bottom to top; their identifiers are new to the document

    static constexpr const char* nothingDone = "There is nothing to paste.";

    std::string name() const { return "Paste"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const PasteLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = PasteLayersCommand;
        return commandSchema("PasteLayersCommand",
                             "Adds layers and groups above the active layer, one above the other, "
                             "between no layer and what it clips to. The last becomes active.",
                             field("layers", &Self::layers, "what to add, from bottom to top"));
    }
};

/// Takes layers out; where nothing would be left of the document, only their pixels.
struct CutLayersCommand {
    std::vector<LayerID> layerIDs;

    static constexpr const char* nothingDone = "There is nothing to cut: the layer is empty.";

    std::string name() const { return "Cut"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const CutLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = CutLayersCommand;
        return commandSchema("CutLayersCommand",
                             "Deletes layers, and groups with all they hold. Where these are all "
                             "that the document has, the layers stay and are emptied.",
                             field("layerIDs", &Self::layerIDs, "the layers"));
    }
};

} // namespace ombrel
