// The guides within a crop box, as lines in a unit square. Pure functions.
#pragma once

#include "Core/Geometry.h"
#include "Tools/OverlayShape.h"

#include <vector>

namespace ombrel {

std::vector<std::vector<RealPoint>> cropGuides(CropOverlay overlay);

} // namespace ombrel
