// Named colours that people keep, in named sets: what palette files hold. Values; any thread.
#pragma once

#include "Core/ColorMath.h"

#include <string>
#include <vector>

namespace ombrel {

struct Swatch {
    std::string name; ///< may be empty
    ColorMath::DisplayRgb color;

    bool operator==(const Swatch&) const = default;
};

struct SwatchSet {
    std::string name;
    std::vector<Swatch> swatches;

    bool operator==(const SwatchSet&) const = default;
};

} // namespace ombrel
