#include "Engine/Kernels/BrushAccumulate.h"

#include "Engine/Kernels/DabShape.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/BrushAccumulate.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/DabCoverage-inl.h"
#include "Engine/Kernels/SpeckleCoverage-inl.h"
#include "Engine/Kernels/TipCoverage-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// How the coverage of a dab adds to the mask.
struct Deposit {
    float paint = 0; ///< of full coverage
    float exponent = 1;
    bool isPower = false; ///< whether (1 - paint * coverage) is raised to the exponent
};

inline Deposit depositOf(float alpha, float spacingFactor) {
    if (spacingFactor > 1) return {.paint = 1 - std::pow(1 - alpha, spacingFactor)};
    if (spacingFactor > 0 && spacingFactor < 1)
        return {.paint = alpha, .exponent = spacingFactor, .isPower = true};
    return {.paint = alpha};
}

/// 1 - (1 - paint)^exponent.
HWY_INLINE FloatVector shareOf(FloatVector paint, float exponent) {
    const auto rest = hn::Sub(constant(1), paint);
    const auto left = hn::IfThenElseZero(hn::Gt(rest, hn::Zero(FloatTag())), power(rest, exponent));
    return hn::Sub(constant(1), hn::Min(left, constant(1)));
}

/// As a sum the mask cannot fall by rounding.
HWY_INLINE FloatVector raised(FloatVector mask, FloatVector share) {
    return hn::Min(hn::MulAdd(hn::Sub(constant(1), mask), share, mask), constant(1));
}

template <bool isPower>
HWY_INLINE FloatVector withDab(FloatVector mask, FloatVector coverage, const Deposit& deposit) {
    const auto paint = hn::Mul(coverage, constant(deposit.paint));
    if constexpr (isPower) return hn::Max(raised(mask, shareOf(paint, deposit.exponent)), paint);
    return raised(mask, paint);
}

template <bool isPower>
void deposit(const Deposit& given, const float* coverage, ColumnSpan outer, ColumnSpan inner,
             float* mask) {
    const FloatTag d;
    const Deposit rule = given; // a copy, which writing the mask cannot change
    const auto lanes = static_cast<std::int32_t>(laneCount());
    const auto lay = [&](ColumnSpan span) HWY_ATTR {
        for (std::int32_t x = span.begin; x < span.end; x += lanes) {
            hn::Store(withDab<isPower>(hn::Load(d, mask + x), hn::LoadU(d, coverage + x), rule), d,
                      mask + x);
        }
    };
    lay({outer.begin, inner.begin});
    for (std::int32_t x = inner.begin; x < inner.end; x += lanes)
        hn::Store(withDab<isPower>(hn::Load(d, mask + x), constant(1), rule), d, mask + x);
    lay({inner.end, outer.end});
}

/// What dabs of one profile and deposit bring, by the place on the slope: raising to a power costs
/// more than all the rest. A cubic for each sixteenth of the slope is within 0.00002, but for the
/// first one of dabs of full paint, where the paint itself is more than the share.
class ShareTable {
public:
#if HWY_TARGET <= HWY_AVX3
    static constexpr bool isAvailable = true;
#else
    static constexpr bool isAvailable = false; // too few entries in a register
#endif

    void set(const Deposit& deposit) {
        const FloatTag d;
        FloatVector at[4];
        for (int i = 0; i < 4; ++i) {
            const auto place = hn::Mul(columnsFrom(static_cast<float>(i) / 3), constant(1.0f / 16));
            const auto paint =
                hn::Mul(fallOff(hn::Min(place, constant(1))), constant(deposit.paint));
            at[i] = shareOf(paint, deposit.exponent);
        }
        const auto row = [&](float a, float b, float c, float e) HWY_ATTR {
            return hn::MulAdd(
                at[0], constant(a),
                hn::MulAdd(at[1], constant(b),
                           hn::MulAdd(at[2], constant(c), hn::Mul(at[3], constant(e)))));
        };
        hn::Store(at[0], d, coefficients_[0]);
        hn::Store(row(-5.5f, 9, -4.5f, 1), d, coefficients_[1]);
        hn::Store(row(9, -22.5f, 18, -4.5f), d, coefficients_[2]);
        hn::Store(row(-4.5f, 13.5f, -13.5f, 4.5f), d, coefficients_[3]);
    }

    /// Where the dab covers wholly.
    float full() const { return coefficients_[0][0]; }

    /// `x` from 0 to 1.
    HWY_INLINE FloatVector at(FloatVector x) const {
        const FloatTag d;
        const auto scaled = hn::Mul(x, constant(16));
        // Added to so large a number it is rounded, and the last bits of the sum are the entry: one
        // instruction where a conversion takes six. Which of two neighbours it is where they meet
        // does not matter, nor what 1 finds.
        const auto large = constant(0x1.8p23f);
        const auto sum = hn::Add(hn::Sub(scaled, constant(0.5f)), large);
        const auto within = hn::Sub(scaled, hn::Sub(sum, large));
        const auto indices =
            hn::IndicesFromVec(d, hn::And(hn::BitCast(IntTag(), sum), hn::Set(IntTag(), 15)));
        const auto coefficient = [&](int i) HWY_ATTR {
            return hn::TableLookupLanes(hn::Load(d, coefficients_[i]), indices);
        };
        const auto share = hn::MulAdd(
            hn::MulAdd(hn::MulAdd(coefficient(3), within, coefficient(2)), within, coefficient(1)),
            within, coefficient(0));
        return hn::IfThenElseZero(hn::Lt(x, constant(1)), share);
    }

private:
    HWY_ALIGN float coefficients_[4][hn::MaxLanes(FloatTag())];
};

/// One dab on its way over the rows of a tile.
class DabRun {
public:
    DabRun(const BrushAccumulateArguments& in, const GPUDab& dab)
        : shape_(shapeOf(dab, *in.params, in.tile->origin[0], in.tile->origin[1])),
          deposit_(depositOf(dab.alpha, in.params->spacingFactor)), in_(in),
          mask_(reinterpret_cast<float*>(in.tile->mask)) {
        if (shape_.form == DabForm::tip) sampler_.emplace(*in.tip, shape_, *in.params);
        hasShares_ = ShareTable::isAvailable && deposit_.isPower && shape_.isRound &&
                     shape_.subsamples == 1 && shape_.form == DabForm::soft;
        if (hasShares_) shares_.set(deposit_);
    }

    void overRows(std::int32_t firstRow, std::int32_t endRow) {
        const ColumnSpan rows = shape_.rows();
        for (std::int32_t row = std::max(rows.begin, firstRow); row < std::min(rows.end, endRow);
             ++row)
            overRow(row);
    }

private:
    void overRow(std::int32_t row);
    void cover(std::int32_t row, ColumnSpan span);
    void laySoftly(std::int32_t row, ColumnSpan outer, ColumnSpan inner, float* mask) const;

    DabShape shape_;
    Deposit deposit_;
    std::optional<TipSampler> sampler_;
    const BrushAccumulateArguments& in_;
    float* mask_;
    bool hasShares_ = false;
    ShareTable shares_;
    HWY_ALIGN float coverage_[256];
};

/// Cut to the tile and widened to whole vectors.
inline ColumnSpan outerVectors(ColumnSpan span) {
    const auto lanes = static_cast<std::int32_t>(laneCount());
    const std::int32_t begin = std::clamp(span.begin, 0, 256);
    const std::int32_t end = std::clamp(span.end, begin, 256);
    return {begin / lanes * lanes, (end + lanes - 1) / lanes * lanes};
}

/// Narrowed to whole vectors within `outer`; empty at its end where there are none.
inline ColumnSpan innerVectors(ColumnSpan span, ColumnSpan outer) {
    const auto lanes = static_cast<std::int32_t>(laneCount());
    const std::int32_t begin =
        (std::clamp(span.begin, outer.begin, outer.end) + lanes - 1) / lanes * lanes;
    const std::int32_t end = std::clamp(span.end, outer.begin, outer.end) / lanes * lanes;
    return begin < end ? ColumnSpan{begin, end} : ColumnSpan{outer.end, outer.end};
}

void DabRun::overRow(std::int32_t row) {
    const ColumnSpan columns = shape_.outerColumns(row);
    if (columns.isEmpty() || columns.end <= 0 || columns.begin >= 256) return;
    const ColumnSpan outer = outerVectors(columns);
    const ColumnSpan inner = innerVectors(shape_.innerColumns(row), outer);
    in_.touched[static_cast<std::size_t>(row) - in_.firstRow].add(outer);
    float* mask = mask_ + static_cast<std::ptrdiff_t>(row) * 256;
    if (hasShares_) return laySoftly(row, outer, inner, mask);
    cover(row, {outer.begin, inner.begin});
    cover(row, {inner.end, outer.end});
    if (deposit_.isPower) {
        deposit<true>(deposit_, coverage_, outer, inner, mask);
    } else {
        deposit<false>(deposit_, coverage_, outer, inner, mask);
    }
}

/// Coverage and deposit in one go, by the table. Works on copies, since the compiler takes it that
/// writing the mask may change them.
void DabRun::laySoftly(std::int32_t row, ColumnSpan outer, ColumnSpan inner, float* mask) const {
    const FloatTag d;
    const auto lanes = static_cast<std::int32_t>(laneCount());
    const DabShape shape = shape_;
    const ShareTable shares = shares_;
    const DabRow<true> place(shape, static_cast<float>(row) + 0.5f - shape.centerY);
    const float offset = 0.5f - shape.centerX;
    const auto fullPaint = constant(deposit_.paint);
    const auto lay = [&](std::int32_t begin, std::int32_t end) HWY_ATTR {
        for (std::int32_t x = begin; x < end; x += lanes) {
            const auto slope =
                SoftForm::placeOnSlope(shape, place, columnsFrom(static_cast<float>(x) + offset));
            const auto paint = hn::Mul(fallOff(slope), fullPaint);
            const auto share = hn::Max(shares.at(slope), hn::Zero(d));
            hn::Store(hn::Max(raised(hn::Load(d, mask + x), share), paint), d, mask + x);
        }
    };
    lay(outer.begin, inner.begin);
    const auto fullShare = constant(shares.full());
    for (std::int32_t x = inner.begin; x < inner.end; x += lanes)
        hn::Store(hn::Max(raised(hn::Load(d, mask + x), fullShare), fullPaint), d, mask + x);
    lay(inner.end, outer.end);
}

void DabRun::cover(std::int32_t row, ColumnSpan span) {
    if (span.isEmpty()) return;
    switch (shape_.form) {
    case DabForm::soft:
        return coverByForm<SoftForm>(shape_, row, span, coverage_);
    case DabForm::curved:
        return coverByForm<CurvedForm>(shape_, row, span, coverage_);
    case DabForm::steep:
        return coverByForm<EdgeForm<9>>(shape_, row, span, coverage_);
    case DabForm::edged:
        return coverByForm<EdgeForm<6>>(shape_, row, span, coverage_);
    case DabForm::sharp:
        return coverByForm<EdgeForm<1>>(shape_, row, span, coverage_);
    case DabForm::aliased:
        return coverByForm<AliasedForm>(shape_, row, span, coverage_);
    case DabForm::tip:
        return coverByTip(*sampler_, shape_, row, span, coverage_);
    case DabForm::speckle:
        return coverBySpeckle(shape_, row, span, coverage_);
    }
}

void accumulateOnTarget(const BrushAccumulateArguments& in) {
    const auto firstRow = static_cast<std::int32_t>(in.firstRow);
    const auto endRow = static_cast<std::int32_t>(in.firstRow + in.rowCount);
    const float reachOfRadius = reachOfDabs(*in.params);
    for (const GPUDab& dab : in.dabs.subspan(in.tile->dabStart, in.tile->dabCount)) {
        // Most dabs of a long batch lie beside a block of rows.
        const float middle = dab.center[1] - static_cast<float>(in.tile->origin[1]);
        const float reach = reachOfRadius * dab.radius + 3;
        if (middle + reach < static_cast<float>(firstRow) ||
            middle - reach > static_cast<float>(endRow))
            continue;
        DabRun(in, dab).overRows(firstRow, endRow);
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(accumulateOnTarget);

void accumulateRows(const BrushAccumulateArguments& arguments) {
    HWY_DYNAMIC_DISPATCH(accumulateOnTarget)(arguments);
}

} // namespace ombrel::Kernels
#endif
