// The coverage of one row of pixels by a tip image. The image is turned by the dab's angle, its
// larger side spans the diameter, the direction across is squeezed by the roundness. Levels of the
// pyramid are mixed; where the image is squeezed, several samples lie along its short axis. An
// enlarged image is smoothed by cubic B-splines, so that its pixels do not show.

#if defined(OMBREL_TIP_COVERAGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_TIP_COVERAGE_INL_H
#undef OMBREL_TIP_COVERAGE_INL_H
#else
#define OMBREL_TIP_COVERAGE_INL_H
#endif

#include "Engine/BrushTipPyramid.h"
#include "Engine/Kernels/DabCoverage-inl.h"

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// Where a place in pixels of a level lies among the middles of its pixels. Places further outside
/// than `outside`, where there is nothing, are brought to there.
struct LevelPlace {
    HWY_INLINE LevelPlace(const BrushTipPyramid::Level& level, FloatVector x, FloatVector y,
                          float outside)
        : pitch(level.pitch) {
        const auto cut = [outside](FloatVector place, std::int32_t size) HWY_ATTR {
            return hn::Min(hn::Max(hn::Sub(place, constant(0.5f)), constant(-0.5f - outside)),
                           constant(static_cast<float>(size) - 0.5f + outside));
        };
        const auto left = cut(x, level.width);
        const auto top = cut(y, level.height);
        column = hn::Floor(left);
        row = hn::Floor(top);
        along = hn::Sub(left, column);
        down = hn::Sub(top, row);
    }

    /// Of the pixel up and to the left, or one so much further there, among the bytes.
    HWY_INLINE IntVector offset(std::int32_t further) const {
        const IntTag di;
        const auto inward = hn::Set(di, BrushTipPyramid::border - further);
        return hn::Add(hn::Mul(hn::Add(hn::ConvertTo(di, row), inward), hn::Set(di, pitch)),
                       hn::Add(hn::ConvertTo(di, column), inward));
    }

    std::int32_t pitch;
    FloatVector column, row;
    FloatVector along, down; ///< from that pixel's middle, 0 to 1
};

/// Bilinear; places are pixels of the level.
HWY_INLINE FloatVector sampleLevel(const BrushTipPyramid::Level& level, FloatVector x,
                                   FloatVector y) {
    const FloatTag d;
    const IntTag di;
    const LevelPlace at(level, x, y, 1);
    const auto place = at.offset(0);
    const auto rowAt = [&](IntVector offset) HWY_ATTR {
        const auto* base = reinterpret_cast<const std::int32_t*>(level.bytes.data());
        const auto four = hn::GatherOffset(di, base, offset);
        const auto low = hn::Set(di, 0xFF);
        const auto first = hn::ConvertTo(d, hn::And(four, low));
        const auto second = hn::ConvertTo(d, hn::And(hn::ShiftRight<8>(four), low));
        return hn::MulAdd(hn::Sub(second, first), at.along, first);
    };
    const auto upper = rowAt(place);
    const auto lower = rowAt(hn::Add(place, hn::Set(di, level.pitch)));
    return hn::Mul(hn::MulAdd(hn::Sub(lower, upper), at.down, upper), constant(1.0f / 255));
}

/// The weights of four pixels of which the place lies between the middle ones.
struct SplineWeights {
    explicit HWY_INLINE SplineWeights(FloatVector f) {
        const auto rest = hn::Sub(constant(1), f);
        const auto outer = [](FloatVector x) HWY_ATTR {
            return hn::Mul(hn::Mul(square(x), x), constant(1.0f / 6));
        };
        const auto inner = [](FloatVector x) HWY_ATTR {
            return hn::MulAdd(square(x), hn::MulAdd(x, constant(0.5f), constant(-1)),
                              constant(2.0f / 3));
        };
        first = outer(rest);
        second = inner(f);
        third = inner(rest);
        fourth = outer(f);
    }

    FloatVector first, second, third, fourth;
};

/// By cubic B-splines; places are pixels of the level.
HWY_INLINE FloatVector sampleSmoothly(const BrushTipPyramid::Level& level, FloatVector x,
                                      FloatVector y) {
    const FloatTag d;
    const IntTag di;
    const LevelPlace at(level, x, y, 1.5f);
    const SplineWeights across(at.along);
    const SplineWeights down(at.down);
    auto place = at.offset(1);
    auto sum = hn::Zero(d);
    for (const FloatVector weight : {down.first, down.second, down.third, down.fourth}) {
        const auto* base = reinterpret_cast<const std::int32_t*>(level.bytes.data());
        const auto four = hn::BitCast(WordTag(), hn::GatherOffset(di, base, place));
        const auto byte = [&](auto shifted) HWY_ATTR {
            const auto bits = hn::And(shifted, hn::Set(WordTag(), 0xFFu));
            return hn::ConvertTo(d, hn::BitCast(di, bits));
        };
        auto line = hn::Mul(byte(four), across.first);
        line = hn::MulAdd(byte(hn::ShiftRight<8>(four)), across.second, line);
        line = hn::MulAdd(byte(hn::ShiftRight<16>(four)), across.third, line);
        line = hn::MulAdd(byte(hn::ShiftRight<24>(four)), across.fourth, line);
        sum = hn::MulAdd(line, weight, sum);
        place = hn::Add(place, hn::Set(di, level.pitch));
    }
    return cutCoverage(hn::Mul(sum, constant(1.0f / 255)));
}

class TipSampler {
public:
    TipSampler(const BrushTipPyramid& tip, const DabShape& shape, const BrushPassParams& params)
        : levels_(tip.levels()), toPixels_(params.tipSize / 2),
          width_(params.tipScale[0] * params.tipSize),
          height_(params.tipScale[1] * params.tipSize) {
        // Pixels of the image under one of the document, along both axes.
        const float along = params.tipSize / (2 * shape.longRadius);
        const float across = params.tipSize / (2 * shape.shortRadius);
        taps_ =
            static_cast<int>(std::clamp(std::ceil(across / std::max(along, 1.0f)), 1.0f, 16.0f));
        const float footprint = std::max({along, across / static_cast<float>(taps_), 1.0f});
        const float level = std::min(std::log2(footprint), static_cast<float>(levels_.size() - 1));
        lower_ = static_cast<std::size_t>(level);
        upper_ = std::min(lower_ + 1, levels_.size() - 1);
        mix_ = level - static_cast<float>(lower_);
        const float enlarged = 1 - std::max(along, across / static_cast<float>(taps_));
        smoothness_ = std::clamp(2 * enlarged, 0.0f, 1.0f);
        step_ = 1 / (shape.shortRadius * static_cast<float>(taps_));
    }

    /// u and v as in DabShape.h.
    HWY_INLINE FloatVector at(FloatVector u, FloatVector v) const {
        auto sum = hn::Zero(FloatTag());
        for (int i = 0; i < taps_; ++i) {
            const float shift = (static_cast<float>(i) - static_cast<float>(taps_ - 1) / 2) * step_;
            const auto x = hn::MulAdd(u, constant(toPixels_), constant(width_ / 2));
            const auto y =
                hn::MulAdd(hn::Add(v, constant(shift)), constant(toPixels_), constant(height_ / 2));
            auto sample = sampleAt(lower_, x, y);
            if (smoothness_ > 0) {
                const auto smooth = sampleSmoothly(levels_[0], x, y);
                sample = hn::MulAdd(hn::Sub(smooth, sample), constant(smoothness_), sample);
            }
            if (mix_ > 0) {
                const auto coarser = sampleAt(upper_, x, y);
                sample = hn::MulAdd(hn::Sub(coarser, sample), constant(mix_), sample);
            }
            sum = hn::Add(sum, sample);
        }
        return hn::Mul(sum, constant(1 / static_cast<float>(taps_)));
    }

private:
    HWY_INLINE FloatVector sampleAt(std::size_t index, FloatVector x, FloatVector y) const {
        const BrushTipPyramid::Level& level = levels_[index];
        return sampleLevel(level, hn::Mul(x, constant(static_cast<float>(level.width) / width_)),
                           hn::Mul(y, constant(static_cast<float>(level.height) / height_)));
    }

    std::span<const BrushTipPyramid::Level> levels_;
    float toPixels_;
    float width_;
    float height_;
    int taps_;
    float step_; ///< between samples, in v
    std::size_t lower_;
    std::size_t upper_;
    float mix_;
    float smoothness_; ///< 1 from twice the image's own size on
};

inline void coverByTip(const TipSampler& sampler, const DabShape& shape, std::int32_t row,
                       ColumnSpan span, float* out) {
    const FloatTag d;
    const DabRow<false> place(shape, static_cast<float>(row) + 0.5f - shape.centerY);
    const float offset = 0.5f - shape.centerX;
    for (std::int32_t x = span.begin; x < span.end; x += static_cast<std::int32_t>(laneCount())) {
        const auto at = place.at(columnsFrom(static_cast<float>(x) + offset));
        auto coverage = sampler.at(at.u, at.v);
        if (shape.isAliased)
            coverage = hn::IfThenElseZero(hn::Ge(coverage, constant(0.4999f)), constant(1));
        hn::StoreU(coverage, d, out + x);
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
