// A picture of what a brush paints: a swung stroke whose pressure rises and falls, made of dabs and
// rendered as strokes on the canvas are. A pure function of the settings; any thread but the main.
#pragma once

#include "Tools/BrushSettings.h"

#include <QImage>

namespace ombrel {

class PixelDevice;
class TileStore;

struct BrushPreviewWish {
    BrushSettings settings;
    bool aliased = false;
    QSize size;       ///< pixels of the screen
    double scale = 1; ///< of the screen: pixels a point

    /// Wishes of one key show the same.
    std::string key() const;
};

/// Coverage as alpha, to be drawn in whatever colour. A brush too large for the picture is made
/// smaller to fit.
QImage brushStrokePreview(const BrushPreviewWish& wish, PixelDevice& device, TileStore& store);

} // namespace ombrel
