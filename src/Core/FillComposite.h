// How a fill (bucket, gradient, shape) lays colour on existing pixels. A value; any thread.
#pragma once

#include "Core/BlendMode.h"
#include "Core/PremultipliedColor.h"

#include <cstdint>

namespace ombrel {

struct FillComposite {
    BlendMode blend = BlendMode::normal;
    float opacity = 1;      ///< of the whole fill; whoever makes the coverage folds it in
    bool perceptual = true; ///< blend sRGB-encoded values instead of linear ones

    /// The pixel (x, y) after the fill: `source` and `backdrop` are premultiplied and linear, the
    /// result too. `coverage`, 0 to 1, already holds `opacity`.
    PremultipliedColor apply(const PremultipliedColor& source, const PremultipliedColor& backdrop,
                             float coverage, std::int32_t x, std::int32_t y) const;

    bool operator==(const FillComposite&) const = default;
};

} // namespace ombrel
