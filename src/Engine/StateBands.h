// Bands of a document, composited when they are asked for: a picture of any size is written with
// the memory of a band and a batch. The state is held for as long as the bands are; its tiles are
// paged in as they are needed. One thread at a time.
#pragma once

#include "Core/DocumentState.h"
#include "Engine/CompositeBands.h"
#include "Engine/EffectBaking.h"
#include "Engine/PixelDevice.h"

#include <vector>

namespace ombrel {

class StateBands final : public CompositeBands {
public:
    /// `device`, `store` and `cancellation` must outlive the bands. `effects` and `cancellation`
    /// may be null; the latter is only asked whether to go on.
    StateBands(const DocumentState& state, PixelDevice& device, TileStore& store,
               EffectBaking* effects = nullptr, const Progress* cancellation = nullptr);

    PixelSize size() const override { return state_.canvas.size; }
    /// Rows that do not begin or end with a tile are cut from a kept band of whole tiles.
    std::expected<void, EngineError> read(std::int64_t firstRow, std::int64_t rowCount,
                                          std::span<std::byte> out) override;

private:
    std::expected<void, EngineError> flattenRows(std::int64_t firstRow, std::int64_t rowCount,
                                                 std::span<std::byte> out);
    /// One band of whole tiles into `kept_`.
    std::expected<void, EngineError> keepBand(std::int64_t firstRow, std::int64_t rowCount);

    DocumentState state_;
    CompositeProgram program_;
    PixelDevice& device_;
    TileStore& store_;
    const Progress* cancellation_;
    std::int64_t keptRow_ = -1; ///< first row of the kept band
    std::vector<std::byte> kept_;
};

} // namespace ombrel
