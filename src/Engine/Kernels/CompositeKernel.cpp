#include "Engine/Kernels/CompositeKernel.h"

#include "Engine/Kernels/QuadRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/CompositeKernel.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Core/TransferFunction.h"
#include "Engine/Kernels/PixelVectors-inl.h"
#include "Engine/Kernels/TransferCurves-inl.h"

#include <algorithm>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// One pixel of the planar layout.
HWY_INLINE void storePlanarPixel(float* planar, std::size_t pixel,
                                 const std::array<float, 4>& color) {
    const std::size_t lanes = laneCount();
    float* lane = planar + pixel / lanes * 4 * lanes + pixel % lanes;
    for (std::size_t channel = 0; channel < 4; ++channel)
        lane[channel * lanes] = color[channel];
}

/// `count` pixels of one tile of a quad, as floats.
void planarSpan(const GPUTileRef& ref, std::uint32_t row, std::uint32_t column, std::uint32_t count,
                float* planar, std::size_t firstPixel) {
    const auto* halves = reinterpret_cast<const std::uint16_t*>(ref.pixels);
    for (std::uint32_t i = 0; i < count; ++i) {
        std::array<float, 4> color = ref.solid;
        if (halves != nullptr) {
            const std::uint16_t* pixel = halves + 4 * (std::size_t{row} * tileEdge + column + i);
            for (std::size_t channel = 0; channel < 4; ++channel)
                color[channel] = toFloat(Half{pixel[channel]});
        }
        storePlanarPixel(planar, firstPixel + i, color);
    }
}

/// Rows where tiles of pixels and of one colour meet: the colour need not be a half, so the rows
/// become floats.
void planarRows(const Quad& quad, std::uint32_t firstRow, std::uint32_t rowCount,
                const CompositePlan& plan, float* planar) {
    for (std::uint32_t y = 0; y < rowCount; ++y) {
        const QuadRow row = quad.row(firstRow + y);
        const std::size_t first = std::size_t{y} * tileEdge;
        planarSpan(*row.left, row.row, tileEdge - row.split, row.split, planar, first);
        planarSpan(*row.right, row.row, 0, tileEdge - row.split, planar, first + row.split);
    }
    for (std::size_t i = 0; i < std::size_t{rowCount} * tileEdge; i += laneCount()) {
        const PixelVector c = loadBlock(planar + 4 * i);
        const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(FloatTag()));
        PixelVector source = zeroUnless(hasAlpha, c);
        if (plan.isPerceptual()) source = plan.isPrecise() ? encodePrecisely(c) : encode(c);
        storeBlock(source, planar + 4 * i);
    }
}

/// A program on its way over a few rows.
class RowsRun {
public:
    RowsRun(const CompositeRowsArguments& in, std::uint32_t firstRow, std::uint32_t rowCount)
        : in_(in), firstRow_(firstRow), rowCount_(rowCount),
          pixelCount_(std::size_t{rowCount} * tileEdge) {
        if (in_.resumed.buffers.empty()) {
            clear();
        } else {
            resume();
        }
    }

    /// `next`: what the step after this one will read, or null.
    void run(const CompositePlan::Step& step, const std::uint16_t* next) {
        next_ = next;
        switch (step.action) {
        case CompositePlan::Action::layer:
            return layer(step);
        case CompositePlan::Action::begin:
            return begin(step);
        case CompositePlan::Action::end:
            return end(step);
        }
    }
    /// Writes down how things stand.
    void keep() const;
    void store();

private:
    void resume();
    float* accumulator() { return in_.scratch->level(depth_); }
    void clear() { std::fill_n(accumulator(), 4 * pixelCount_, 0.0f); }
    BlendRowsArguments arguments(const CompositePlan::Step& step);
    /// The opacity of the rows, times the mask where there is one.
    void setFactors(const GPUCompositeLayer& layer, const Quad& mask, BlendRowsArguments& rows);
    /// False where no pixel of the rows shows.
    bool setSource(const GPULayerInput& input, BlendRowsArguments& rows);
    void layer(const CompositePlan::Step& step);
    void begin(const CompositePlan::Step& step);
    void end(const CompositePlan::Step& step);
    void mixUnder(const BlendRowsArguments& rows);

    const CompositeRowsArguments& in_;
    std::uint32_t firstRow_;
    std::uint32_t rowCount_;
    std::size_t pixelCount_;
    std::size_t depth_ = 0;
    const std::uint16_t* next_ = nullptr;
};

void RowsRun::resume() {
    depth_ = in_.resumed.levelCount() - 1;
    for (std::size_t level = 0; level <= depth_; ++level)
        std::copy_n(in_.resumed.rows(level, firstRow_), 4 * pixelCount_, in_.scratch->level(level));
}

void RowsRun::keep() const {
    for (std::size_t level = 0; level <= depth_; ++level)
        std::copy_n(in_.scratch->level(level), 4 * pixelCount_, in_.kept.rows(level, firstRow_));
}

BlendRowsArguments RowsRun::arguments(const CompositePlan::Step& step) {
    return {.accumulator = accumulator(),
            .pixelCount = pixelCount_,
            .next = next_,
            .isPrecise = in_.plan->isPrecise(),
            .index = step.index,
            .x = in_.x,
            .y = in_.y + static_cast<std::int32_t>(firstRow_)};
}

void RowsRun::setFactors(const GPUCompositeLayer& layer, const Quad& mask,
                         BlendRowsArguments& rows) {
    rows.factor = layer.opacity;
    if (layer.masked == 0) return;
    const QuadRowsContent content = contentOfRows(mask, firstRow_, rowCount_);
    if (content.isOneColor) {
        rows.factor = layer.opacity * maskValue(content.color, layer.maskBackground);
        return;
    }
    float* factors = in_.scratch->factors();
    for (std::uint32_t y = 0; y < rowCount_; ++y) {
        maskFactors(mask.row(firstRow_ + y), layer.maskBackground, layer.opacity,
                    factors + std::size_t{y} * tileEdge);
    }
    rows.factors = factors;
}

bool RowsRun::setSource(const GPULayerInput& input, BlendRowsArguments& rows) {
    const Quad quad{input.quad, input.phase};
    const QuadRowsContent content = contentOfRows(quad, firstRow_, rowCount_);
    if (content.isOneColor) {
        const auto& [red, green, blue, alpha] = content.color;
        if (!(alpha > 0)) return false;
        PremultipliedColor color{red, green, blue, alpha};
        if (in_.plan->isPerceptual()) color = TransferFunction::encode(color);
        rows.kind = SourceKind::uniform;
        rows.uniform = {color.red, color.green, color.blue, color.alpha};
    } else if (content.hasSolid) {
        rows.kind = SourceKind::planar;
        rows.planar = in_.scratch->planarSource();
        planarRows(quad, firstRow_, rowCount_, *in_.plan, in_.scratch->planarSource());
    } else if (input.shifted == 0) {
        rows.halves = reinterpret_cast<const std::uint16_t*>(input.quad[0].pixels) +
                      4 * std::size_t{firstRow_} * tileEdge;
    } else {
        std::uint16_t* halves = in_.scratch->halves();
        for (std::uint32_t y = 0; y < rowCount_; ++y)
            copyHalves(quad.row(firstRow_ + y), halves + 4 * std::size_t{y} * tileEdge);
        rows.halves = halves;
    }
    return true;
}

void RowsRun::layer(const CompositePlan::Step& step) {
    const GPUCompositeLayer& layer = in_.plan->program()[step.index];
    const GPULayerInput& input = in_.inputs[step.index];
    BlendRowsArguments rows = arguments(step);
    rows.isClipped = (layer.flags & CompositeFlags::clipped) != 0;
    setFactors(layer, {input.mask, input.maskPhase}, rows);
    if (setSource(input, rows)) step.blendRows(rows);
}

void RowsRun::begin(const CompositePlan::Step& step) {
    const float* under = accumulator();
    ++depth_;
    if (in_.plan->program()[step.index].isolated != 0) {
        clear();
    } else {
        std::copy_n(under, 4 * pixelCount_, accumulator());
    }
}

void RowsRun::end(const CompositePlan::Step& step) {
    const GPUCompositeLayer& layer = in_.plan->program()[step.index];
    const GPULayerInput& input = in_.inputs[step.index];
    const float* content = accumulator();
    --depth_;
    BlendRowsArguments rows = arguments(step);
    rows.kind = SourceKind::planar;
    rows.planar = content;
    setFactors(layer, {input.quad, input.phase}, rows);
    if (layer.isolated != 0) {
        step.blendRows(rows);
    } else {
        mixUnder(rows);
    }
}

/// acc = under + (acc - under) * factor, and exactly acc where the factor is 1.
void RowsRun::mixUnder(const BlendRowsArguments& rows) {
    const FloatTag d;
    for (std::size_t i = 0; i < rows.pixelCount; i += laneCount()) {
        const PixelVector content = loadBlock(rows.planar + 4 * i);
        const PixelVector under = loadBlock(rows.accumulator + 4 * i);
        const auto factor =
            rows.factors != nullptr ? hn::LoadU(d, rows.factors + i) : constant(rows.factor);
        const auto mix = [&](FloatVector from, FloatVector to)
                             HWY_ATTR { return hn::Add(from, hn::Mul(hn::Sub(to, from), factor)); };
        const PixelVector mixed{mix(under.red, content.red), mix(under.green, content.green),
                                mix(under.blue, content.blue), mix(under.alpha, content.alpha)};
        storeBlock(select(hn::Eq(factor, constant(1)), content, mixed), rows.accumulator + 4 * i);
    }
}

void RowsRun::store() {
    const float* block = accumulator();
    std::uint16_t* output = in_.output + 4 * std::size_t{firstRow_} * tileEdge;
    const bool decodes = in_.plan->isPerceptual();
    for (std::size_t i = 0; i < pixelCount_; i += laneCount()) {
        const PixelVector c = loadBlock(block + 4 * i);
        storePixels(decodes ? decode(c) : c, output + 4 * i);
    }
}

/// Where a layer's pixels of a row lie; null where they are not simply one tile's.
const std::uint16_t* plainRows(const CompositeRowsArguments& in, std::uint32_t place,
                               std::uint32_t row) {
    const CompositePlan::Step& step = in.plan->steps()[place];
    if (step.action != CompositePlan::Action::layer || row >= tileEdge) return nullptr;
    const GPULayerInput& input = in.inputs[step.index];
    if (input.shifted != 0 || input.quad[0].pixels == 0) return nullptr;
    return reinterpret_cast<const std::uint16_t*>(input.quad[0].pixels) +
           4 * std::size_t{row} * tileEdge;
}

void compositeRowsOnTarget(const CompositeRowsArguments& in) {
    const std::uint32_t endRow = in.firstRow + in.rowCount;
    const std::size_t count = in.liveSteps.size();
    const auto firstFrom = [&](const StoppedRows& stop) {
        const auto at = std::ranges::lower_bound(in.liveSteps, stop.place);
        return static_cast<std::size_t>(at - in.liveSteps.begin());
    };
    const std::size_t first = in.resumed.buffers.empty() ? 0 : firstFrom(in.resumed);
    const std::size_t keptBefore = in.kept.buffers.empty() ? count + 1 : firstFrom(in.kept);
    for (std::uint32_t row = in.firstRow; row < endRow; row += CompositeScratch::rowsAtOnce) {
        RowsRun run(in, row, std::min(CompositeScratch::rowsAtOnce, endRow - row));
        for (std::size_t i = first; i < count; ++i) {
            if (i == keptBefore) run.keep();
            const bool isLast = i + 1 == count;
            const std::uint16_t* next =
                plainRows(in, in.liveSteps[isLast ? first : i + 1],
                          isLast ? row + CompositeScratch::rowsAtOnce : row);
            run.run(in.plan->steps()[in.liveSteps[i]], next);
        }
        if (keptBefore == count) run.keep();
        run.store();
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(compositeRowsOnTarget);

void compositeRows(const CompositeRowsArguments& arguments) {
    HWY_DYNAMIC_DISPATCH(compositeRowsOnTarget)(arguments);
}

} // namespace ombrel::Kernels
#endif
