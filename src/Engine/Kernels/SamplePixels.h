// Pixels between pixels: each target takes four by four pixels of a patch, weighted by its column
// and row. The patch is interleaved floats, as Kernels/ResampleRows.h loads it.
#pragma once

#include "Engine/Kernels/ResampleRows.h"

#include <cstddef>
#include <cstdint>

namespace ombrel::Kernels {

struct SamplePixelsArguments {
    const float* patch = nullptr;
    std::size_t stride = 0;                ///< floats of a row of the patch
    const std::uint32_t* places = nullptr; ///< of each target's first pixel, in floats
    const float* columnWeights = nullptr;  ///< four for each target
    const float* rowWeights = nullptr;     ///< four for each target
    std::size_t count = 0;
    ResampleCombine combine = ResampleCombine::sum; ///< largest: all sixteen pixels count alike
    float* targets = nullptr;
};
void samplePixels(const SamplePixelsArguments& arguments);

} // namespace ombrel::Kernels
