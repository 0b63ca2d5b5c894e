// One dab as the accumulate kernel walks it: what of its profile, place and form can be worked out
// once, and where it lies in each row. Scalar and without SIMD; pure values.
//
// The ideal profile of a round dab is 1 up to hardness * radius and falls to 0 at the radius as
// 1 - smootherstep, whose first two derivatives vanish at both ends: no ring and no Mach band.
// A pixel gets the mean of the profile over its square. An elliptic dab is the same over
// t = |(u, v)|, u along the long axis in units of the radius, v along the short one.
#pragma once

#include "Engine/BrushRecords.h"
#include "Engine/Kernels/ColumnSpan.h"

#include <cstdint>

namespace ombrel::Kernels {

/// How the mean over a pixel is found.
enum class DabForm : std::uint8_t {
    soft,    ///< so wide a slope that its middle is the mean
    curved,  ///< the middle, and what the curvature of the profile adds to the mean
    steep,   ///< a mixture of edges, each the area of a pixel on one side of a line
    edged,   ///< so steep that a few of them are enough
    sharp,   ///< one such edge
    aliased, ///< the middle decides
    tip,     ///< samples of a picture
    speckle,
};

struct DabShape {
    /// Slopes of at least so many pixels are taken in a pixel's middle, with their curvature.
    static constexpr float curvedSlope = 2.75f;

    DabForm form = DabForm::soft;
    bool isRound = true;
    bool isAliased = false; ///< a tip whose pixels are covered wholly or not at all
    /// Dabs too small for their form are drawn on a raster so many times finer and averaged.
    std::int32_t subsamples = 1;
    float centerX = 0; ///< pixels from the tile's corner
    float centerY = 0;
    float hardness = 0;
    /// u = dx * uX + dy * uY, v = dx * vX + dy * vY for a distance in pixels.
    float uX = 0;
    float uY = 0;
    float vX = 0;
    float vY = 0;
    float longRadius = 0; ///< pixels
    float shortRadius = 0;
    float reach = 1;        ///< of all that is painted, in long radii
    float outerLimit = 1;   ///< pixels that have anything lie within this t
    float innerLimit = 0;   ///< pixels within this t are covered wholly
    float aliasedLimit = 1; ///< of t squared
    float grain = 1;        ///< of a speckle dab, pixels
    std::uint32_t seed = 0;

    /// Rows of the tile that may have something.
    ColumnSpan rows() const;
    /// Columns of a row with something, not cut to the tile.
    ColumnSpan outerColumns(std::int32_t row) const { return columnsWithin(row, outerLimit); }
    /// Columns that are covered wholly.
    ColumnSpan innerColumns(std::int32_t row) const { return columnsWithin(row, innerLimit); }

    /// To be called once the axes are set.
    void setRows();

private:
    ColumnSpan columnsWithin(std::int32_t row, float limit) const;

    // t^2 as a quadratic form of the distance, solved for x.
    float shear_ = 0;
    float determinant_ = 0;
    float squaredScale_ = 1;
};

/// How far a dab of a tip of this size reaches, in radii: its corners lie outside the circle that
/// its sides touch, and enlarged pixels end softly, two of them further out.
float reachOfTip(float width, float height);
/// Of any dab of a batch; a pixel or two come to it.
float reachOfDabs(const BrushPassParams& params);

/// `originX`, `originY`: of the tile.
DabShape shapeOf(const GPUDab& dab, const BrushPassParams& params, std::int32_t originX,
                 std::int32_t originY);

} // namespace ombrel::Kernels
