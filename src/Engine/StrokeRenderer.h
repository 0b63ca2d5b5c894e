// Paints one stroke into one grid, in two stages. Dabs add up in masks, a tile each, that belong to
// the stroke and know nothing of colour; then each tile that a batch touched is computed anew from
// the grid as it was when the stroke began, the whole mask so far and the style. So the result does
// not depend on how the dabs were batched, the opacity is a ceiling that no overlap can pass, and a
// blend mode applies once.
//
// One object a stroke. Any thread, one call at a time; of a document that is on the screen, the
// strand of its RenderActor.
#pragma once

#include "Core/TileGrid.h"
#include "Engine/BrushDab.h"
#include "Engine/EngineError.h"
#include "Engine/StrokeCoverage.h"
#include "Engine/StrokeStyle.h"

#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <span>

namespace ombrel {

class PixelDevice;
class TileStore;

/// New contents of the tiles that a batch changed.
using StrokeTiles = std::map<TileCoord, TileContent>;

class StrokeRenderer {
public:
    /// What is painted on. All in the coordinates of the grid.
    struct Target {
        TileGrid original; ///< pixels of a layer, or (r8) the values of a mask
        PixelRect bounds;  ///< painting lands within
        bool perceptual = false;
        std::optional<TileGrid> selection = {}; ///< r8; limits the paint
        /// The value of a mask where it has no cell, 0 to 1. Of no meaning for pixels.
        float absentValue = 0;
    };

    /// Device and store outlive it. Nothing is allocated before the first batch.
    StrokeRenderer(PixelDevice& device, TileStore& store, Target target, StrokeStyle style);
    ~StrokeRenderer();
    StrokeRenderer(const StrokeRenderer&) = delete;
    StrokeRenderer& operator=(const StrokeRenderer&) = delete;

    /// Adds the dabs, in their order, and gives the tiles they changed; none where all lie outside
    /// or bring no paint. After an error the stroke goes on from the same masks.
    std::expected<StrokeTiles, EngineError> render(std::span<const BrushDab> dabs);
    /// The masks as bytes; nothing where none was touched.
    std::optional<StrokeCoverage> coverage() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

} // namespace ombrel
