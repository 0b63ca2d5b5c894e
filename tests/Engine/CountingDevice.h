// The CPU device, and what was asked of it.
#pragma once

#include "Engine/CpuDevice.h"

#include <functional>
#include <vector>

namespace ombrel {

class CountingDevice final : public PixelDevice {
public:
    std::expected<void, EngineError> composite(const CompositeBatch& batch,
                                               const Progress* progress) override {
        batches.push_back(batch.jobs.size());
        for (const CompositeJob& job : batch.jobs) {
            resumed += job.resumed ? 1 : 0;
            resumedInGroup += job.resumed && job.resumed->buffers.size() > 2 ? 1 : 0;
        }
        if (beforeBatch) beforeBatch();
        return device_.composite(batch, progress);
    }
    std::expected<void, EngineError> downsample(std::span<const DownsampleJob> jobs) override {
        downsampled += jobs.size();
        return device_.downsample(jobs);
    }
    std::expected<void, EngineError> sample(std::span<const SampleJob> jobs) override {
        return device_.sample(jobs);
    }
    std::expected<void, EngineError> paint(const BrushBatch& batch) override {
        if (failsToPaint) return std::unexpected(EngineError{EngineError::Kind::outOfMemory, {}});
        return device_.paint(batch);
    }
    std::size_t jobs() const {
        std::size_t sum = 0;
        for (const std::size_t batch : batches)
            sum += batch;
        return sum;
    }

    std::vector<std::size_t> batches; ///< jobs of each call
    std::size_t downsampled = 0;      ///< jobs of all calls
    std::size_t resumed = 0;          ///< jobs that went on from where they had stopped
    std::size_t resumedInGroup = 0;   ///< of these, with more than one level open
    std::function<void()> beforeBatch;
    bool failsToPaint = false; ///< from now on

private:
    CpuDevice device_;
};

} // namespace ombrel
