// How colours reach a display: from the linear light of a document to that of the display by a
// matrix, and from there to bytes by a table of the display's curves. The table goes by the root of
// the light, since curves are steep near black: 4096 steps err by less than a twentieth of a byte.
// Belongs to one presenter.
#pragma once

#include "Core/ProfileConversion.h"

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace ombrel {

class DisplayColors {
public:
    static constexpr int side = 64; ///< of the table as a square texture
    static constexpr int steps = side * side;
    using Curve = std::vector<std::uint8_t>; ///< by the root of light, from 0 to 1

    explicit DisplayColors(const ColorProfile& display = ColorProfile::sRGB());

    /// The identity where there is no such matrix.
    const ProfileConversion& conversionFrom(const ColorProfile& document);
    const std::array<Curve, 3>& curves() const { return curves_; } ///< red, green, blue

private:
    static constexpr std::size_t keptConversions = 64;

    ColorProfile display_;
    std::array<Curve, 3> curves_;
    std::vector<std::pair<ColorProfile, ProfileConversion>> conversions_;
};

} // namespace ombrel
