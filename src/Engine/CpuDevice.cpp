#include "Engine/CpuDevice.h"

#include "Base/Check.h"
#include "Base/ParallelFor.h"
#include "Engine/Kernels/BrushAccumulate.h"
#include "Engine/Kernels/BrushApply.h"
#include "Engine/Kernels/CompositeKernel.h"
#include "Engine/Kernels/Decimate.h"
#include "Engine/Kernels/Downsample.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace ombrel {

namespace {

// Few tiles are cut into blocks of rows, so that all cores have work.
constexpr std::size_t enoughTiles = 32;
constexpr std::uint32_t rowsOfBlock = 32;

/// Kept with the thread: making one anew for every batch would cost its page faults.
Kernels::CompositeScratch& scratchOfThisThread() {
    thread_local Kernels::CompositeScratch scratch;
    return scratch;
}

void runJob(const CompositeJob& job, const Kernels::CompositePlan& plan, std::uint32_t firstRow,
            std::uint32_t rowCount) {
    std::vector<GPULayerInput> inputs;
    inputs.reserve(job.inputs.size());
    for (const LayerSource& source : job.inputs)
        inputs.push_back(source.record());
    const std::vector<std::uint32_t> liveSteps = plan.liveSteps(inputs);
    const auto stoppedAt = [&](const std::optional<ProgramStop>& stop) {
        return stop ? Kernels::StoppedRows{stop->buffers, plan.placeOf(stop->step)}
                    : Kernels::StoppedRows{};
    };
    Kernels::compositeRows({.plan = &plan,
                            .liveSteps = liveSteps,
                            .inputs = inputs,
                            .x = static_cast<std::int32_t>(job.coord.x * tileSize),
                            .y = static_cast<std::int32_t>(job.coord.y * tileSize),
                            .firstRow = firstRow,
                            .rowCount = rowCount,
                            .output = reinterpret_cast<std::uint16_t*>(job.output),
                            .resumed = stoppedAt(job.resumed),
                            .kept = stoppedAt(job.kept),
                            .scratch = &scratchOfThisThread()});
}

} // namespace

std::expected<void, EngineError> CpuDevice::composite(const CompositeBatch& batch,
                                                      const Progress* progress) {
    const Kernels::CompositePlan plan(batch.program, batch.perceptual);
    const std::size_t blocks = batch.jobs.size() < enoughTiles ? tileSize / rowsOfBlock : 1;
    const auto rows = static_cast<std::uint32_t>(tileSize / static_cast<std::int64_t>(blocks));
    for (const CompositeJob& job : batch.jobs)
        OMBREL_CHECK(job.inputs.size() == batch.program.size(), "a job has an input for each step");
    std::atomic<bool> isCancelled = false;
    const auto run = [&](std::size_t item) {
        if (isCancelled.load(std::memory_order_relaxed)) return;
        if (progress != nullptr && progress->isCancelled()) {
            isCancelled.store(true, std::memory_order_relaxed);
            return;
        }
        const auto block = static_cast<std::uint32_t>(item % blocks);
        runJob(batch.jobs[item / blocks], plan, block * rows, rows);
    };
    parallelFor(pool_, batch.jobs.size() * blocks, run);
    if (isCancelled) return std::unexpected(EngineError::cancelled());
    return {};
}

std::expected<void, EngineError> CpuDevice::downsample(std::span<const DownsampleJob> jobs) {
    parallelFor(pool_, jobs.size() * 4, [&](std::size_t item) {
        const DownsampleJob& job = jobs[item / 4];
        const auto quadrant = static_cast<std::uint32_t>(item % 4);
        const GPUTileRef child = tileRefOf(job.children[quadrant]);
        Kernels::downsampleQuadrant({.child = &child,
                                     .quadrant = quadrant,
                                     .output = reinterpret_cast<std::uint16_t*>(job.output)});
    });
    return {};
}

std::expected<void, EngineError> CpuDevice::sample(std::span<const SampleJob> jobs) {
    constexpr std::size_t blocks = tileSize / rowsOfBlock;
    parallelFor(pool_, jobs.size() * blocks, [&](std::size_t item) {
        const auto block = static_cast<std::uint32_t>(item % blocks);
        Kernels::decimateRows(jobs[item / blocks], block * rowsOfBlock, rowsOfBlock);
    });
    return {};
}

// A block of rows goes through both kernels while it is in the cache: what a pixel becomes depends
// on its own place in the mask only.
std::expected<void, EngineError> CpuDevice::paint(const BrushBatch& batch) {
    OMBREL_CHECK(batch.tiles.size() == batch.applyTiles.size(), "each tile has both its records");
    OMBREL_CHECK(batch.tiles.size() == batch.isFresh.size(), "each mask is fresh or not");
    const Kernels::BrushApplyPlan plan(batch);
    const std::size_t blocks = batch.tiles.size() < enoughTiles ? tileSize / rowsOfBlock : 1;
    const auto rows = static_cast<std::uint32_t>(tileSize / static_cast<std::int64_t>(blocks));
    parallelFor(pool_, batch.tiles.size() * blocks, [&](std::size_t item) {
        const std::size_t tile = item / blocks;
        const std::uint32_t firstRow = static_cast<std::uint32_t>(item % blocks) * rows;
        std::array<Kernels::ColumnSpan, tileSize> spans{};
        const std::span touched(spans.data(), rows);
        if (batch.isFresh[tile] != 0) {
            auto* mask = reinterpret_cast<float*>(batch.tiles[tile].mask);
            std::fill_n(mask + firstRow * tileSize, rows * tileSize, 0.0f);
        }
        Kernels::accumulateRows({.params = &batch.params,
                                 .tile = &batch.tiles[tile],
                                 .dabs = batch.dabs,
                                 .tip = batch.tip,
                                 .firstRow = firstRow,
                                 .rowCount = rows,
                                 .touched = touched});
        const std::byte* previous = batch.previous.empty() ? nullptr : batch.previous[tile];
        // Nobody has what earlier batches brought.
        if (previous == nullptr && batch.isFresh[tile] == 0)
            std::ranges::fill(touched, Kernels::ColumnSpan{0, tileSize});
        Kernels::applyRows({.plan = &plan,
                            .tile = &batch.applyTiles[tile],
                            .previous = previous,
                            .firstRow = firstRow,
                            .touched = touched});
    });
    return {};
}

} // namespace ombrel
