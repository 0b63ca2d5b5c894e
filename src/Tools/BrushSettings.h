// All settings of a brush-like tool, and the stored form of a brush. Plain values; readers and
// setters bring them into the ranges that stand here.
#pragma once

#include "Base/Uuid.h"
#include "Engine/BrushTipImage.h"
#include "Engine/StrokeStyle.h"
#include "Tools/BrushDynamics.h"
#include "Tools/BrushTip.h"
#include "Tools/SprayDynamics.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ombrel {

struct BrushRange {
    double minimum;
    double maximum;
};

namespace BrushRanges {

inline constexpr BrushRange size{1, 2000}; ///< document pixels
inline constexpr BrushRange fraction{0, 1};
inline constexpr BrushRange angle{-360, 360}; ///< degrees
inline constexpr BrushRange roundness{0.01, 1};
inline constexpr BrushRange spacing{0.01, 10}; ///< diameters
inline constexpr BrushRange scatter{0, 10};    ///< diameters
inline constexpr BrushRange grain{0, 10};
inline constexpr std::int64_t mostFadeSteps = 9999;
inline constexpr std::int64_t mostDabs = 16; ///< of one point

} // namespace BrushRanges

struct BrushSettings {
    double size = 30; ///< diameter, document pixels
    double hardness = 0.8;
    double opacity = 1;   ///< no place of a stroke gets more
    double flow = 1;      ///< of one dab
    double spacing = 0.1; ///< diameters
    bool pressureControlsSize = true;
    bool pressureControlsOpacity = false;
    double angle = 0; ///< degrees, counterclockwise on the screen
    double roundness = 1;
    double smoothing = 0.1;
    PaintBlend blend;
    ShapeDynamics shape;
    Scattering scattering;
    Transfer transfer;
    SharedBrushTip tipImage;      ///< null: round
    std::optional<Uuid> presetID; ///< the preset these came from
    std::optional<SprayDynamics> spray;

    /// Brought into range; what is not a number becomes the default.
    BrushSettings clamped() const;
    /// What a stroke with these sees of them.
    BrushTip tip(bool aliased) const;

    bool operator==(const BrushSettings& other) const;
};

/// A brush as it is kept: everything but how strongly and in which mode it is used.
struct BrushPreset {
    Uuid id;
    std::string name;
    std::optional<Uuid> tipID; ///< absent: round
    double size = 30;
    double hardness = 0.8;
    double angle = 0;
    double roundness = 1;
    double spacing = 0.1;
    double flow = 1;
    double smoothing = 0.1;
    bool pressureControlsSize = true;
    bool pressureControlsOpacity = false;
    ShapeDynamics shape;
    Scattering scattering;
    Transfer transfer;
    std::optional<SprayDynamics> spray;

    static BrushPreset of(const BrushSettings& settings, std::string name);
    /// Puts it in the place of what it holds, with its tip (null: round).
    void applyTo(BrushSettings& settings, SharedBrushTip tip) const;
    BrushPreset clamped() const;
    /// Whether a stroke with one is a stroke with the other, whatever they are called.
    bool paintsAs(const BrushPreset& other) const;

    bool operator==(const BrushPreset&) const = default;
};

} // namespace ombrel
