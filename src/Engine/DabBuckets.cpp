#include "Engine/DabBuckets.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

bool isSane(const BrushDab& dab) {
    constexpr float farthest = 0x1p31f; // no tile lies further out
    const bool hasPlace = dab.radius > 0 && dab.radius < farthest && std::fabs(dab.x) < farthest &&
                          std::fabs(dab.y) < farthest;
    const bool hasForm = std::isfinite(dab.hardness) && std::isfinite(dab.angle) &&
                         std::isfinite(dab.roundness) && std::isfinite(dab.speckle);
    return hasPlace && hasForm && dab.alpha > 0;
}

PixelRect squareOf(const BrushDab& dab, double reach) {
    const double pad = static_cast<double>(dab.radius) * reach + 1;
    const auto side = static_cast<std::int64_t>(2 * pad) + 2;
    return {static_cast<std::int64_t>(std::floor(static_cast<double>(dab.x) - pad)),
            static_cast<std::int64_t>(std::floor(static_cast<double>(dab.y) - pad)), side, side};
}

/// The device's record of a dab.
GPUDab recordOf(const BrushDab& dab) {
    GPUDab record{.center = {dab.x, dab.y},
                  .radius = dab.radius,
                  .hardness = dab.hardness,
                  .alpha = std::min(dab.alpha, 1.0f),
                  .aliased = dab.aliased ? DabCode::aliased : DabCode::smooth,
                  .angle = dab.angle,
                  .roundness = dab.roundness};
    if (dab.speckle > 0) {
        record.hardness = dab.speckle;
        record.aliased = DabCode::speckle;
        record.angle = static_cast<float>(dab.seed & 0x7FFFFFu);
        record.roundness = 1;
    }
    return record;
}

} // namespace

DabBuckets bucketsOf(std::span<const BrushDab> dabs, const PixelRect& bounds, double reach) {
    DabBuckets buckets;
    for (const BrushDab& dab : dabs) {
        if (!isSane(dab)) continue;
        const PixelRect square = intersectionOf(squareOf(dab, reach), bounds);
        if (square.isEmpty()) continue;
        const GPUDab record = recordOf(dab);
        for (const TileCoord coord : square.tileRange())
            buckets[coord].push_back(record);
    }
    return buckets;
}

} // namespace ombrel
