// The device that is always there: the kernels on all cores. Results depend on neither the number
// of threads nor the order in which they run.
#pragma once

#include "Base/ThreadPool.h"
#include "Engine/PixelDevice.h"

namespace ombrel {

class CpuDevice final : public PixelDevice {
public:
    /// The calling thread works too, beside those of the pool.
    explicit CpuDevice(ThreadPool& pool = ThreadPool::shared()) : pool_(pool) {}

    std::expected<void, EngineError> composite(const CompositeBatch& batch,
                                               const Progress* progress) override;
    std::expected<void, EngineError> downsample(std::span<const DownsampleJob> jobs) override;
    std::expected<void, EngineError> sample(std::span<const SampleJob> jobs) override;
    std::expected<void, EngineError> paint(const BrushBatch& batch) override;

private:
    ThreadPool& pool_;
};

} // namespace ombrel
