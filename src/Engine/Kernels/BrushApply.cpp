#include "Engine/Kernels/BrushApply.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BrushApply.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/BrushEffects-inl.h"
#include "Engine/Kernels/NeighbourRows-inl.h"
#include "Engine/Kernels/TransferCurves-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

using Operation = BrushApplyPlan::Operation;

constexpr std::size_t rowPixels = 256;

struct Columns {
    std::size_t begin = 0;
    std::size_t end = 0;

    bool isEmpty() const { return end <= begin; }
};

/// One byte a pixel as floats from 0 to 1.
HWY_INLINE FloatVector loadBytes(const std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, FloatTag> dBytes;
    const auto words = hn::PromoteTo(IntTag(), hn::LoadU(dBytes, bytes));
    return hn::Div(hn::ConvertTo(FloatTag(), words), constant(255));
}

/// A tile on its way, row by row.
class ApplyRun {
public:
    explicit ApplyRun(const BrushApplyArguments& in)
        : plan_(*in.plan), params_(plan_.batch->params), tile_(*in.tile), previous_(in.previous),
          neighbours_(*plan_.batch) {}

    void overRow(std::uint32_t row, Columns touched);

private:
    class Factors;

    Columns setFactors(std::uint32_t row, Columns touched);
    HWY_INLINE PixelVector original(std::size_t pixel) const;
    void copyColumns(std::uint32_t row, Columns columns) const;
    void loadBackdrop(std::uint32_t row, Columns columns);
    void loadClone(std::uint32_t row, Columns columns);
    bool isPlain() const {
        return plan_.operation == Operation::blend && params_.blendCode == 0 && !plan_.isGrey &&
               params_.cloning == 0;
    }
    void paintPlainly(std::uint32_t row, Columns columns);
    void blend(std::uint32_t row, Columns columns);
    void behind(Columns columns);
    void fade(Columns columns);
    void adjustTones(Columns columns);
    void filter(std::uint32_t row, Columns columns);
    void loadAround(std::int64_t x, std::int64_t y, PlanarRow& row) const;
    void store(std::uint32_t row, Columns columns);
    bool decodes() const {
        return plan_.isPerceptual &&
               (plan_.operation == Operation::blend || plan_.operation == Operation::behind);
    }

    const BrushApplyPlan& plan_;
    const BrushPassParams& params_;
    const GPUBrushApplyTile& tile_;
    const std::byte* previous_;
    Neighbourhood neighbours_;
    HWY_ALIGN float factors_[rowPixels];
    /// Blocks of pixels as BlendRows has them.
    HWY_ALIGN float backdrop_[4 * rowPixels];
    HWY_ALIGN float source_[4 * rowPixels];
};

/// m of the pixels of a row.
class ApplyRun::Factors {
public:
    HWY_INLINE Factors(const ApplyRun& run, std::uint32_t row)
        : mask_(reinterpret_cast<const float*>(run.tile_.mask) + row * rowPixels) {
        const GPUBrushApplyTile& tile = run.tile_;
        const BrushPassParams& params = run.params_;
        strength_ = params.opacity;
        if (tile.selection == 0) {
            strength_ *= tile.selectionSolid;
        } else {
            selection_ = reinterpret_cast<const std::uint8_t*>(tile.selection) + row * rowPixels;
        }
        const std::int32_t y = tile.originY + static_cast<std::int32_t>(row);
        const bool isWithin = y >= params.boundsMin[1] && y < params.boundsMax[1];
        first_ = columnOf(params.boundsMin[0], tile);
        end_ = isWithin ? columnOf(params.boundsMax[0], tile) : 0;
    }

    HWY_INLINE FloatVector at(std::size_t x) const {
        const FloatTag d;
        const IntTag di;
        auto factor = hn::Mul(hn::Min(hn::Load(d, mask_ + x), constant(1)), constant(strength_));
        if (selection_ != nullptr) factor = hn::Mul(factor, loadBytes(selection_ + x));
        const auto column = hn::Iota(di, static_cast<std::int32_t>(x));
        const auto isWithin =
            hn::AndNot(hn::Lt(column, hn::Set(di, first_)), hn::Lt(column, hn::Set(di, end_)));
        return hn::IfThenElseZero(hn::RebindMask(d, isWithin), factor);
    }

private:
    /// Cut to the tile.
    static std::int32_t columnOf(std::int32_t x, const GPUBrushApplyTile& tile) {
        const std::int64_t column = std::int64_t{x} - tile.originX;
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(column, 0, rowPixels));
    }

    const float* mask_;
    const std::uint8_t* selection_ = nullptr; ///< null: one value, in the strength
    float strength_;
    std::int32_t first_;
    std::int32_t end_;
};

/// Gives the whole vectors around the pixels that have any.
Columns ApplyRun::setFactors(std::uint32_t row, Columns touched) {
    const FloatTag d;
    const Factors factors(*this, row);
    Columns columns{rowPixels, 0};
    for (std::size_t x = touched.begin; x < touched.end; x += laneCount()) {
        const auto factor = factors.at(x);
        hn::Store(factor, d, factors_ + x);
        if (hn::AllTrue(d, hn::Eq(factor, hn::Zero(d)))) continue;
        columns.begin = std::min(columns.begin, x);
        columns.end = x + laneCount();
    }
    return columns;
}

HWY_INLINE PixelVector ApplyRun::original(std::size_t pixel) const {
    if (tile_.source == 0)
        return {constant(tile_.solid[0]), constant(tile_.solid[1]), constant(tile_.solid[2]),
                constant(tile_.solid[3])};
    if (plan_.isGrey) {
        const auto value = loadBytes(reinterpret_cast<const std::uint8_t*>(tile_.source) + pixel);
        return {value, value, value, constant(1)};
    }
    return loadPixels(reinterpret_cast<const std::uint16_t*>(tile_.source) + 4 * pixel);
}

HWY_INLINE void storeGrey(FloatVector value, std::uint8_t* bytes) {
    const hn::Rebind<std::uint8_t, FloatTag> dBytes;
    const auto rounded = hn::NearestInt(hn::Mul(withinUnit(value), constant(255)));
    hn::StoreU(hn::DemoteTo(dBytes, rounded), dBytes, bytes);
}

/// Whole vectors of pixels. A loop of our own, since memcpy takes a few kilobytes that lie alike in
/// their pages backwards, which is three times as slow.
HWY_INLINE void copyPixels(const std::byte* from, std::size_t size, std::byte* to) {
    const auto* source = reinterpret_cast<const std::uint8_t*>(from);
    auto* target = reinterpret_cast<std::uint8_t*>(to);
    const hn::ScalableTag<std::uint8_t> wide;
    std::size_t i = 0;
    for (; i + hn::Lanes(wide) <= size; i += hn::Lanes(wide))
        hn::StoreU(hn::LoadU(wide, source + i), wide, target + i);
    const hn::CappedTag<std::uint8_t, hn::MaxLanes(FloatTag())> narrow;
    for (; i < size; i += hn::Lanes(narrow)) // masks have a byte a pixel
        hn::StoreU(hn::LoadU(narrow, source + i), narrow, target + i);
}

/// Pixels that nothing happens to.
void ApplyRun::copyColumns(std::uint32_t row, Columns columns) const {
    if (columns.isEmpty()) return;
    const std::size_t pixel = row * rowPixels + columns.begin;
    const std::size_t count = columns.end - columns.begin;
    const std::size_t size = plan_.isGrey ? 1 : 8;
    auto* output = reinterpret_cast<std::byte*>(tile_.output) + pixel * size;
    const auto* source =
        previous_ != nullptr ? previous_ : reinterpret_cast<const std::byte*>(tile_.source);
    if (source != nullptr) {
        copyPixels(source + pixel * size, count * size, output);
        return;
    }
    for (std::size_t i = 0; i < count; i += laneCount()) {
        if (plan_.isGrey) {
            storeGrey(original(0).red, reinterpret_cast<std::uint8_t*>(output) + i);
        } else {
            storePixels(original(0), reinterpret_cast<std::uint16_t*>(output) + 4 * i);
        }
    }
}

void ApplyRun::loadBackdrop(std::uint32_t row, Columns columns) {
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        PixelVector c = original(row * rowPixels + x);
        if (decodes()) c = plan_.isPrecise ? encodePrecisely(c) : encode(c);
        storeBlock(c, backdrop_ + 4 * x);
    }
}

void ApplyRun::loadClone(std::uint32_t row, Columns columns) {
    PlanarRow sample;
    neighbours_.read(std::int64_t{tile_.originX} + params_.sourceOffset[0],
                     std::int64_t{tile_.originY} + row + params_.sourceOffset[1], rowPixels,
                     sample);
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        PixelVector c = sample.at(x);
        if (plan_.isGrey) {
            const auto grey = rec709(c);
            c = {grey, grey, grey, c.alpha};
        } else if (plan_.isPerceptual) {
            c = plan_.isPrecise ? encodePrecisely(c) : encode(c);
        }
        storeBlock(c, source_ + 4 * x);
    }
}

void ApplyRun::blend(std::uint32_t row, Columns columns) {
    BlendRowsArguments rows{.accumulator = backdrop_ + 4 * columns.begin,
                            .pixelCount = columns.end - columns.begin,
                            .kind = SourceKind::uniform,
                            .uniform = plan_.color,
                            .factors = factors_ + columns.begin,
                            .isPrecise = plan_.isPrecise,
                            .x = tile_.originX + static_cast<std::int32_t>(columns.begin),
                            .y = tile_.originY + static_cast<std::int32_t>(row)};
    if (params_.cloning != 0) {
        loadClone(row, columns);
        rows.kind = SourceKind::planar;
        rows.planar = source_ + 4 * columns.begin;
    }
    plan_.blendRows(rows);
}

/// A colour in normal mode, which is what most strokes are: as blend() does it, in one go.
void ApplyRun::paintPlainly(std::uint32_t row, Columns columns) {
    const FloatTag d;
    const auto& [red, green, blue, alpha] = plan_.color;
    const PixelVector color{constant(red), constant(green), constant(blue), constant(alpha)};
    const Factors factors(*this, row);
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        const std::size_t pixel = row * rowPixels + x;
        const auto factor = factors.at(x);
        const PixelVector before = original(pixel);
        const PixelVector b = plan_.isPerceptual ? encode(before) : before;
        const PixelVector c = scaled(color, factor);
        const auto through = hn::Sub(constant(1), c.alpha);
        PixelVector result{
            hn::Add(c.red, hn::Mul(b.red, through)), hn::Add(c.green, hn::Mul(b.green, through)),
            hn::Add(c.blue, hn::Mul(b.blue, through)), hn::Add(c.alpha, hn::Mul(b.alpha, through))};
        if (plan_.isPerceptual) result = decode(result);
        result = select(hn::Gt(factor, hn::Zero(d)), result, before);
        storePixels(result, reinterpret_cast<std::uint16_t*>(tile_.output) + 4 * pixel);
    }
}

void ApplyRun::behind(Columns columns) {
    const FloatTag d;
    const auto& [red, green, blue, alpha] = plan_.color;
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        const PixelVector c = params_.cloning != 0 ? loadBlock(source_ + 4 * x)
                                                   : PixelVector{constant(red), constant(green),
                                                                 constant(blue), constant(alpha)};
        const PixelVector o = loadBlock(backdrop_ + 4 * x);
        const auto share =
            hn::Mul(hn::Max(hn::Sub(constant(1), o.alpha), hn::Zero(d)), hn::Load(d, factors_ + x));
        storeBlock({hn::MulAdd(c.red, share, o.red), hn::MulAdd(c.green, share, o.green),
                    hn::MulAdd(c.blue, share, o.blue), hn::MulAdd(c.alpha, share, o.alpha)},
                   backdrop_ + 4 * x);
    }
}

void ApplyRun::fade(Columns columns) {
    const FloatTag d;
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        const auto rest = hn::Sub(constant(1), hn::Load(d, factors_ + x));
        storeBlock(scaled(loadBlock(backdrop_ + 4 * x), rest), backdrop_ + 4 * x);
    }
}

void ApplyRun::adjustTones(Columns columns) {
    const FloatTag d;
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        const auto amount = hn::Load(d, factors_ + x);
        PixelVector c = straightened(loadBlock(backdrop_ + 4 * x));
        encodeStraight(c);
        c = plan_.operation == Operation::sponge ? sponged(c, amount, params_)
                                                 : toned(c, amount, params_);
        decodeStraight(c);
        storeBlock(premultiplied(c), backdrop_ + 4 * x);
    }
}

/// The row y from two pixels left of x on. Beyond the bounds the border goes on.
void ApplyRun::loadAround(std::int64_t x, std::int64_t y, PlanarRow& row) const {
    constexpr std::int64_t count = rowPixels + 4;
    const std::int64_t cutY =
        std::clamp<std::int64_t>(y, params_.boundsMin[1], std::int64_t{params_.boundsMax[1]} - 1);
    neighbours_.read(x - 2, cutY, count, row);
    const std::int64_t first =
        std::clamp<std::int64_t>(params_.boundsMin[0] - (x - 2), 0, count - 1);
    const std::int64_t last =
        std::clamp<std::int64_t>(params_.boundsMax[0] - 1 - (x - 2), 0, count - 1);
    for (std::int64_t i = 0; i < first; ++i)
        row.copyPixel(static_cast<std::size_t>(i), static_cast<std::size_t>(first));
    for (std::int64_t i = last + 1; i < count; ++i)
        row.copyPixel(static_cast<std::size_t>(i), static_cast<std::size_t>(last));
}

struct Extremes {
    PixelVector low;
    PixelVector high;
};

HWY_INLINE PixelVector smallest(const PixelVector& a, const PixelVector& b) {
    return {hn::Min(a.red, b.red), hn::Min(a.green, b.green), hn::Min(a.blue, b.blue), a.alpha};
}
HWY_INLINE PixelVector largest(const PixelVector& a, const PixelVector& b) {
    return {hn::Max(a.red, b.red), hn::Max(a.green, b.green), hn::Max(a.blue, b.blue), a.alpha};
}

/// The 25 pixels around, weighted by the binomials 1 4 6 4 1 in both directions.
HWY_INLINE PixelVector meanAround(const PlanarRow* rows, std::size_t x) {
    constexpr float weights[5] = {1.0f / 16, 4.0f / 16, 6.0f / 16, 4.0f / 16, 1.0f / 16};
    const auto zero = hn::Zero(FloatTag());
    PixelVector sum{zero, zero, zero, zero};
    for (std::size_t j = 0; j < 5; ++j) {
        for (std::size_t i = 0; i < 5; ++i) {
            const auto weight = constant(weights[j] * weights[i]);
            const PixelVector c = rows[j].at(x + i);
            sum = {hn::MulAdd(c.red, weight, sum.red), hn::MulAdd(c.green, weight, sum.green),
                   hn::MulAdd(c.blue, weight, sum.blue), hn::MulAdd(c.alpha, weight, sum.alpha)};
        }
    }
    return sum;
}

/// The least and greatest straight channels of the nine pixels around; pixels without alpha do not
/// count.
HWY_INLINE Extremes extremesAround(const PlanarRow* rows, std::size_t x,
                                   const PixelVector& middle) {
    Extremes extremes{middle, middle};
    for (std::size_t j = 1; j <= 3; ++j) {
        for (std::size_t i = 1; i <= 3; ++i) {
            const PixelVector c = rows[j].at(x + i);
            const auto hasAlpha = hn::Gt(c.alpha, hn::Zero(FloatTag()));
            const PixelVector straight = select(hasAlpha, straightened(c), middle);
            extremes = {smallest(extremes.low, straight), largest(extremes.high, straight)};
        }
    }
    return extremes;
}

HWY_INLINE PixelVector sharpened(const PlanarRow* rows, std::size_t x, const PixelVector& original,
                                 const PixelVector& mean, FloatVector amount) {
    const PixelVector middle = straightened(original);
    const PixelVector blurred = straightened(mean);
    const Extremes extremes = extremesAround(rows, x, middle);
    const auto channel = [&](FloatVector value, FloatVector blur, FloatVector low,
                             FloatVector high) HWY_ATTR {
        return hn::Min(hn::Max(hn::MulAdd(hn::Sub(value, blur), amount, value), low), high);
    };
    return premultiplied(
        {channel(middle.red, blurred.red, extremes.low.red, extremes.high.red),
         channel(middle.green, blurred.green, extremes.low.green, extremes.high.green),
         channel(middle.blue, blurred.blue, extremes.low.blue, extremes.high.blue), middle.alpha});
}

HWY_INLINE PixelVector mixed(const PixelVector& from, const PixelVector& to, FloatVector amount) {
    const auto channel = [&](FloatVector a, FloatVector b)
                             HWY_ATTR { return hn::MulAdd(hn::Sub(b, a), amount, a); };
    return {channel(from.red, to.red), channel(from.green, to.green), channel(from.blue, to.blue),
            channel(from.alpha, to.alpha)};
}

void ApplyRun::filter(std::uint32_t row, Columns columns) {
    const FloatTag d;
    PlanarRow rows[5];
    for (std::int64_t j = 0; j < 5; ++j)
        loadAround(tile_.originX, std::int64_t{tile_.originY} + row + j - 2,
                   rows[static_cast<std::size_t>(j)]);
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        const auto amount = hn::Mul(hn::Load(d, factors_ + x), constant(params_.effectAmount));
        const PixelVector o = loadBlock(backdrop_ + 4 * x);
        const PixelVector mean = meanAround(rows, x);
        storeBlock(plan_.operation == Operation::blur ? mixed(o, mean, amount)
                                                      : sharpened(rows, x, o, mean, amount),
                   backdrop_ + 4 * x);
    }
}

void ApplyRun::store(std::uint32_t row, Columns columns) {
    const FloatTag d;
    for (std::size_t x = columns.begin; x < columns.end; x += laneCount()) {
        const std::size_t pixel = row * rowPixels + x;
        PixelVector c = loadBlock(backdrop_ + 4 * x);
        if (decodes()) c = decode(c);
        const auto isPainted = hn::Gt(hn::Load(d, factors_ + x), hn::Zero(d));
        c = select(isPainted, c, original(pixel));
        if (plan_.isGrey) {
            storeGrey(c.red, reinterpret_cast<std::uint8_t*>(tile_.output) + pixel);
        } else {
            storePixels(c, reinterpret_cast<std::uint16_t*>(tile_.output) + 4 * pixel);
        }
    }
}

void ApplyRun::overRow(std::uint32_t row, Columns touched) {
    Columns columns = touched;
    if (!touched.isEmpty() && !isPlain()) columns = setFactors(row, touched);
    if (columns.isEmpty()) return copyColumns(row, {0, rowPixels});
    copyColumns(row, {0, columns.begin});
    copyColumns(row, {columns.end, rowPixels});
    if (isPlain()) return paintPlainly(row, columns);
    loadBackdrop(row, columns);
    switch (plan_.operation) {
    case Operation::blend:
        blend(row, columns);
        break;
    case Operation::behind:
        if (params_.cloning != 0) loadClone(row, columns);
        behind(columns);
        break;
    case Operation::fade:
        fade(columns);
        break;
    case Operation::dodge:
    case Operation::burn:
    case Operation::sponge:
        adjustTones(columns);
        break;
    case Operation::blur:
    case Operation::sharpen:
        filter(row, columns);
        break;
    }
    store(row, columns);
}

void applyOnTarget(const BrushApplyArguments& in) {
    ApplyRun run(in);
    for (std::uint32_t i = 0; i < in.touched.size(); ++i) {
        const ColumnSpan touched = in.touched[i];
        run.overRow(in.firstRow + i, {static_cast<std::size_t>(touched.begin),
                                      static_cast<std::size_t>(touched.end)});
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(applyOnTarget);

void applyRows(const BrushApplyArguments& arguments) {
    HWY_DYNAMIC_DISPATCH(applyOnTarget)(arguments);
}

} // namespace ombrel::Kernels
#endif
