// The whole picture of a document outside the screen path: for export, merged layers, instances and
// thumbnails. Uses the same classification and kernel as the screen, so that tiles which are empty,
// of one colour or a layer's own never reach the device.
//
// All calls are synchronous and may come from any thread. `effects` draws layer effects first and
// may be null: then layers are taken as they stand. A `progress` may be null; a cancelled one ends
// the call with EngineError::Kind::cancelled. Memory beyond the result is one batch (CompositeRun).
#pragma once

#include "Core/DocumentState.h"
#include "Engine/EffectBaking.h"
#include "Engine/EngineError.h"
#include "Engine/FlatImage.h"
#include "Engine/PixelDevice.h"

#include <expected>
#include <span>

namespace ombrel {

struct Flattener {
    /// A picture as tiles, with what is needed to bring it up to date.
    struct Composite {
        TileGrid tiles{TileFormat::rgba16Float};
        CompositeProgram program; ///< from which `tiles` was made
        PixelSize size;
        bool perceptual = true;
    };

    static std::expected<FlatImage, EngineError> flatten(const DocumentState& state,
                                                         PixelDevice& device, TileStore& store,
                                                         EffectBaking* effects = nullptr,
                                                         Progress* progress = nullptr);

    /// Tiles that equal a layer's are that layer's, not copies. Costs by what is there: empty
    /// canvas costs nothing, and neither does a plain layer where nothing else lies.
    static std::expected<TileGrid, EngineError> compositeGrid(const DocumentState& state,
                                                              PixelDevice& device, TileStore& store,
                                                              EffectBaking* effects = nullptr,
                                                              Progress* progress = nullptr);

    /// What a program gives within a range of tiles, which may lie beyond any canvas.
    static std::expected<TileGrid, EngineError>
    compositeTiles(const CompositeProgram& program, bool perceptual, const TileRange& range,
                   PixelDevice& device, TileStore& store, Progress* progress = nullptr);

    /// As compositeGrid, from a `previous` picture (or null) where that allows it: then only the
    /// tiles that differ between the two programs are computed.
    static std::expected<Composite, EngineError>
    composite(const DocumentState& state, const Composite* previous, PixelDevice& device,
              TileStore& store, EffectBaking* effects = nullptr, Progress* progress = nullptr);

    /// The rows of a rectangle of the canvas into `out` (8 bytes a pixel, no padding), by a program
    /// that was compiled already. `cancellation` ends it early, `report` gets the share done.
    static std::expected<void, EngineError>
    flattenRect(const CompositeProgram& program, bool perceptual, const PixelRect& rect,
                std::span<std::byte> out, PixelDevice& device, TileStore& store,
                const Progress* cancellation = nullptr, Progress* report = nullptr);
};

} // namespace ombrel
