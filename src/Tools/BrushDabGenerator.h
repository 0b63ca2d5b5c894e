// Makes dabs of the points of a stroke by the dynamics of its tip. The same tip, seed and points
// give the same dabs to the last bit, however the points are batched. A value that a tool owns for
// one stroke.
#pragma once

#include "Engine/BrushDab.h"
#include "Tools/BrushRandom.h"
#include "Tools/BrushTip.h"
#include "Tools/StrokePoint.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ombrel {

class BrushDabGenerator {
public:
    explicit BrushDabGenerator(BrushTip tip = {}, std::uint64_t seed = 0)
        : tip_(std::move(tip)), random_{seed} {}

    std::vector<BrushDab> dabs(std::span<const StrokePoint> points);

private:
    struct Look;

    Look lookAt(const StrokePoint& point);
    void applyShape(const StrokePoint& point, Look& look);
    double angleOf(DynamicsControl control, const StrokePoint& point, const Look& look) const;
    void scatter(RealPoint around, BrushDab dab, std::vector<BrushDab>& out);

    BrushTip tip_;
    BrushRandom random_;
    std::int64_t index_ = 0; ///< points done
    std::optional<RealPoint> previous_;
    std::optional<double> direction_; ///< radians
    std::optional<double> initialDirection_;
};

} // namespace ombrel
