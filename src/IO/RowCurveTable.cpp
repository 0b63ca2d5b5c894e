#include "IO/RowCurveTable.h"

#include "Base/Half.h"

#include <bit>
#include <cmath>

namespace ombrel {

RowCurveTable::RowCurveTable(const ToneCurve& curve, CurveDirection direction, double tolerance)
    : curve_(curve), direction_(direction), isIdentity_(curve == ToneCurve()) {
    // Samples are joined by lines already: faster to ask than to tabulate.
    if (isIdentity_ || (curve.isSampled() && direction == CurveDirection::linearise)) return;
    values_.resize(infinity + 1);
    rough_.assign(infinity, 1);
    const auto argumentAt = [](std::uint32_t bits) {
        return bits == infinity ? 65536.0 : toFloat(Half{static_cast<std::uint16_t>(bits)});
    };
    for (std::uint32_t bits = 0; bits <= infinity; ++bits)
        values_[bits] = static_cast<float>(exactly(argumentAt(bits)));
    for (std::uint32_t bits = firstNormal; bits < infinity; ++bits) {
        const double middle = exactly((argumentAt(bits) + argumentAt(bits + 1)) / 2);
        const double onLine = (double{values_[bits]} + double{values_[bits + 1]}) / 2;
        rough_[bits] = !(std::fabs(onLine - middle) <= tolerance * middle);
    }
}

double RowCurveTable::exactly(double x) const {
    return direction_ == CurveDirection::linearise ? curve_.linearised(x) : curve_.encoded(x);
}

float RowCurveTable::operator()(float x) const {
    if (isIdentity_) return x;
    const std::uint32_t magnitude = std::bit_cast<std::uint32_t>(x) & 0x7FFFFFFFu;
    constexpr std::uint32_t smallestNormal = 0x38800000; // 2^-14
    constexpr std::uint32_t beyond = 0x47800000;         // 2^16
    if (magnitude == 0) return x;
    if (values_.empty() || magnitude < smallestNormal || magnitude >= beyond) {
        return static_cast<float>(exactly(x));
    }
    const std::uint32_t index = (magnitude - 0x38000000u) >> 13;
    if (rough_[index] != 0) return static_cast<float>(exactly(x));
    const float share = static_cast<float>(magnitude & 0x1FFFu) * 0x1p-13f;
    const float y = values_[index] + (values_[index + 1] - values_[index]) * share;
    return std::copysign(y, x);
}

} // namespace ombrel
