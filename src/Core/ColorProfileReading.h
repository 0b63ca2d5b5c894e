// What a profile says once its ICC data are read: the words people see, the kind of its numbers
// and, where it is that simple, the matrix and curves that take them to the connection space. The
// data come from files and may be damaged in any way. Any thread.
#pragma once

#include "Core/ToneCurve.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace ombrel {

enum class ColorModel : std::uint8_t { gray, rgb, cmyk, lab, other };

/// By rows; in double, as conversions are composed from inverses.
using Matrix3 = std::array<std::array<double, 3>, 3>;

Matrix3 productOf(const Matrix3& left, const Matrix3& right);
std::optional<Matrix3> inverseOf(const Matrix3& matrix); ///< nothing when singular

/// An RGB space: three curves to linear light, then a matrix to CIE XYZ under D50.
struct MatrixShaper {
    Matrix3 toXYZ{}; ///< its columns are the colorants
    std::array<ToneCurve, 3> curves;

    bool operator==(const MatrixShaper&) const = default;
};

struct ColorProfileReading {
    std::string description; ///< UTF-8, may be empty
    ColorModel model = ColorModel::other;
    std::optional<MatrixShaper> shaper; ///< of an RGB profile with matrix and usable curves
    std::optional<ToneCurve> grayCurve; ///< of a gray profile
    /// Holds tables from device values to the connection space beside or instead of curves.
    bool hasTables = false;
};

/// Nothing when the data cannot be read as a profile at all.
std::optional<ColorProfileReading> readColorProfile(std::span<const std::byte> iccData);

/// D50 XYZ to linear sRGB, unbounded.
const Matrix3& linearSRGBFromXYZ();

} // namespace ombrel
