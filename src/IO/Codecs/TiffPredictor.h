// The differencing that TIFF does before compression: horizontal (predictor 2, TIFF 6.0 section 14)
// for integers, floating point (predictor 3, TIFF technical note 3) for floats. In place, a row at
// a time, little-endian samples. Any thread.
#pragma once

#include "IO/SampleLayout.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ombrel {

/// The number that goes into the Predictor field for samples of this type.
int tiffPredictorNumber(SampleType type);

/// `rows` holds whole rows of `rowBytes` bytes each.
void applyTiffPredictor(SampleLayout layout, std::size_t rowBytes, std::span<std::byte> rows);

} // namespace ombrel
