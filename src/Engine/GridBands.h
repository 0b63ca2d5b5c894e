// Bands of a finished picture. Holds the grid's tiles by sharing them. One thread at a time.
#pragma once

#include "Core/TileGrid.h"
#include "Engine/CompositeBands.h"

namespace ombrel {

class GridBands final : public CompositeBands {
public:
    /// `tiles` is of format rgba16Float and read from (0, 0) on.
    GridBands(TileGrid tiles, PixelSize size);

    PixelSize size() const override { return size_; }
    std::expected<void, EngineError> read(std::int64_t firstRow, std::int64_t rowCount,
                                          std::span<std::byte> out) override;

private:
    TileGrid tiles_;
    PixelSize size_;
};

} // namespace ombrel
