// Which tiles a batch of dabs touches, and which dabs each of them sees: the stroke order stays
// within a tile, the tiles are in TileCoord order. Pure values.
#pragma once

#include "Core/Geometry.h"
#include "Engine/BrushDab.h"
#include "Engine/BrushRecords.h"

#include <map>
#include <span>
#include <vector>

namespace ombrel {

using DabBuckets = std::map<TileCoord, std::vector<GPUDab>>;

/// Dabs without radius or alpha, and those beside `bounds`, are left out. A dab reaches `reach`
/// times its radius and a pixel: 1, but for tips whose corners stick out of the circle.
DabBuckets bucketsOf(std::span<const BrushDab> dabs, const PixelRect& bounds, double reach);

} // namespace ombrel
