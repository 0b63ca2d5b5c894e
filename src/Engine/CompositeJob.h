// Work for a device: run a composite program for one output tile. Values that point at pinned tile
// buffers; a ResourceTracker keeps those pinned until the device is done.
#pragma once

#include "Core/Geometry.h"
#include "Core/PremultipliedColor.h"
#include "Engine/CompositeRecords.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace ombrel {

struct NoTile {
    bool operator==(const NoTile&) const = default;
};

/// What a kernel reads in place of one tile: nothing, one colour, or a buffer of pixels.
using GPUTileSource = std::variant<NoTile, PremultipliedColor, const std::byte*>;

GPUTileRef tileRefOf(const GPUTileSource& source);

/// The inputs of one program step for one output tile. The quads are in row order, beginning with
/// the tile under the output's upper left corner; the phases are offsets within a tile, 0 to 255.
struct LayerSource {
    std::array<GPUTileSource, 4> quad;
    std::array<std::int32_t, 2> phase{};
    std::array<GPUTileSource, 4> mask;
    std::array<std::int32_t, 2> maskPhase{};

    bool hasContent() const; ///< any of `quad` is something
    GPULayerInput record() const;
};

/// A program in one tile as it stands before a step: the accumulators of all levels that are open
/// there, in the device's own layout. Where more than one is open, the step has content.
struct ProgramStop {
    std::uint32_t step = 0;          ///< an index into the program
    std::vector<std::byte*> buffers; ///< two tiles of rgba16Float a level, outermost first
};

struct CompositeJob {
    std::byte* output = nullptr;     ///< a tile of halves
    std::vector<LayerSource> inputs; ///< one for each step of the program
    TileCoord coord;                 ///< of the output on the canvas
    std::optional<ProgramStop> resumed =
        std::nullopt; ///< go on from here; earlier steps count as done
    std::optional<ProgramStop> kept =
        std::nullopt; ///< write down how things stand here, on the way
};

/// Jobs that share a program.
struct CompositeBatch {
    std::span<const GPUCompositeLayer> program;
    bool perceptual = true;
    std::span<const CompositeJob> jobs;
};

} // namespace ombrel
