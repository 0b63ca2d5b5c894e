// The seam between the engine and whatever computes pixels. Engine code builds records and jobs and
// hands them over in batches; it never loops over pixels itself. What a device computes is judged
// by BlendMath::evaluate: no channel is further from it than one half.
#pragma once

#include "Base/Progress.h"
#include "Engine/BrushBatch.h"
#include "Engine/CompositeJob.h"
#include "Engine/DownsampleJob.h"
#include "Engine/EngineError.h"
#include "Engine/SampleJob.h"

#include <expected>
#include <span>

namespace ombrel {

class PixelDevice {
public:
    PixelDevice() = default;
    PixelDevice(const PixelDevice&) = delete;
    PixelDevice& operator=(const PixelDevice&) = delete;
    virtual ~PixelDevice() = default;

    /// Computes every job of the batch; returns when all outputs are written. A cancelled
    /// `progress` ends it early with EngineError::Kind::cancelled and outputs undefined.
    /// Any thread; calls may overlap.
    virtual std::expected<void, EngineError> composite(const CompositeBatch& batch,
                                                       const Progress* progress) = 0;

    /// Computes every job, in no set order: no job reads what another one writes. Each output
    /// pixel is the mean of the two by two pixels of its child (Kernels/Downsample.h).
    virtual std::expected<void, EngineError> downsample(std::span<const DownsampleJob> jobs) = 0;

    /// Copies single pixels out of many tiles (Kernels/Decimate.h).
    virtual std::expected<void, EngineError> sample(std::span<const SampleJob> jobs) = 0;

    /// Lays the dabs into the masks (Kernels/BrushAccumulate.h), then writes each output from its
    /// original, its mask and the style (Kernels/BrushApply.h).
    virtual std::expected<void, EngineError> paint(const BrushBatch& batch) = 0;
};

} // namespace ombrel
