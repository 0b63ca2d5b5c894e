// What a stroke sees of the settings of its brush; fixed when the stroke begins. A plain value.
#pragma once

#include "Engine/BrushTipImage.h"
#include "Tools/BrushDynamics.h"

namespace ombrel {

struct BrushTip {
    double diameter = 30; ///< document pixels
    double hardness = 0.8;
    double angle = 0; ///< degrees, counterclockwise on the screen
    double roundness = 1;
    double flow = 1;
    bool aliased = false;
    SharedBrushTip image; ///< null: round
    bool pressureControlsSize = true;
    bool pressureControlsOpacity = false;
    ShapeDynamics shape;
    Scattering scattering;
    Transfer transfer;
};

} // namespace ombrel
