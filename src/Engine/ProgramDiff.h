// What differs between the pictures of two programs, told from the programs alone. Programs of one
// shape are compared step by step, and layers that share their object or their subtrees of tiles
// cost nothing. A tile may be reported that did not change; none that changed is left out.
//
// Shape: as many steps, of the same kinds in the same order (a layer may have become clipped or
// plain), the same layers by identity, and levels equally isolated. Within one shape a step keeps
// its index, so that dissolve keeps its noise.
#pragma once

#include "Core/CompositeProgram.h"
#include "Core/Geometry.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace ombrel {

/// How two programs of one shape differ, without naming tiles. Refers to both programs, which must
/// outlive it.
struct ProgramChanges {
    struct Difference {
        const TileGrid* before = nullptr;
        const TileGrid* after = nullptr;
        PixelOffset offset; ///< of both on the canvas
    };
    struct Cover {
        const TileGrid* pixels = nullptr;
        PixelOffset offset;
    };

    /// The first step of which something differs; absent where nothing does.
    std::optional<std::size_t> firstStep = std::nullopt;
    bool changesModes = false;           ///< of blending, or whether a layer is clipped
    std::vector<Difference> differences; ///< the cells that differ changed
    std::vector<Cover> covers;           ///< everything the grid touches changed

    bool isEmpty() const { return differences.empty() && covers.empty(); }
};

/// Nothing where the shapes differ.
std::optional<ProgramChanges> programChanges(const CompositeProgram& before,
                                             const CompositeProgram& after);

/// The changed tiles of a canvas in TileCoord order, each once; nothing where the shapes differ and
/// everything has to be taken as changed.
std::optional<std::vector<TileCoord>> changedTiles(const CompositeProgram& before,
                                                   const CompositeProgram& after, PixelSize canvas);

} // namespace ombrel
