#include "Engine/Kernels/DabShape.h"

#include <algorithm>
#include <cmath>

namespace ombrel::Kernels {

namespace {

// Half the diagonal of a pixel, and a little.
constexpr float pixelReach = 0.75f;
// Slopes of at least so many pixels have the mean of a pixel in its middle, or need no more than
// the curvature.
constexpr float softSlope = 24;
constexpr float edgedSlope = 1.25f;
constexpr float sharpSlope = 0.02f;
// Edges count as straight within a pixel from this radius on.
constexpr float straightRadius = 8;
constexpr std::int32_t mostSubsamples = 16;
constexpr float smallestRadius = 0.02f;

void setAxes(DabShape& shape, float angle) {
    const float cosine = shape.isRound ? 1.0f : std::cos(angle);
    const float sine = shape.isRound ? 0.0f : std::sin(angle);
    shape.uX = cosine / shape.longRadius;
    shape.uY = sine / shape.longRadius;
    shape.vX = -sine / shape.shortRadius;
    shape.vY = cosine / shape.shortRadius;
}

void setSmooth(DabShape& shape) {
    const float fineness = std::ceil(straightRadius / shape.shortRadius);
    shape.subsamples =
        std::clamp(static_cast<std::int32_t>(std::min(fineness, 1000.0f)), 1, mostSubsamples);
    const float slope =
        (1 - shape.hardness) * shape.shortRadius * static_cast<float>(shape.subsamples);
    shape.form = slope >= softSlope               ? DabForm::soft
                 : slope >= DabShape::curvedSlope ? DabForm::curved
                 : slope >= edgedSlope            ? DabForm::steep
                 : slope > sharpSlope             ? DabForm::edged
                                                  : DabForm::sharp;
    shape.outerLimit = 1 + pixelReach / shape.shortRadius;
    shape.innerLimit = shape.hardness - pixelReach / shape.shortRadius;
}

/// Whole pixels, the same picture wherever the dab lies: a whole diameter, and a middle that is
/// the middle of a pixel where that is odd and a corner where it is even.
void setAliased(DabShape& shape, float x, float y, float radius, float roundness) {
    const float diameter = std::max(std::round(2 * radius), 1.0f);
    const bool isOdd = std::fmod(diameter, 2.0f) == 1;
    shape.form = DabForm::aliased;
    shape.centerX = isOdd ? std::floor(x) + 0.5f : std::floor(x + 0.5f);
    shape.centerY = isOdd ? std::floor(y) + 0.5f : std::floor(y + 0.5f);
    shape.longRadius = diameter / 2;
    shape.shortRadius = std::max(shape.longRadius * roundness, 0.5f);
    shape.isRound = shape.shortRadius == shape.longRadius;
    // Slightly less than the circle: three pixels across are a cross, and no disc has bumps of one
    // pixel on its sides.
    constexpr float trim = 0.26f;
    shape.aliasedLimit = shape.isRound
                             ? std::max(shape.longRadius * shape.longRadius - trim, 0.001f) /
                                   (shape.longRadius * shape.longRadius)
                             : 1.0001f;
    shape.outerLimit = 1 + pixelReach / shape.shortRadius;
    shape.innerLimit = 0;
}

} // namespace

ColumnSpan DabShape::rows() const {
    // Of the ellipse grown by outerLimit: its extent in y. For unit vectors the axes are
    // (uX, uY) * longRadius^2 and so on.
    const float alongLong = uY * longRadius * longRadius;
    const float alongShort = vY * shortRadius * shortRadius;
    const float extent =
        std::min(std::hypot(alongLong, alongShort) * outerLimit, longRadius * reach + 2);
    return {static_cast<std::int32_t>(std::floor(centerY - extent - 0.5f)),
            static_cast<std::int32_t>(std::ceil(centerY + extent + 0.5f))};
}

void DabShape::setRows() {
    squaredScale_ = uX * uX + vX * vX;
    shear_ = (uX * uY + vX * vY) / squaredScale_;
    determinant_ = 1 / (longRadius * longRadius * shortRadius * shortRadius * squaredScale_);
}

ColumnSpan DabShape::columnsWithin(std::int32_t row, float limit) const {
    if (!(limit > 0)) return {};
    const float dy = static_cast<float>(row) + 0.5f - centerY;
    const float discriminant = (limit * limit - dy * dy * determinant_) / squaredScale_;
    if (!(discriminant >= 0)) return {};
    const float middle = centerX - shear_ * dy - 0.5f;
    const float half = std::sqrt(discriminant);
    constexpr float farOut = 1 << 20;
    const float first = std::clamp(std::ceil(middle - half), -farOut, farOut);
    const float last = std::clamp(std::floor(middle + half), -farOut, farOut);
    return {static_cast<std::int32_t>(first), static_cast<std::int32_t>(last) + 1};
}

float reachOfTip(float width, float height) {
    return (std::hypot(width, height) + 4) / std::max(width, height);
}

float reachOfDabs(const BrushPassParams& params) {
    if (params.hasTip == 0) return 1;
    return reachOfTip(params.tipScale[0] * params.tipSize, params.tipScale[1] * params.tipSize);
}

DabShape shapeOf(const GPUDab& dab, const BrushPassParams& params, std::int32_t originX,
                 std::int32_t originY) {
    DabShape shape;
    shape.centerX =
        static_cast<float>(static_cast<double>(dab.center[0]) - static_cast<double>(originX));
    shape.centerY =
        static_cast<float>(static_cast<double>(dab.center[1]) - static_cast<double>(originY));
    const float roundness = std::clamp(dab.roundness, 0.001f, 1.0f);
    shape.longRadius = std::max(dab.radius, smallestRadius);
    shape.shortRadius = std::max(shape.longRadius * roundness, smallestRadius);
    shape.isRound = shape.shortRadius == shape.longRadius;
    shape.hardness = std::clamp(dab.hardness, 0.0f, 1.0f);
    if (dab.aliased == DabCode::speckle) {
        shape.form = DabForm::speckle;
        shape.grain = std::max(dab.hardness, 0.25f);
        shape.seed = static_cast<std::uint32_t>(dab.angle);
        shape.hardness = 0;
        shape.outerLimit = 1 + pixelReach / shape.longRadius;
    } else if (params.hasTip != 0) {
        shape.form = DabForm::tip;
        shape.isRound = false;
        shape.isAliased = dab.aliased == DabCode::aliased;
        shape.reach = reachOfDabs(params);
        shape.outerLimit = shape.reach + pixelReach / shape.shortRadius;
    } else if (dab.aliased == DabCode::aliased) {
        setAliased(shape, shape.centerX, shape.centerY, dab.radius, roundness);
    } else {
        setSmooth(shape);
    }
    setAxes(shape, dab.angle);
    shape.setRows();
    return shape;
}

} // namespace ombrel::Kernels
