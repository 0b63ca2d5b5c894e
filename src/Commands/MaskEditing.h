// The mask of a layer as a picture that commands and tools can edit as any layer: a value v is the
// opaque grey (v, v, v, 1). Within the canvas every pixel shows, the background where the mask has
// no cell. A picture remembers what it was made of, so that following a mask that changes, and
// reading an edited picture back, cost by the change. Values; any thread.
#pragma once

#include "Core/DocumentState.h"

#include <optional>

namespace ombrel {

class TileStore;

class MaskPicture {
public:
    MaskPicture(const LayerMask& mask, PixelSize canvas, TileStore& store);

    /// Follows the mask to another state.
    void update(const LayerMask& mask, PixelSize canvas, TileStore& store);
    const TileGrid& pixels() const { return pixels_; } ///< where the mask has them, at its offset

    /// The mask that an edited picture stands for: pixels that did not change keep their values.
    LayerMask edited(const TileGrid& pixels, PixelOffset offset, TileStore& store) const;

private:
    void make(TileStore& store);

    LayerMask mask_;
    PixelSize canvas_;
    TileGrid pixels_{TileFormat::rgba16Float};
};

namespace MaskEditing {

/// The document with the layer (or group) as the picture of its mask, opaque and normal, so that
/// what edits a layer edits the mask; nothing where there is no such mask.
std::optional<DocumentState> editingState(const DocumentState& state, LayerID layerID,
                                          const MaskPicture& picture);
/// What a view of the mask shows: its picture, and an opaque ground behind it, alone.
std::optional<DocumentState> viewState(const DocumentState& state, LayerID layerID,
                                       const MaskPicture& picture);
/// Writes the mask of an edited editing state back into the document; false where the layer is
/// gone from either, or pixels no more.
bool writeBack(const DocumentState& edited, LayerID layerID, const MaskPicture& picture,
               DocumentState& state, TileStore& store);

} // namespace MaskEditing

} // namespace ombrel
