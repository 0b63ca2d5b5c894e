// The coverage of one row of pixels by a speckle dab: grains of paint, dense in the middle. The
// plane is cut into cells a grain wide, anchored at the dab's middle. A hash of cell and seed says
// where in its cell a grain lies, how large it is and whether it lands: more likely the greater the
// density (1 - t^2)^4, nearly a Gaussian of a third of the radius. Grains finer than a pixel
// average out: there the coverage goes over into the density itself.

#if defined(OMBREL_SPECKLE_COVERAGE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_SPECKLE_COVERAGE_INL_H
#undef OMBREL_SPECKLE_COVERAGE_INL_H
#else
#define OMBREL_SPECKLE_COVERAGE_INL_H
#endif

#include "Engine/Kernels/DabCoverage-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

using WordVector = hn::Vec<WordTag>;

HWY_INLINE WordVector hashOf(IntVector x, IntVector y, std::uint32_t seed) {
    const WordTag du;
    auto h = hn::Xor(hn::Mul(hn::BitCast(du, x), hn::Set(du, 0x9E3779B1u)),
                     hn::Mul(hn::BitCast(du, y), hn::Set(du, 0x85EBCA77u)));
    h = hn::Xor(h, hn::Set(du, seed * 0xC2B2AE3Du + 0x27D4EB2Fu));
    h = hn::Mul(hn::Xor(h, hn::ShiftRight<15>(h)), hn::Set(du, 0x2C1B3C6Du));
    h = hn::Mul(hn::Xor(h, hn::ShiftRight<12>(h)), hn::Set(du, 0x297A2D39u));
    return hn::Xor(h, hn::ShiftRight<15>(h));
}

/// Eight bits of a hash as 0 up to 1.
template <int shift>
HWY_INLINE FloatVector unitOf(WordVector hash) {
    const WordTag du;
    const auto bits = hn::And(hn::ShiftRight<shift>(hash), hn::Set(du, 0xFFu));
    return hn::Mul(hn::ConvertTo(FloatTag(), hn::BitCast(IntTag(), bits)), constant(1.0f / 256));
}

HWY_INLINE FloatVector speckleDensity(FloatVector squaredT) {
    return square(square(hn::Max(hn::Sub(constant(1), squaredT), hn::Zero(FloatTag()))));
}

/// The grain of one cell as the pixel at (x, y) sees it; all in cells.
HWY_INLINE FloatVector grainOf(FloatVector cellX, FloatVector cellY, FloatVector x, FloatVector y,
                               float cellSize, float squaredCellsToT, std::uint32_t seed) {
    const FloatTag d;
    const IntTag di;
    const auto hash = hashOf(hn::ConvertTo(di, cellX), hn::ConvertTo(di, cellY), seed);
    const auto grainX = hn::Add(cellX, unitOf<0>(hash));
    const auto grainY = hn::Add(cellY, unitOf<8>(hash));
    // Not fused, so that a grain lands on every target or on none.
    const auto squaredDistance = hn::Add(square(grainX), square(grainY));
    const auto density = speckleDensity(hn::Mul(squaredDistance, constant(squaredCellsToT)));
    // No grain is seen further than a cell away.
    const auto size = hn::Min(hn::MulAdd(unitOf<16>(hash), constant(0.4f), constant(0.35f)),
                              constant(1 - 0.5f / cellSize));
    const auto dx = hn::Sub(x, grainX);
    const auto dy = hn::Sub(y, grainY);
    const auto distance = hn::Sqrt(hn::MulAdd(dx, dx, square(dy)));
    const auto inside = hn::MulAdd(hn::Sub(size, distance), constant(cellSize), constant(0.5f));
    const auto lands = hn::Lt(unitOf<24>(hash), density);
    return hn::IfThenElse(lands, cutCoverage(inside), hn::Zero(d));
}

inline void coverBySpeckle(const DabShape& shape, std::int32_t row, ColumnSpan span, float* out) {
    const FloatTag d;
    const float cellSize = std::max(shape.grain, 1.0f);
    const float graininess = std::min(shape.grain, 1.0f);
    const float toCells = 1 / cellSize;
    // Grains end within the dab, where it is not too small for them.
    const float reach = std::max(shape.longRadius - 0.75f * cellSize - 0.5f, shape.longRadius / 2);
    const float cellsToT = cellSize / reach;
    const float dy = static_cast<float>(row) + 0.5f - shape.centerY;
    const auto y = constant(dy * toCells);
    const auto cellY = hn::Floor(y);
    const float offset = 0.5f - shape.centerX;
    const float toT = 1 / shape.longRadius;
    for (std::int32_t column = span.begin; column < span.end;
         column += static_cast<std::int32_t>(laneCount())) {
        const auto dx = columnsFrom(static_cast<float>(column) + offset);
        const auto x = hn::Mul(dx, constant(toCells));
        const auto cellX = hn::Floor(x);
        auto speckled = hn::Zero(d);
        for (int j = -1; j <= 1; ++j) {
            for (int i = -1; i <= 1; ++i) {
                const auto grain = grainOf(hn::Add(cellX, constant(static_cast<float>(i))),
                                           hn::Add(cellY, constant(static_cast<float>(j))), x, y,
                                           cellSize, cellsToT * cellsToT, shape.seed);
                speckled = hn::Max(speckled, grain);
            }
        }
        const auto squaredT = hn::Mul(hn::Add(square(dx), constant(dy * dy)), constant(toT * toT));
        const auto density = speckleDensity(squaredT);
        const auto coverage = hn::MulAdd(hn::Sub(speckled, density), constant(graininess), density);
        const auto isWithin = hn::Le(squaredT, constant(1));
        hn::StoreU(hn::IfThenElseZero(isWithin, cutCoverage(coverage)), d, out + column);
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
