// The decimate kernel: output pixel (x, y) is the source pixel (firstX + x * step,
// firstY + y * step), unchanged. What it costs is the way to memory, one cache line a pixel, so it
// is plain code.
#pragma once

#include "Engine/SampleJob.h"

#include <cstdint>

namespace ombrel::Kernels {

void decimateRows(const SampleJob& job, std::uint32_t firstRow, std::uint32_t rowCount);

} // namespace ombrel::Kernels
