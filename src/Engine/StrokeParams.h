// The parts of a stroke that are the same for all of a batch, as the kernels read them. Pure.
#pragma once

#include "Engine/BrushRecords.h"
#include "Engine/DabBuckets.h"
#include "Engine/StrokeRenderer.h"

namespace ombrel {

/// Tiles beside the painted ones that the style reads: where a clone comes from, or what a blur
/// mixes. Empty for styles that look at a pixel alone.
TileRange neighbourhoodWindow(const DabBuckets& buckets, const StrokeStyle& style);

BrushPassParams brushPassParams(const StrokeRenderer::Target& target, const StrokeStyle& style,
                                std::size_t tileCount, const TileRange& window);

} // namespace ombrel
