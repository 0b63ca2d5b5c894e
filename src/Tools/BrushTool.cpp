#include "Tools/BrushTool.h"

#include "Tools/BrushToolExtras.h"
#include "Tools/BuiltInBrushes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>
#include <numbers>
#include <random>
#include <utility>

namespace ombrel {

namespace {

/// Strokes go no further: no canvas is that large, and every pixel of the way is walked.
constexpr double farthest = 1e6;
constexpr double leastSpacing = 0.5;     ///< document pixels
constexpr double pointsOfSmoothing = 60; ///< the longest string, in the view
constexpr double smallestVisible = 3;    ///< radius of a mark that can be seen, view points
constexpr float leastVisiblePressure = 0.05F;

constexpr std::array brushLike{ToolKind::brush,      ToolKind::eraser, ToolKind::healingBrush,
                               ToolKind::cloneStamp, ToolKind::dodge,  ToolKind::burn,
                               ToolKind::sponge,     ToolKind::blur,   ToolKind::sharpen};

BrushSettings firstSettings(ToolKind kind) {
    BrushSettings settings;
    if (std::ranges::find(brushLike, kind) == brushLike.end()) {
        settings.size = 1;
        settings.hardness = 1;
    }
    return settings;
}

std::uint64_t randomSeed() {
    std::random_device device;
    return (static_cast<std::uint64_t>(device()) << 32) | device();
}

bool isFinite(RealPoint point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

RealPoint withinReach(RealPoint point) {
    return {std::clamp(point.x, -farthest, farthest), std::clamp(point.y, -farthest, farthest)};
}

} // namespace

BrushTool::BrushTool(ToolKind kind)
    : findTip(BuiltInBrushes::tip), kind_(kind), options_(firstSettings(kind)),
      optionsChange_(
          options_.onChange([this](const BrushSettings& /*now*/) { settingsChanged.emit(); })) {}

ToolCursor BrushTool::currentCursor(ToolModifiers modifiers) const {
    if (modifiers.contains(ToolModifiers::capsLock)) return ToolCursor::crosshair;
    const bool isTooSmall = !input_.adjusting && input_.viewRadius < smallestVisible;
    return isTooSmall ? ToolCursor::crosshair : ToolCursor::none;
}

LayerLocks BrushTool::blockingLocks() const {
    const bool paintsAway = kind_ == ToolKind::brush || kind_ == ToolKind::eraser;
    return paintsAway ? LayerLocks::transparency : LayerLocks::position;
}

std::optional<StrokeStyle> BrushTool::makeStyle(const PointerSample& /*sample*/, ToolContext& in) {
    return plainStyle(in);
}

StrokeStyle BrushTool::plainStyle(const ToolContext& in) const {
    StrokeStyle style;
    style.opacity = static_cast<float>(options_->opacity);
    if (kind_ == ToolKind::eraser) {
        style.mode = StrokeStyle::Mode::erase;
        style.color = PremultipliedColor{};
    } else {
        style.color = in.foregroundColor();
        style.blend = options_->blend;
    }
    if (kind_ == ToolKind::pencil) return style;
    style.tip = options_->tipImage;
    style.spacing = static_cast<float>(options_->spacing);
    return style;
}

void BrushTool::finishStroke(StrokeHandle& stroke, ToolContext& /*in*/) {
    stroke.end();
}

void BrushTool::pointerDown(const PointerSample& sample, ToolContext& in) {
    input_.precise = sample.modifiers.contains(ToolModifiers::capsLock);
    if (!isFinite(sample.location)) return;
    if (sample.modifiers.contains(ToolModifiers::option | ToolModifiers::control)) {
        beginAdjusting(sample, in);
        return;
    }
    const std::optional<StrokeStyle> style = makeStyle(sample, in);
    if (!style) return;
    stroke_ = in.beginStroke(*style, fmt::format("{} Tool", descriptionOf(kind_).displayName));
    if (!stroke_) return;
    beginPipeline(sample, in);
    in.setNeedsOverlayDisplay();
}

void BrushTool::beginAdjusting(const PointerSample& sample, ToolContext& in) {
    input_.adjusting = {sample.viewLocation, options_->size, options_->hardness};
    hover_ = sample.location;
    in.setNeedsOverlayDisplay();
}

void BrushTool::beginPipeline(const PointerSample& sample, ToolContext& in) {
    const double scale = in.viewTransform().scale;
    const RealPoint location = withinReach(sample.location);
    interpolator_ = StrokeInterpolator(std::max(options_->size * options_->spacing, leastSpacing));
    smoother_ = StrokeSmoother(options_->smoothing * pointsOfSmoothing / std::max(scale, 0.000001));
    generator_ = BrushDabGenerator(options_->tip(kind_ == ToolKind::pencil),
                                   dynamicsSeed_ ? *dynamicsSeed_ : randomSeed());
    lastPressure_ = sample.pressure;
    const bool hasShift = sample.modifiers.contains(ToolModifiers::shift);
    if (hasShift && lastStrokeEnd_) {
        extend(interpolator_.start(smoother_.begin(pointOf(sample, *lastStrokeEnd_))));
        addPoint(pointOf(sample, location));
    } else {
        extend(interpolator_.start(smoother_.begin(pointOf(sample, location))));
    }
    input_.axisLock.reset();
    if (hasShift) input_.axisLock = PaintingInput::AxisLock{location, std::nullopt};
    lastPoint_ = location;
    hover_ = location;
}

void BrushTool::pointerDragged(const PointerSample& sample, ToolContext& in) {
    if (!isFinite(sample.location)) return;
    const double scale = in.viewTransform().scale;
    if (input_.adjusting) {
        input_.adjust(sample.viewLocation, scale, options_);
        in.setNeedsOverlayDisplay();
        return;
    }
    RealPoint location = withinReach(sample.location);
    if (input_.axisLock) location = input_.axisLock->apply(location, scale);
    hover_ = location;
    lastPressure_ = sample.pressure;
    in.setNeedsOverlayDisplay();
    if (!stroke_) return;
    lastPoint_ = location;
    addPoint(pointOf(sample, location));
}

void BrushTool::pointerUp(const PointerSample& sample, ToolContext& in) {
    if (input_.adjusting) {
        input_.adjusting.reset();
        hover_ = sample.location;
        in.setNeedsOverlayDisplay();
        return;
    }
    if (!stroke_) return;
    if (const auto end = smoother_.finish()) extend(interpolator_.add(*end));
    extend(interpolator_.finish());
    const std::shared_ptr<StrokeHandle> stroke = std::exchange(stroke_, nullptr);
    finishStroke(*stroke, in);
    lastStrokeEnd_ = lastPoint_;
    input_.axisLock.reset();
    lastPressure_ = 1;
    in.setNeedsOverlayDisplay();
}

void BrushTool::pointerMoved(const std::optional<PointerSample>& sample, ToolContext& in) {
    if (sample) {
        hover_ = sample->location;
        input_.precise = sample->modifiers.contains(ToolModifiers::capsLock);
    } else {
        hover_.reset();
    }
    in.setNeedsOverlayDisplay();
}

bool BrushTool::keyDown(const ToolKey& key, ToolModifiers modifiers, ToolContext& in) {
    const bool isUsed = input_.handleKey(key, modifiers, options_, changesHardness(), now());
    if (isUsed) in.setNeedsOverlayDisplay();
    return isUsed;
}

void BrushTool::cancelGesture(ToolContext& in) {
    if (const auto adjusting = std::exchange(input_.adjusting, std::nullopt)) {
        options_.setSize(adjusting->size);
        options_.setHardness(adjusting->hardness);
    }
    input_.axisLock.reset();
    lastPressure_ = 1;
    stroke_.reset(); // let go without an end, it is taken back
    in.setNeedsOverlayDisplay();
}

std::vector<OverlayShape> BrushTool::overlayShapes(const ToolContext& in) const {
    if (!hover_) return {};
    const double radius = visibleRadius();
    input_.viewRadius = radius * in.viewTransform().scale;
    if (input_.adjusting) return adjustingShapes(*hover_, radius);
    if (input_.precise) return {};
    std::vector<OverlayShape> shapes;
    if (options_->roundness >= 0.999)
        shapes.push_back({OverlayShape::Circle{*hover_, radius}});
    else
        shapes.push_back({OverlayShape::Tip{
            *hover_, radius, -options_->angle * std::numbers::pi / 180, options_->roundness}});
    if (input_.viewRadius >= smallestVisible) shapes.push_back({OverlayShape::CenterMark{*hover_}});
    return shapes;
}

std::vector<OverlayShape> BrushTool::adjustingShapes(RealPoint at, double radius) const {
    const double hardness = options_->hardness;
    std::vector<OverlayShape> shapes{{OverlayShape::Circle{at, radius}}};
    if (hardness > 0.01 && hardness < 0.99)
        shapes.push_back({OverlayShape::Circle{at, radius * hardness}});
    shapes.push_back({OverlayShape::Readout{fmt::format("{} px · Hardness {}%",
                                                        static_cast<std::int64_t>(options_->size),
                                                        static_cast<std::int64_t>(hardness * 100)),
                                            at}});
    return shapes;
}

double BrushTool::visibleRadius() const {
    const double radius = options_->size / 2;
    if (!stroke_ || !options_->pressureControlsSize) return radius;
    return radius * static_cast<double>(std::max(lastPressure_, leastVisiblePressure));
}

void BrushTool::restoreSettings(const Json& stored) {
    if (!stored.is_object()) return;
    options_.restore(SavedBrushSettings::from(stored), findTip);
    auto* const more = dynamic_cast<BrushToolExtras*>(this);
    if (more != nullptr && hasField(stored, "extras")) more->restoreExtras(stored["extras"]);
}

Json BrushTool::storedSettings() const {
    Json json = options_.saved().stored();
    if (const auto* more = dynamic_cast<const BrushToolExtras*>(this))
        json["extras"] = more->extras();
    return json;
}

void BrushTool::extend(const std::vector<StrokePoint>& points) {
    if (points.empty()) return;
    const std::vector<BrushDab> dabs = generator_.dabs(points);
    stroke_->extend(dabs);
}

void BrushTool::addPoint(const StrokePoint& point) {
    if (const auto brush = smoother_.add(point)) extend(interpolator_.add(*brush));
}

StrokePoint BrushTool::pointOf(const PointerSample& sample, RealPoint location) const {
    return {location, sample.pressure, sample.tilt};
}

} // namespace ombrel
