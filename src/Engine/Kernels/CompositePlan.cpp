#include "Base/Check.h"
#include "Core/BlendMath.h"
#include "Engine/Kernels/CompositeKernel.h"

#include <algorithm>
#include <new>

namespace ombrel::Kernels {

BlendRows selectBlendRows(BlendMode mode, SourceArithmetic arithmetic) {
    for (const auto select :
         {selectPlainBlendRows, selectContrastBlendRows, selectArithmeticBlendRows,
          selectQuotientBlendRows, selectColorBlendRows}) {
        if (const BlendRows rows = select(mode, arithmetic); rows != nullptr) return rows;
    }
    OMBREL_CHECK(false, "every blend mode has an inner loop");
}

CompositePlan::CompositePlan(std::span<const GPUCompositeLayer> program, bool perceptual)
    : program_(program.begin(), program.end()), isPerceptual_(perceptual) {
    bool allSmooth = true;
    for (const GPUCompositeLayer& layer : program_) {
        const auto mode = static_cast<BlendMode>(layer.blendMode);
        const bool isClipped = (layer.flags & CompositeFlags::clipped) != 0;
        allSmooth = allSmooth && isSmooth(mode) && !isClipped;
        isPrecise_ = isPrecise_ || isClipped || magnifies(mode);
    }
    const SourceArithmetic arithmetic = !perceptual ? SourceArithmetic::linear
                                        : allSmooth ? SourceArithmetic::smooth
                                                    : SourceArithmetic::perceptual;
    std::vector<std::uint32_t> open;
    for (std::uint32_t i = 0; i < program_.size(); ++i) {
        const GPUCompositeLayer& layer = program_[i];
        const auto mode = static_cast<BlendMode>(layer.blendMode);
        const auto place = static_cast<std::uint32_t>(steps_.size());
        if ((layer.flags & CompositeFlags::begin) != 0) {
            if (open.size() == BlendMath::maximumStackDepth) continue;
            open.push_back(place);
            steps_.push_back({.action = Action::begin, .index = i});
        } else if ((layer.flags & CompositeFlags::end) != 0) {
            if (open.empty()) continue;
            steps_[open.back()].isClosed = true;
            steps_.push_back({.action = Action::end,
                              .index = i,
                              .partner = open.back(),
                              .blendRows = selectBlendRows(mode, SourceArithmetic::linear)});
            open.pop_back();
        } else {
            steps_.push_back({.action = Action::layer,
                              .index = i,
                              .blendRows = selectBlendRows(mode, arithmetic)});
        }
    }
}

std::uint32_t CompositePlan::placeOf(std::uint32_t step) const {
    const auto found = std::ranges::lower_bound(steps_, step, {}, &Step::index);
    return static_cast<std::uint32_t>(found - steps_.begin());
}

std::vector<std::uint32_t> CompositePlan::liveSteps(std::span<const GPULayerInput> inputs) const {
    std::vector<std::uint32_t> live;
    std::vector<std::size_t> begins; // where the open groups begin in `live`
    for (std::uint32_t place = 0; place < steps_.size(); ++place) {
        const Step& step = steps_[place];
        if (step.action == Action::layer) {
            if (inputs[step.index].empty == 0) live.push_back(place);
            continue;
        }
        if (step.action == Action::begin) {
            begins.push_back(live.size());
            live.push_back(place);
            continue;
        }
        // A group without content gives back exactly what lay below it.
        const bool isEmpty = begins.back() + 1 == live.size();
        begins.pop_back();
        if (isEmpty) {
            live.pop_back();
        } else {
            live.push_back(place);
        }
    }
    return live;
}

namespace {

constexpr std::size_t blockFloats = 4 * CompositeScratch::pixelsAtOnce;
constexpr std::size_t levelCount = BlendMath::maximumStackDepth + 1;
constexpr std::size_t planarAt = levelCount * blockFloats;
constexpr std::size_t factorsAt = planarAt + blockFloats;
constexpr std::size_t halvesAt = factorsAt + CompositeScratch::pixelsAtOnce;
constexpr std::size_t totalFloats = halvesAt + blockFloats / 2;
constexpr std::align_val_t alignment{4096};

} // namespace

CompositeScratch::CompositeScratch()
    : floats_(static_cast<float*>(::operator new(totalFloats * sizeof(float), alignment))) {}

void CompositeScratch::Free::operator()(float* floats) const {
    ::operator delete(floats, alignment);
}

float* StoppedRows::rows(std::size_t level, std::uint32_t firstRow) const {
    constexpr std::uint32_t rowsOfBuffer = 128;
    std::byte* buffer = buffers[2 * level + firstRow / rowsOfBuffer];
    return reinterpret_cast<float*>(buffer) + 4 * std::size_t{256} * (firstRow % rowsOfBuffer);
}

float* CompositeScratch::planarSource() {
    return floats_.get() + planarAt;
}

float* CompositeScratch::factors() {
    return floats_.get() + factorsAt;
}

std::uint16_t* CompositeScratch::halves() {
    return reinterpret_cast<std::uint16_t*>(floats_.get() + halvesAt);
}

} // namespace ombrel::Kernels
