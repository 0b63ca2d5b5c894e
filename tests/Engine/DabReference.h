// What a dab is to cover, from its definition: the mean of the ideal profile over a pixel by many
// samples, in double.
#pragma once

#include "Engine/BrushRecords.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

struct DabReference {
    GPUDab dab;

    double profile(double x, double y) const {
        const double dx = x - static_cast<double>(dab.center[0]);
        const double dy = y - static_cast<double>(dab.center[1]);
        const double cosine = std::cos(static_cast<double>(dab.angle));
        const double sine = std::sin(static_cast<double>(dab.angle));
        const double longRadius = static_cast<double>(dab.radius);
        const double shortRadius = longRadius * static_cast<double>(dab.roundness);
        const double t = std::hypot((dx * cosine + dy * sine) / longRadius,
                                    (dy * cosine - dx * sine) / shortRadius);
        const double hardness = static_cast<double>(dab.hardness);
        if (t <= hardness) return 1;
        if (t >= 1) return 0;
        const double u = (t - hardness) / (1 - hardness);
        return 1 - u * u * u * (10 - 15 * u + 6 * u * u);
    }

    double coverage(int x, int y, int samples = 40) const {
        double sum = 0;
        for (int j = 0; j < samples; ++j) {
            for (int i = 0; i < samples; ++i)
                sum += profile(x + (i + 0.5) / samples, y + (j + 0.5) / samples);
        }
        return sum / (samples * samples);
    }
};

} // namespace ombrel
