// How a spray can sprays. Plain values, fractions.
#pragma once

namespace ombrel {

struct SprayDynamics {
    double spread = 0.5;  ///< 0 a tight skinny cap, 1 a wide fat one
    double grain = 1.0;   ///< size of the fine grain in the core
    double spatter = 0.2; ///< how many bigger droplets land around the spray
    double dropSize = 0.35;
    bool drips = true;          ///< too much paint in one place runs down
    double dripThreshold = 0.6; ///< how much a place holds before it runs
    double runniness = 0.5;     ///< how far and how thick drips run

    bool operator==(const SprayDynamics&) const = default;
};

} // namespace ombrel
