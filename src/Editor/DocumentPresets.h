// The sizes that a new document is offered in, and lengths in the units that people give them in.
// Plain tables and functions; any thread.
#pragma once

#include "Core/Canvas.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace ombrel {

enum class LengthUnit : std::uint8_t { pixels, inches, centimeters, millimeters, points };

struct LengthUnitTraits {
    LengthUnit unit;
    std::string_view symbol;
    std::string_view name;
    double perInch; ///< 0 for pixels, of which the resolution says it
    int decimals;   ///< worth showing
};
std::span<const LengthUnitTraits> lengthUnits();
const LengthUnitTraits& traitsOf(LengthUnit unit);

/// `resolution` in pixels per inch.
double pixelsOf(double length, LengthUnit unit, double resolution);
double lengthOf(double pixels, LengthUnit unit, double resolution);
/// Whole pixels, 1 to the largest side of a canvas.
std::int64_t wholePixelsOf(double length, LengthUnit unit, double resolution);

struct DocumentPreset {
    std::string_view group; ///< "Screen"
    std::string_view name;  ///< "Full HD"
    double width;
    double height;
    LengthUnit unit;
    double resolution; ///< pixels per inch

    PixelSize pixelSize() const;
};
std::span<const DocumentPreset> documentPresets(); ///< those of a group stand together

} // namespace ombrel
