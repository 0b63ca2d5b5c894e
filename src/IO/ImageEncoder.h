// What an encoder is asked to write, and the rows it draws from.
#pragma once

#include "Core/Geometry.h"
#include "IO/ByteSink.h"
#include "IO/ImageIOError.h"
#include "IO/SampleLayout.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>

namespace ombrel {

struct ImageEncodeRequest {
    PixelSize size;
    SampleLayout layout;
    double resolution = 72; ///< pixels per inch
    std::span<const std::byte> iccData;
    double quality = 0.9; ///< 0 to 1, lossy formats only
};

/// Gives an encoder its rows from top to bottom, already in the layout of the request.
class SampleRowSource {
public:
    virtual ~SampleRowSource() = default;

    /// The next `rowCount` rows. An error (the picture failed, or the user cancelled) ends the
    /// encoding with that error.
    virtual std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                                       std::span<std::byte> out) = 0;

    /// For encoders that work on after the last row: share of that work done, 0 to 1. False once
    /// the user has cancelled; the encoder then ends with ImageIOError::cancelled where it can.
    virtual bool reportEncoding([[maybe_unused]] double fraction) { return true; }
};

} // namespace ombrel
