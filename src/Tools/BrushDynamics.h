// How a brush varies along a stroke: what follows the pen or the way, and what follows chance.
// Plain values; jitters and minima are fractions.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace ombrel {

/// What a property follows.
enum class DynamicsControl : std::uint8_t {
    off,
    fade, ///< from full to nothing within `fadeSteps`
    penPressure,
    penTilt,
    direction, ///< of the stroke
    initialDirection,
};

struct DynamicsControlName {
    DynamicsControl control;
    std::string_view rawValue;
    std::string_view displayName;
};

inline constexpr std::array<DynamicsControlName, 6> dynamicsControlNames{{
    {DynamicsControl::off, "off", "Off"},
    {DynamicsControl::fade, "fade", "Fade"},
    {DynamicsControl::penPressure, "penPressure", "Pen Pressure"},
    {DynamicsControl::penTilt, "penTilt", "Pen Tilt"},
    {DynamicsControl::direction, "direction", "Direction"},
    {DynamicsControl::initialDirection, "initialDirection", "Initial Direction"},
}};

struct ShapeDynamics {
    bool enabled = false;
    double sizeJitter = 0;
    DynamicsControl sizeControl = DynamicsControl::off;
    double minimumDiameter = 0;
    double angleJitter = 0;
    DynamicsControl angleControl = DynamicsControl::off;
    double roundnessJitter = 0;
    DynamicsControl roundnessControl = DynamicsControl::off;
    double minimumRoundness = 0.25;
    std::int64_t fadeSteps = 25; ///< points of the stroke

    bool operator==(const ShapeDynamics&) const = default;
};

struct Scattering {
    bool enabled = false;
    double amount = 0;     ///< brush diameters
    bool bothAxes = false; ///< along the stroke too
    std::int64_t count = 1;
    double countJitter = 0;

    bool operator==(const Scattering&) const = default;
};

struct Transfer {
    bool enabled = false;
    double opacityJitter = 0;
    double flowJitter = 0;
    DynamicsControl flowControl = DynamicsControl::off;

    bool operator==(const Transfer&) const = default;
};

} // namespace ombrel
