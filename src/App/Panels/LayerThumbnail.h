// Small pictures of a layer as it lies on its canvas, and of its mask, sampled from the tiles: a
// few samples a pixel, whatever the size of the canvas. Tiles that are not resident are decoded
// aside, so that looking at a document does not push the tiles being worked on out of memory.
// Pure functions; any thread.
#pragma once

#include "Core/Canvas.h"
#include "Core/Layer.h"

#include <QImage>

namespace ombrel {

struct LayerThumbnail {
    QImage picture; ///< sRGB, premultiplied; null for a group
    QImage mask;    ///< gray; null without a mask
};

/// Pictures of the canvas's proportions, their longer side `side` pixels.
LayerThumbnail layerThumbnail(const LayerNode& node, const Canvas& canvas, int side);
QSize thumbnailSize(PixelSize canvas, int side);

} // namespace ombrel
