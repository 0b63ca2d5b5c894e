#include "Tools/BrushSettings.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ombrel {

namespace {

using namespace BrushRanges;

void bring(double& value, BrushRange into, double otherwise) {
    value = std::isnan(value) ? otherwise : std::clamp(value, into.minimum, into.maximum);
}

void bring(std::int64_t& value, std::int64_t most) {
    value = std::clamp<std::int64_t>(value, 1, most);
}

void bringIntoRange(ShapeDynamics& shape) {
    constexpr ShapeDynamics defaults;
    for (double* const jitter :
         {&shape.sizeJitter, &shape.minimumDiameter, &shape.angleJitter, &shape.roundnessJitter})
        bring(*jitter, fraction, 0);
    bring(shape.minimumRoundness, fraction, defaults.minimumRoundness);
    bring(shape.fadeSteps, mostFadeSteps);
}

void bringIntoRange(Scattering& scattering) {
    bring(scattering.amount, scatter, 0);
    bring(scattering.count, mostDabs);
    bring(scattering.countJitter, fraction, 0);
}

void bringIntoRange(Transfer& transfer) {
    bring(transfer.opacityJitter, fraction, 0);
    bring(transfer.flowJitter, fraction, 0);
}

void bringIntoRange(SprayDynamics& spray) {
    constexpr SprayDynamics defaults;
    bring(spray.spread, fraction, defaults.spread);
    bring(spray.grain, grain, defaults.grain);
    bring(spray.spatter, fraction, defaults.spatter);
    bring(spray.dropSize, fraction, defaults.dropSize);
    bring(spray.dripThreshold, fraction, defaults.dripThreshold);
    bring(spray.runniness, fraction, defaults.runniness);
}

/// What settings and presets have in common.
template <typename Brush>
void bringBrushIntoRange(Brush& brush) {
    static const Brush defaults;
    bring(brush.size, BrushRanges::size, defaults.size);
    bring(brush.hardness, fraction, defaults.hardness);
    bring(brush.angle, BrushRanges::angle, defaults.angle);
    bring(brush.roundness, BrushRanges::roundness, defaults.roundness);
    bring(brush.spacing, BrushRanges::spacing, defaults.spacing);
    bring(brush.flow, fraction, defaults.flow);
    bring(brush.smoothing, fraction, defaults.smoothing);
    bringIntoRange(brush.shape);
    bringIntoRange(brush.scattering);
    bringIntoRange(brush.transfer);
    if (brush.spray) bringIntoRange(*brush.spray);
}

template <typename From, typename To>
void copyBrush(const From& from, To& to) {
    to.size = from.size;
    to.hardness = from.hardness;
    to.angle = from.angle;
    to.roundness = from.roundness;
    to.spacing = from.spacing;
    to.flow = from.flow;
    to.smoothing = from.smoothing;
    to.pressureControlsSize = from.pressureControlsSize;
    to.pressureControlsOpacity = from.pressureControlsOpacity;
    to.shape = from.shape;
    to.scattering = from.scattering;
    to.transfer = from.transfer;
    to.spray = from.spray;
}

std::optional<Uuid> idOf(const SharedBrushTip& tip) {
    return tip ? std::optional(tip->id) : std::nullopt;
}

} // namespace

BrushSettings BrushSettings::clamped() const {
    BrushSettings inRange = *this;
    bringBrushIntoRange(inRange);
    bring(inRange.opacity, fraction, 1);
    return inRange;
}

BrushTip BrushSettings::tip(bool aliased) const {
    return {.diameter = size,
            .hardness = hardness,
            .angle = angle,
            .roundness = roundness,
            .flow = flow,
            .aliased = aliased,
            .image = tipImage,
            .pressureControlsSize = pressureControlsSize,
            .pressureControlsOpacity = pressureControlsOpacity,
            .shape = shape,
            .scattering = scattering,
            .transfer = transfer};
}

bool BrushSettings::operator==(const BrushSettings& other) const {
    // Tips are told apart by their ids: an image of 256 by 256 is not compared on every change.
    return BrushPreset::of(*this, {}).paintsAs(BrushPreset::of(other, {})) &&
           opacity == other.opacity && blend == other.blend && presetID == other.presetID;
}

BrushPreset BrushPreset::of(const BrushSettings& settings, std::string name) {
    BrushPreset preset;
    preset.name = std::move(name);
    preset.tipID = idOf(settings.tipImage);
    copyBrush(settings, preset);
    return preset;
}

void BrushPreset::applyTo(BrushSettings& settings, SharedBrushTip tip) const {
    copyBrush(*this, settings);
    settings.tipImage = std::move(tip);
    settings.presetID = id;
}

BrushPreset BrushPreset::clamped() const {
    BrushPreset inRange = *this;
    bringBrushIntoRange(inRange);
    return inRange;
}

bool BrushPreset::paintsAs(const BrushPreset& other) const {
    BrushPreset renamed = other;
    renamed.id = id;
    renamed.name = name;
    return *this == renamed;
}

} // namespace ombrel
