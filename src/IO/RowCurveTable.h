// A tone curve or its inverse at float values, fast: tabulated at every positive half and joined
// by lines, except where a line would not follow closely enough; there, and below the normal
// halves, the curve itself is asked. Immutable; any thread.
#pragma once

#include "Core/ToneCurve.h"

#include <cstdint>
#include <vector>

namespace ombrel {

enum class CurveDirection : std::uint8_t { linearise, encode };

class RowCurveTable {
public:
    /// `tolerance` is the largest relative error that a line may make.
    RowCurveTable(const ToneCurve& curve, CurveDirection direction, double tolerance);

    /// Any finite value; mirrored below 0.
    float operator()(float x) const;
    /// The curve itself.
    double exactly(double x) const;

private:
    static constexpr std::uint32_t firstNormal = 0x0400; ///< as the bits of a half
    static constexpr std::uint32_t infinity = 0x7C00;

    ToneCurve curve_;
    CurveDirection direction_;
    bool isIdentity_;
    std::vector<float> values_;       ///< at each half from 0 to 2^16
    std::vector<std::uint8_t> rough_; ///< whether the interval above a half is no line
};

} // namespace ombrel
