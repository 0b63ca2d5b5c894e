// What the composite of a program amounts to in one tile: nothing, one colour, a layer's own tile,
// or work for a device. Looks at which cells there are, never at pixels.
#pragma once

#include "Core/CompositeProgram.h"
#include "Core/Tile.h"
#include "Engine/TileQuad.h"

#include <variant>
#include <vector>

namespace ombrel {

struct EmptyTile {
    bool operator==(const EmptyTile&) const = default;
};
struct NeedsComposite {
    bool operator==(const NeedsComposite&) const = default;
};

/// Empty, one colour, exactly this tile, or to be composited.
using TileClass = std::variant<EmptyTile, PremultipliedColor, Tile, NeedsComposite>;

/// Refers to the program, which must outlive it. Const use from any thread.
class TileClassifier {
public:
    explicit TileClassifier(const CompositeProgram& program);

    TileClass classify(TileCoord coord) const;
    /// The same for several tiles at once: empty, or one colour, only where all of them are.
    TileClass classifyAll(const TileRange& tiles) const;

    /// Every tile within `range` that is not empty, in TileCoord order, each once. `except` leaves
    /// out tiles that only this layer touches.
    std::vector<TileCoord> coveredTiles(const TileRange& range,
                                        const PixelLayer* except = nullptr) const;

    /// The layer with the most cells among those whose own cells are the composite wherever no
    /// other layer lies; null where there is none.
    const PixelLayer* plainBase() const;

private:
    struct Entry {
        const PixelLayer* layer;
        TileShift shift;
        bool isPlain; ///< offset zero, opacity 1, normal, unmasked and unclipped
    };

    std::vector<Entry> layers_;
    bool hasGroups_ = false;
};

} // namespace ombrel
