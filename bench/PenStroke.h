// Ten seconds of a pen as a hand would move it, 240 samples a second: loops that wander over the
// canvas, faster on straights than in turns, with a tremor and a pressure that rises and falls. The
// same one each time.
#pragma once

#include "Core/Geometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace ombrel {

struct PenSample {
    double seconds = 0;
    RealPoint place; ///< pixels around (0, 0)
    float pressure = 1;
};

/// Within `width` by `height` pixels around (0, 0).
inline std::vector<PenSample> penStroke(double width, double height) {
    constexpr int samplesPerSecond = 240;
    constexpr int count = 10 * samplesPerSecond;
    std::mt19937 random(11);
    const auto chance = [&] { return static_cast<double>(random() >> 8) * 0x1p-24 - 0.5; };
    std::vector<PenSample> samples;
    double phase = 0;
    double tremorX = 0;
    double tremorY = 0;
    for (int i = 0; i < count; ++i) {
        const double seconds = static_cast<double>(i) / samplesPerSecond;
        // Turns are slower: the phase goes on by a speed that swings.
        phase += (1 + 0.6 * std::sin(2.3 * seconds)) / samplesPerSecond;
        tremorX += 0.2 * chance() - 0.05 * tremorX;
        tremorY += 0.2 * chance() - 0.05 * tremorY;
        const double turn = 2 * std::numbers::pi * phase;
        const RealPoint place{
            width * (0.30 * std::sin(0.31 * turn + 0.4) + 0.16 * std::sin(1.1 * turn)) + tremorX,
            height * (0.28 * std::cos(0.23 * turn) + 0.18 * std::cos(1.3 * turn + 1)) + tremorY};
        const double touch = std::min(1.0, seconds * 4) * std::min(1.0, (10 - seconds) * 3);
        const double pressure =
            touch * (0.65 + 0.25 * std::sin(1.7 * seconds + 0.5)) + 0.02 * chance();
        samples.push_back({seconds, place, static_cast<float>(std::clamp(pressure, 0.05, 1.0))});
    }
    return samples;
}

} // namespace ombrel
