// The device that is always there: the kernels on all cores. Results depend on neither the number
// of threads nor the order in which they run.
#pragma once

#include "Engine/PixelDevice.h"

namespace ombrel {

class CpuDevice final : public PixelDevice {
public:
    std::expected<void, EngineError> composite(const CompositeBatch& batch,
                                               const Progress* progress) override;
};

} // namespace ombrel
