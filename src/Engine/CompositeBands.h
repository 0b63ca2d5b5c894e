// A merged picture read in bands of rows, so that a picture of any size can be written with the
// memory of one band. Implementations composite on demand or read a finished grid.
#pragma once

#include "Core/Geometry.h"
#include "Engine/EngineError.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>

namespace ombrel {

class CompositeBands {
public:
    virtual ~CompositeBands() = default;

    virtual PixelSize size() const = 0;

    /// Writes rows firstRow up to firstRow + rowCount, all within the picture, into `out`: pixels
    /// premultiplied, linear light, four halves each, row after row without padding
    /// (size().width * 8 bytes a row). Fastest where firstRow and rowCount are multiples of 256.
    virtual std::expected<void, EngineError> read(std::int64_t firstRow, std::int64_t rowCount,
                                                  std::span<std::byte> out) = 0;
};

} // namespace ombrel
