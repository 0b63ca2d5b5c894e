// Where an edit of pixels goes: to a layer, or to the mask of one. What differs between the two is
// told here, so that whoever edits need not know. Plain values and pure functions; the canvas keeps
// the picture of a mask in a MaskView. Main thread, where nothing else is said.
#pragma once

#include "Commands/MaskEditing.h"
#include "Core/DocumentState.h"
#include "Engine/StrokeRenderer.h"

#include <cstdint>
#include <optional>

namespace ombrel {

class DocumentSession;

enum class EditTarget : std::uint8_t { pixels, mask };

struct EditRouting {
    std::optional<LayerID> maskLayer; ///< absent: the pixels of the active layer

    static EditRouting of(const DocumentSession& session);
    EditTarget target() const { return maskLayer ? EditTarget::mask : EditTarget::pixels; }

    bool operator==(const EditRouting&) const = default;
};

/// The grid of a target where it stands in a document.
struct RoutedGrid {
    TileGrid tiles;
    PixelOffset offset;   ///< of its raster on the canvas
    float background = 0; ///< of a mask, where it has no cell
};

/// Nothing where the layer is gone, or has not what is to be edited. Any thread.
std::optional<RoutedGrid> routedGrid(const DocumentState& state, LayerID layer, EditTarget target);
/// Puts new contents in the place of cells; does nothing where routedGrid finds nothing.
void writeTiles(DocumentState& state, LayerID layer, EditTarget target, const StrokeTiles& tiles);

/// A document with a layer's mask as a picture, made anew only where something changed.
class MaskView {
public:
    enum class Kind : std::uint8_t { editing, picture }; ///< see MaskEditing

    explicit MaskView(Kind kind) : kind_(kind) {}

    /// Null where there is no such mask. Valid until the next call.
    const DocumentState* stateOf(const DocumentState& document, LayerID layer, TileStore& store);
    /// Of the last state.
    const MaskPicture& picture() const { return *picture_; }
    /// Lets go of everything.
    void drop();

private:
    const Kind kind_;
    std::optional<LayerID> layer_;
    std::optional<DocumentState> document_; ///< of which the state was made
    std::optional<MaskPicture> picture_;
    std::optional<DocumentState> state_;
};

} // namespace ombrel
