#include "Tools/BrushDabGenerator.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ombrel {

namespace {

constexpr double pi = std::numbers::pi;
/// A pen that barely touches still leaves a mark.
constexpr float leastPressure = 0.05F;

} // namespace

/// What all dabs of one point have in common.
struct BrushDabGenerator::Look {
    double pressure = 1;
    double tilt = 0;
    double fade = 1; ///< 0 at least
    double radius = 0;
    double alpha = 1;
    double angle = 0;
    double roundness = 1;

    double valueOf(DynamicsControl control) const {
        switch (control) {
        case DynamicsControl::fade:
            return fade;
        case DynamicsControl::penPressure:
            return pressure;
        case DynamicsControl::penTilt:
            return 1 - tilt;
        case DynamicsControl::off:
        case DynamicsControl::direction:
        case DynamicsControl::initialDirection:
            break;
        }
        return 1;
    }
};

std::vector<BrushDab> BrushDabGenerator::dabs(std::span<const StrokePoint> points) {
    std::vector<BrushDab> out;
    const auto each =
        tip_.scattering.enabled ? std::max<std::int64_t>(tip_.scattering.count, 1) : 1;
    out.reserve(points.size() * static_cast<std::size_t>(each));
    for (const StrokePoint& point : points) {
        if (previous_) {
            const double dx = point.position.x - previous_->x;
            const double dy = point.position.y - previous_->y;
            if (std::hypot(dx, dy) > 0.000001) {
                direction_ = std::atan2(dy, dx);
                if (!initialDirection_) initialDirection_ = direction_;
            }
        }
        previous_ = point.position;
        const Look look = lookAt(point);
        const BrushDab dab{
            .x = static_cast<float>(point.position.x),
            .y = static_cast<float>(point.position.y),
            .radius = static_cast<float>(look.radius),
            .hardness = static_cast<float>(tip_.hardness),
            .alpha = static_cast<float>(look.alpha),
            .aliased = tip_.aliased,
            .angle = static_cast<float>(look.angle),
            .roundness = static_cast<float>(std::clamp(look.roundness, 0.01, 1.0)),
        };
        const Scattering& scattering = tip_.scattering;
        if (scattering.enabled && (scattering.amount > 0 || scattering.count >= 2))
            scatter(point.position, dab, out);
        else
            out.push_back(dab);
        ++index_;
    }
    return out;
}

BrushDabGenerator::Look BrushDabGenerator::lookAt(const StrokePoint& point) {
    const auto fadeSteps = static_cast<double>(std::max<std::int64_t>(tip_.shape.fadeSteps, 1));
    Look look;
    look.pressure = static_cast<double>(std::max(point.pressure, leastPressure));
    look.tilt = std::min(std::hypot(point.tilt.x, point.tilt.y), 1.0);
    look.fade = std::max(1 - static_cast<double>(index_) / fadeSteps, 0.0);
    look.radius = tip_.diameter / 2;
    if (tip_.pressureControlsSize) look.radius *= look.pressure;
    look.alpha = tip_.flow;
    if (tip_.pressureControlsOpacity) look.alpha *= look.pressure;
    // Settings turn counterclockwise, dabs clockwise.
    look.angle = -tip_.angle * pi / 180;
    look.roundness = tip_.roundness;
    if (tip_.shape.enabled) applyShape(point, look);
    if (tip_.transfer.enabled) {
        const double forFlow = random_.next();
        const double forOpacity = random_.next();
        look.alpha = look.alpha * look.valueOf(tip_.transfer.flowControl) *
                     (1 - tip_.transfer.flowJitter * forFlow) *
                     (1 - tip_.transfer.opacityJitter * forOpacity);
    }
    return look;
}

void BrushDabGenerator::applyShape(const StrokePoint& point, Look& look) {
    const ShapeDynamics& shape = tip_.shape;
    const double forSize = random_.next();
    const double forAngle = random_.next();
    const double forRoundness = random_.next();
    const double sizeBase =
        shape.minimumDiameter + (1 - shape.minimumDiameter) * look.valueOf(shape.sizeControl);
    const double size = sizeBase * (1 - shape.sizeJitter * forSize);
    look.radius *= std::max(shape.minimumDiameter, size);
    look.angle += angleOf(shape.angleControl, point, look);
    look.angle += shape.angleJitter * (2 * forAngle - 1) * pi;
    const double roundBase = shape.minimumRoundness +
                             (1 - shape.minimumRoundness) * look.valueOf(shape.roundnessControl);
    look.roundness *=
        std::max(shape.minimumRoundness, (1 - shape.roundnessJitter * forRoundness) * roundBase);
}

double BrushDabGenerator::angleOf(DynamicsControl control, const StrokePoint& point,
                                  const Look& look) const {
    switch (control) {
    case DynamicsControl::off:
        break;
    case DynamicsControl::fade:
        return 2 * pi * (1 - look.fade);
    case DynamicsControl::penPressure:
        return 2 * pi * look.pressure;
    case DynamicsControl::penTilt:
        return std::atan2(point.tilt.y, point.tilt.x);
    case DynamicsControl::direction:
        return direction_.value_or(0);
    case DynamicsControl::initialDirection:
        return initialDirection_ ? *initialDirection_ : direction_.value_or(0);
    }
    return 0;
}

void BrushDabGenerator::scatter(RealPoint around, BrushDab dab, std::vector<BrushDab>& out) {
    const Scattering& scattering = tip_.scattering;
    const auto most = static_cast<double>(scattering.count);
    const double fewer = std::floor(scattering.countJitter * random_.next() * most);
    const auto count =
        std::max<std::int64_t>(scattering.count - static_cast<std::int64_t>(fewer), 1);
    const double sine = std::sin(direction_.value_or(0));
    const double cosine = std::cos(direction_.value_or(0));
    const double reach = tip_.diameter * scattering.amount;
    for (std::int64_t i = 0; i < count; ++i) {
        const double across = reach * (2 * random_.next() - 1);
        const double along = scattering.bothAxes ? reach * (2 * random_.next() - 1) : 0;
        dab.x = static_cast<float>(around.x - sine * across + cosine * along);
        dab.y = static_cast<float>(around.y + cosine * across + sine * along);
        out.push_back(dab);
    }
}

} // namespace ombrel
