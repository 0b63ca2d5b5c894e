// Conversions for colour pickers, in double: RGB and HSB of display components, and from display
// components to a document colour. Pure functions; any thread.
#pragma once

#include "Core/PremultipliedColor.h"

#include <cstdint>

namespace ombrel::ColorMath {

/// Straight, sRGB-encoded, 0 to 1.
struct DisplayRgb {
    double red = 0;
    double green = 0;
    double blue = 0;

    bool operator==(const DisplayRgb&) const = default;
};

struct Hsb {
    double hue = 0; ///< degrees, 0 up to below 360; 0 for grays
    double saturation = 0;
    double brightness = 0;

    bool operator==(const Hsb&) const = default;
};

/// Components are cut to 0 and 1 first.
Hsb hsbOf(const DisplayRgb& rgb);
/// Saturation and brightness are cut to 0 and 1; any hue is brought into the circle.
DisplayRgb rgbOf(const Hsb& hsb);

/// What a picked colour is in a document: decoded with the sRGB curve, then premultiplied.
PremultipliedColor documentColorOf(const DisplayRgb& rgb, double alpha = 1);
/// Opaque, of an sRGB-encoded colour as 0xRRGGBB, decoded by TransferFunction.
PremultipliedColor colorOfCode(std::uint32_t code);

} // namespace ombrel::ColorMath
