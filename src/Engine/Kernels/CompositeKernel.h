// The composite kernel: runs a whole program over rows of one output tile and gives for each pixel
// what BlendMath::evaluate gives. It takes a few rows through all steps before it goes on, so that
// the accumulator, which is planar floats, stays in the first-level cache; blending runs on encoded
// values from the first step to the last where the program is perceptual.
//
// The arithmetic is BlendMath's, operation by operation. Only the two transfer curves are
// approximations (see TransferCurves-inl.h), so a linear program is exact to the last bit, and a
// perceptual one within one half.
//
// A plan is made once for a program and shared by all threads; a scratch belongs to one thread.
#pragma once

#include "Core/BlendMode.h"
#include "Engine/CompositeRecords.h"
#include "Engine/Kernels/BlendRows.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace ombrel::Kernels {

/// A program made ready: ends paired with their begins, deeper begins than the limit dropped, the
/// inner loops of the chosen SIMD target looked up.
class CompositePlan {
public:
    enum class Action : std::uint8_t { layer, begin, end };

    struct Step {
        Action action = Action::layer;
        bool isClosed = false;     ///< of a begin: whether it has an end
        std::uint32_t index = 0;   ///< into the program and a tile's inputs
        std::uint32_t partner = 0; ///< of an end: the place of its begin among the steps
        BlendRows blendRows = nullptr;
    };

    CompositePlan(std::span<const GPUCompositeLayer> program, bool perceptual);

    std::span<const GPUCompositeLayer> program() const { return program_; }
    std::span<const Step> steps() const { return steps_; }
    bool isPerceptual() const { return isPerceptual_; }
    /// Whether encoding has to be right to the last bit: for modes that magnify() errors, and for
    /// clipping, which subtracts nearly equal numbers and blends on with what is left.
    bool isPrecise() const { return isPrecise_; }

    /// Of a layer, of a begin or of an end that is not within any group.
    std::uint32_t placeOf(std::uint32_t step) const;

    /// Places of the steps that do something in a tile: layers with content, and groups that hold
    /// one of those.
    std::vector<std::uint32_t> liveSteps(std::span<const GPULayerInput> inputs) const;

private:
    std::vector<GPUCompositeLayer> program_;
    std::vector<Step> steps_;
    bool isPerceptual_;
    bool isPrecise_ = false;
};

/// Working memory of the kernel for one thread.
class CompositeScratch {
public:
    static constexpr std::uint32_t rowsAtOnce = 8;
    static constexpr std::size_t pixelsAtOnce = rowsAtOnce * 256;

    CompositeScratch();

    float* level(std::size_t depth) { return floats_.get() + 4 * pixelsAtOnce * depth; }
    float* planarSource();
    float* factors();
    std::uint16_t* halves();

private:
    struct Free {
        void operator()(float* floats) const;
    };
    std::unique_ptr<float[], Free> floats_;
};

/// A program stopped in a tile (see ProgramStop), with the levels' accumulators as the kernel has
/// them: 128 rows a buffer, eight rows after eight rows.
struct StoppedRows {
    std::span<std::byte* const> buffers; ///< none: not stopped
    std::uint32_t place = 0;             ///< of the step among the steps of the plan

    std::size_t levelCount() const { return buffers.size() / 2; }
    float* rows(std::size_t level, std::uint32_t firstRow) const;
};

struct CompositeRowsArguments {
    const CompositePlan* plan = nullptr;
    std::span<const std::uint32_t> liveSteps;
    std::span<const GPULayerInput> inputs; ///< one for each step of the program
    std::int32_t x = 0;                    ///< canvas position of the tile's first pixel
    std::int32_t y = 0;
    std::uint32_t firstRow = 0; ///< rows of the tile to compute
    std::uint32_t rowCount = 256;
    std::uint16_t* output = nullptr; ///< the whole tile, 256 rows of 256 interleaved pixels
    StoppedRows resumed = {};        ///< to go on from; live steps before it are passed over
    StoppedRows kept = {};           ///< to be written when the steps before it are done
    CompositeScratch* scratch = nullptr;
};

void compositeRows(const CompositeRowsArguments& arguments);

} // namespace ombrel::Kernels
