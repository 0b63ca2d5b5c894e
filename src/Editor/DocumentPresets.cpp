#include "Editor/DocumentPresets.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ombrel {

namespace {

constexpr std::array<LengthUnitTraits, 5> units{{
    {LengthUnit::pixels, "px", "Pixels", 0, 0},
    {LengthUnit::inches, "in", "Inches", 1, 3},
    {LengthUnit::centimeters, "cm", "Centimeters", 2.54, 2},
    {LengthUnit::millimeters, "mm", "Millimeters", 25.4, 1},
    {LengthUnit::points, "pt", "Points", 72, 1},
}};

constexpr auto px = LengthUnit::pixels;
constexpr auto mm = LengthUnit::millimeters;
constexpr auto inch = LengthUnit::inches;

constexpr std::array<DocumentPreset, 22> presets{{
    {"Screen", "HD", 1280, 720, px, 72},        {"Screen", "Full HD", 1920, 1080, px, 72},
    {"Screen", "WQHD", 2560, 1440, px, 72},     {"Screen", "4K UHD", 3840, 2160, px, 72},
    {"Screen", "Square", 2048, 2048, px, 72},   {"Screen", "Phone", 1179, 2556, px, 72},
    {"Screen", "Icon", 1024, 1024, px, 72},     {"Photo", "4 × 6 in", 6, 4, inch, 300},
    {"Photo", "5 × 7 in", 7, 5, inch, 300},     {"Photo", "8 × 10 in", 10, 8, inch, 300},
    {"Photo", "9 × 13 cm", 130, 90, mm, 300},   {"Photo", "10 × 15 cm", 150, 100, mm, 300},
    {"Photo", "13 × 18 cm", 180, 130, mm, 300}, {"Photo", "20 × 30 cm", 300, 200, mm, 300},
    {"Print", "A6", 105, 148, mm, 300},         {"Print", "A5", 148, 210, mm, 300},
    {"Print", "A4", 210, 297, mm, 300},         {"Print", "A3", 297, 420, mm, 300},
    {"Print", "A2", 420, 594, mm, 300},         {"Print", "Letter", 8.5, 11, inch, 300},
    {"Print", "Legal", 8.5, 14, inch, 300},     {"Print", "Tabloid", 11, 17, inch, 300},
}};

} // namespace

std::span<const LengthUnitTraits> lengthUnits() {
    return units;
}

const LengthUnitTraits& traitsOf(LengthUnit unit) {
    return units[static_cast<std::size_t>(unit)];
}

double pixelsOf(double length, LengthUnit unit, double resolution) {
    return unit == px ? length : length / traitsOf(unit).perInch * resolution;
}

double lengthOf(double pixels, LengthUnit unit, double resolution) {
    return unit == px ? pixels : pixels / resolution * traitsOf(unit).perInch;
}

std::int64_t wholePixelsOf(double length, LengthUnit unit, double resolution) {
    const double pixels = std::round(pixelsOf(length, unit, resolution));
    const auto largest = static_cast<double>(largestCanvasSide);
    return static_cast<std::int64_t>(std::clamp(pixels, 1.0, largest));
}

PixelSize DocumentPreset::pixelSize() const {
    return {wholePixelsOf(width, unit, resolution), wholePixelsOf(height, unit, resolution)};
}

std::span<const DocumentPreset> documentPresets() {
    return presets;
}

} // namespace ombrel
