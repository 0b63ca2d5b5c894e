#include "IO/RowCurveTable.h"

#include <limits>

namespace ombrel {

RowCurveTable::RowCurveTable(const ToneCurve& curve, CurveDirection direction, double tolerance)
    : curve_(curve), direction_(direction), lines_((beyond - smallestNormal) >> 13) {
    const auto argumentAt = [](std::size_t index) {
        const auto bits = smallestNormal + (static_cast<std::uint32_t>(index) << 13);
        return double{std::bit_cast<float>(bits)};
    };
    double value = exactly(argumentAt(0));
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const double next = exactly(argumentAt(i + 1));
        const double middle = exactly((argumentAt(i) + argumentAt(i + 1)) / 2);
        const bool isLine = std::fabs((value + next) / 2 - middle) <= tolerance * middle;
        lines_[i].value = static_cast<float>(value);
        lines_[i].slope = isLine ? static_cast<float>((next - value) * 0x1p-13)
                                 : std::numeric_limits<float>::quiet_NaN();
        value = next;
    }
}

double RowCurveTable::exactly(double x) const {
    return direction_ == CurveDirection::linearise ? curve_.linearised(x) : curve_.encoded(x);
}

} // namespace ombrel
