// A tone curve or its inverse at float values, fast: tabulated at every positive half and joined
// by lines, except where a line would not follow closely enough; there, and below the normal
// halves, the curve itself is asked. Immutable; any thread.
#pragma once

#include "Core/ToneCurve.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace ombrel {

enum class CurveDirection : std::uint8_t { linearise, encode };

class RowCurveTable {
public:
    /// `tolerance` is the largest relative error that a line may make.
    RowCurveTable(const ToneCurve& curve, CurveDirection direction, double tolerance);

    /// Any finite value; mirrored below 0.
    float operator()(float x) const {
        const std::uint32_t magnitude = std::bit_cast<std::uint32_t>(x) & 0x7FFFFFFFu;
        const std::uint32_t offset = magnitude - smallestNormal; // wraps for what is smaller
        if (offset < beyond - smallestNormal) [[likely]] {
            const Line& line = lines_[offset >> 13];
            const float y = line.value + line.slope * static_cast<float>(magnitude & 0x1FFFu);
            if (y == y) [[likely]]
                return std::copysign(y, x);
        }
        return magnitude == 0 ? x : static_cast<float>(exactly(x));
    }
    /// The curve itself.
    double exactly(double x) const;

private:
    static constexpr std::uint32_t smallestNormal = 0x38800000; ///< 2^-14 as a float
    static constexpr std::uint32_t beyond = 0x47800000;         ///< 2^16 as a float

    /// Over the floats between two halves; the slope is per unit in the last place of the float,
    /// and not a number where the curve is no line.
    struct Line {
        float value = 0;
        float slope = 0;
    };

    ToneCurve curve_;
    CurveDirection direction_;
    std::vector<Line> lines_;
};

} // namespace ombrel
