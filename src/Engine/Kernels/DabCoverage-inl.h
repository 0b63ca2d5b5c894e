// The coverage of one row of pixels by a round or elliptic dab, in its various forms (see
// DabShape.h). `t` is the distance from the middle in units of the ellipse.

#if defined(OMBREL_DAB_COVERAGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_DAB_COVERAGE_INL_H
#undef OMBREL_DAB_COVERAGE_INL_H
#else
#define OMBREL_DAB_COVERAGE_INL_H
#endif

#include "Engine/Kernels/DabShape.h"
#include "Engine/Kernels/TransferCurves-inl.h"

#include <array>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

HWY_INLINE FloatVector square(FloatVector x) {
    return hn::Mul(x, x);
}

HWY_INLINE FloatVector cutCoverage(FloatVector x) {
    return hn::Min(hn::Max(x, hn::Zero(FloatTag())), constant(1));
}

/// Columns `column`, `column + 1`, ... as floats.
HWY_INLINE FloatVector columnsFrom(float column) {
    return hn::Add(hn::Iota(FloatTag(), 0.0f), constant(column));
}

/// Where the pixels of a row lie within the ellipse. The raster is `subsamples` times as fine as
/// the document's.
template <bool isRound>
class DabRow {
public:
    DabRow(const DabShape& shape, float dy) {
        const auto fineness = static_cast<float>(shape.subsamples);
        uX_ = shape.uX / fineness;
        vX_ = shape.vX / fineness;
        uY_ = shape.uY / fineness;
        vY_ = shape.vY / fineness;
        longScale_ = 1 / (shape.longRadius * fineness);
        shortScale_ = 1 / (shape.shortRadius * fineness);
        dy_ = dy;
    }

    struct Place {
        FloatVector u;
        FloatVector v;
        FloatVector squaredT;
    };

    HWY_INLINE Place at(FloatVector dx) const {
        Place place;
        if constexpr (isRound) {
            place.u = hn::Mul(dx, constant(longScale_));
            place.v = constant(dy_ * longScale_);
        } else {
            place.u = hn::MulAdd(dx, constant(uX_), constant(dy_ * uY_));
            place.v = hn::MulAdd(dx, constant(vX_), constant(dy_ * vY_));
        }
        place.squaredT = hn::MulAdd(place.u, place.u, square(place.v));
        return place;
    }

    /// The same without fused operations, which not every target has: for decisions, which have to
    /// be the same everywhere.
    HWY_INLINE Place exactlyAt(FloatVector dx) const {
        Place place;
        if constexpr (isRound) {
            place.u = hn::Mul(dx, constant(longScale_));
            place.v = constant(dy_ * longScale_);
        } else {
            place.u = hn::Add(hn::Mul(dx, constant(uX_)), constant(dy_ * uY_));
            place.v = hn::Add(hn::Mul(dx, constant(vX_)), constant(dy_ * vY_));
        }
        place.squaredT = hn::Add(square(place.u), square(place.v));
        return place;
    }

    HWY_INLINE float squaredLongScale() const { return longScale_ * longScale_; }
    HWY_INLINE float squaredShortScale() const { return shortScale_ * shortScale_; }
    /// |gradient of t| squared.
    HWY_INLINE FloatVector squaredSlope(const Place& place, FloatVector squaredT) const {
        if constexpr (isRound) return constant(squaredLongScale());
        const auto sum = hn::MulAdd(square(place.u), constant(squaredLongScale()),
                                    hn::Mul(square(place.v), constant(squaredShortScale())));
        return hn::Div(sum, squaredT);
    }
    HWY_INLINE FloatVector slopeX(const Place& place) const {
        if constexpr (isRound) return hn::Mul(place.u, constant(longScale_));
        return hn::MulAdd(place.u, constant(uX_), hn::Mul(place.v, constant(vX_)));
    }
    HWY_INLINE FloatVector slopeY(const Place& place) const {
        if constexpr (isRound) return hn::Mul(place.v, constant(longScale_));
        return hn::MulAdd(place.u, constant(uY_), hn::Mul(place.v, constant(vY_)));
    }

private:
    float uX_, uY_, vX_, vY_;
    float longScale_, shortScale_;
    float dy_;
};

/// 1 - smootherstep.
HWY_INLINE FloatVector fallOff(FloatVector x) {
    const auto cube = hn::Mul(square(x), x);
    return hn::NegMulAdd(cube, polynomial(x, 10.0f, -15.0f, 6.0f), constant(1));
}

struct SoftForm {
    /// From 0 at the solid core to 1 at the rim.
    template <bool isRound>
    static HWY_INLINE FloatVector placeOnSlope(const DabShape& shape, const DabRow<isRound>& row,
                                               FloatVector dx) {
        const auto t = hn::Sqrt(row.at(dx).squaredT);
        const float gain = 1 / (1 - shape.hardness);
        return cutCoverage(hn::MulAdd(t, constant(gain), constant(-shape.hardness * gain)));
    }

    template <bool isRound>
    static HWY_INLINE FloatVector coverage(const DabShape& shape, const DabRow<isRound>& row,
                                           FloatVector dx) {
        return fallOff(placeOnSlope(shape, row, dx));
    }
};

/// The mean over a square of a function is its middle plus a 24th of its Laplacian, and so on.
struct CurvedForm {
    template <bool isRound>
    static HWY_INLINE FloatVector coverage(const DabShape& shape, const DabRow<isRound>& row,
                                           FloatVector dx) {
        const auto place = row.at(dx);
        const auto squaredT = hn::Max(place.squaredT, constant(1e-12f));
        const auto t = hn::Sqrt(squaredT);
        const float gain = 1 / (1 - shape.hardness);
        const auto x = cutCoverage(hn::MulAdd(t, constant(gain), constant(-shape.hardness * gain)));
        const auto q = hn::Mul(x, hn::Sub(constant(1), x));
        const auto first = hn::Mul(square(q), constant(-30 * gain));
        const auto second = hn::Mul(hn::Mul(q, hn::MulAdd(x, constant(-2), constant(1))),
                                    constant(-60 * gain * gain));
        const auto slope = row.squaredSlope(place, squaredT);
        const auto bend =
            hn::Div(hn::Sub(constant(row.squaredLongScale() + row.squaredShortScale()), slope), t);
        const auto laplacian = hn::MulAdd(second, slope, hn::Mul(first, bend));
        return cutCoverage(hn::MulAdd(laplacian, constant(1.0f / 24), fallOff(x)));
    }
};

/// The part of a pixel on one side of a line with a unit normal.
class HalfPlane {
public:
    HWY_INLINE HalfPlane(FloatVector normalX, FloatVector normalY) {
        const auto x = hn::Abs(normalX);
        const auto y = hn::Abs(normalY);
        const auto larger = hn::Max(x, y);
        const auto smaller = hn::Min(x, y);
        flat_ = hn::Mul(hn::Sub(larger, smaller), constant(0.5f));
        reach_ = hn::Mul(hn::Add(larger, smaller), constant(0.5f));
        inverse_ = hn::Div(constant(1), larger);
        const auto product = hn::Max(hn::Mul(larger, smaller), constant(1e-6f));
        corner_ = hn::Div(constant(0.5f), product);
    }

    /// `distance` of the line from the pixel's middle, positive with the middle inside.
    HWY_INLINE FloatVector area(FloatVector distance) const {
        const auto e = hn::Abs(distance);
        const auto beyond = hn::Max(hn::Sub(reach_, e), hn::Zero(FloatTag()));
        const auto part = hn::IfThenElse(hn::Le(e, flat_), hn::Mul(e, inverse_),
                                         hn::NegMulAdd(square(beyond), corner_, constant(0.5f)));
        return hn::Add(constant(0.5f), hn::CopySign(part, distance));
    }

private:
    FloatVector flat_;
    FloatVector reach_;
    FloatVector inverse_;
    FloatVector corner_;
};

/// A steep slope is a mixture of edges, one for each level of coverage. Its mean over a pixel is
/// taken at the nodes of the quadrature whose weight, u^2 (1 - u)^2, is the slope of smootherstep.
template <std::size_t nodeCount>
struct EdgeForm {
    struct Node {
        float place;
        float weight;
    };
    static constexpr std::array<Node, nodeCount> nodes() {
        if constexpr (nodeCount == 1) return {{{0.5f, 1}}};
        if constexpr (nodeCount == 6) {
            return {{{0.09007700f, 0.02313064f},
                     {0.22969768f, 0.15158612f},
                     {0.40566129f, 0.32528324f},
                     {0.59433871f, 0.32528324f},
                     {0.77030232f, 0.15158612f},
                     {0.90992300f, 0.02313064f}}};
        }
        if constexpr (nodeCount == 9) {
            return {{{0.04950218f, 0.00424955f},
                     {0.12927319f, 0.03596740f},
                     {0.23645116f, 0.11578258f},
                     {0.36315417f, 0.21409863f},
                     {0.50000000f, 0.25980369f},
                     {0.63684583f, 0.21409863f},
                     {0.76354884f, 0.11578258f},
                     {0.87072681f, 0.03596740f},
                     {0.95049782f, 0.00424955f}}};
        }
    }

    template <bool isRound>
    static HWY_INLINE FloatVector coverage(const DabShape& shape, const DabRow<isRound>& row,
                                           FloatVector dx) {
        const auto place = row.at(dx);
        const auto squaredT = hn::Max(place.squaredT, constant(1e-12f));
        const auto t = hn::Sqrt(squaredT);
        const auto squaredSlope = row.squaredSlope(place, squaredT);
        const auto unitsToPixels = hn::Div(constant(1), hn::Sqrt(squaredSlope));
        const auto toNormal = hn::Div(unitsToPixels, t);
        const HalfPlane plane(hn::Mul(row.slopeX(place), toNormal),
                              hn::Mul(row.slopeY(place), toNormal));
        // What the edge's curvature takes from a pixel that it crosses.
        const auto curvature =
            hn::Mul(hn::Mul(constant(row.squaredLongScale() * row.squaredShortScale()), toNormal),
                    square(unitsToPixels));
        const auto middle = hn::NegMulAdd(
            t, unitsToPixels, hn::Mul(hn::Min(curvature, constant(1)), constant(-1.0f / 24)));
        auto sum = hn::Zero(FloatTag());
        for (const Node& node : nodes()) {
            const float level = shape.hardness + (1 - shape.hardness) * node.place;
            sum = hn::MulAdd(plane.area(hn::MulAdd(constant(level), unitsToPixels, middle)),
                             constant(node.weight), sum);
        }
        if constexpr (!isRound) {
            // Along its long axis the same dab may slope gently.
            const auto slope = hn::Mul(unitsToPixels, constant(1 - shape.hardness));
            const auto isGentle = hn::Gt(slope, constant(DabShape::curvedSlope));
            if (!hn::AllFalse(FloatTag(), isGentle)) {
                sum = hn::IfThenElse(isGentle, CurvedForm::coverage(shape, row, dx), sum);
            }
        }
        return cutCoverage(sum);
    }
};

struct AliasedForm {
    template <bool isRound>
    static HWY_INLINE FloatVector coverage(const DabShape& shape, const DabRow<isRound>& row,
                                           FloatVector dx) {
        const auto place = row.exactlyAt(dx);
        auto isInside = hn::Le(place.squaredT, constant(shape.aliasedLimit));
        if constexpr (!isRound) {
            // However thin, the long axis is a line without gaps.
            const auto across = hn::Mul(place.v, constant(shape.shortRadius));
            const auto isOnLine =
                hn::And(hn::Ge(across, constant(-0.5f)), hn::Lt(across, constant(0.5f)));
            const auto isBetweenEnds = hn::Le(hn::Abs(place.u), constant(1));
            isInside = hn::Or(isInside, hn::And(isOnLine, isBetweenEnds));
        }
        return hn::IfThenElseZero(isInside, constant(1));
    }
};

/// Coverage of the columns of a span, which begins and ends at whole vectors; `out` is the row.
template <typename Form, bool isRound>
void coverColumns(const DabShape& given, std::int32_t row, ColumnSpan span, float* out) {
    const DabShape shape = given; // a copy, which writing `out` cannot change
    const DabRow<isRound> place(shape, static_cast<float>(row) + 0.5f - shape.centerY);
    const float offset = 0.5f - shape.centerX;
    for (std::int32_t x = span.begin; x < span.end; x += static_cast<std::int32_t>(laneCount())) {
        const auto dx = columnsFrom(static_cast<float>(x) + offset);
        hn::StoreU(Form::coverage(shape, place, dx), FloatTag(), out + x);
    }
}

/// The same from a finer raster.
template <typename Form, bool isRound>
void coverFinely(const DabShape& given, std::int32_t row, ColumnSpan span, float* out) {
    const DabShape shape = given;
    const FloatTag d;
    constexpr std::int32_t mostColumns = 32;
    constexpr std::int32_t mostSubsamples = 16;
    HWY_ALIGN float sums[mostColumns * mostSubsamples];
    const std::int32_t n = shape.subsamples;
    const auto fineness = static_cast<float>(n);
    const auto lanes = static_cast<std::int32_t>(laneCount());
    for (std::int32_t first = span.begin; first < span.end; first += mostColumns) {
        const std::int32_t columns = std::min(span.end - first, mostColumns);
        const std::int32_t count = columns * n; // whole vectors, as the span
        std::fill_n(sums, count, 0.0f);
        const float offset = (static_cast<float>(first) - shape.centerX) * fineness + 0.5f;
        for (std::int32_t j = 0; j < n; ++j) {
            const float dy =
                (static_cast<float>(row) - shape.centerY) * fineness + static_cast<float>(j) + 0.5f;
            const DabRow<isRound> place(shape, dy);
            for (std::int32_t i = 0; i < count; i += lanes) {
                const auto dx = columnsFrom(static_cast<float>(i) + offset);
                hn::Store(hn::Add(hn::Load(d, sums + i), Form::coverage(shape, place, dx)), d,
                          sums + i);
            }
        }
        for (std::int32_t x = 0; x < columns; ++x) {
            float sum = 0;
            for (std::int32_t i = 0; i < n; ++i)
                sum += sums[x * n + i];
            out[first + x] = std::min(sum / (fineness * fineness), 1.0f);
        }
    }
}

template <typename Form>
void coverByForm(const DabShape& shape, std::int32_t row, ColumnSpan span, float* out) {
    if (shape.isRound) {
        if (shape.subsamples == 1) return coverColumns<Form, true>(shape, row, span, out);
        return coverFinely<Form, true>(shape, row, span, out);
    }
    if (shape.subsamples == 1) return coverColumns<Form, false>(shape, row, span, out);
    return coverFinely<Form, false>(shape, row, span, out);
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
