#include "Tools/EyedropperTool.h"

#include "Engine/Sampling.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace ombrel {

namespace {

constexpr std::string_view activeLayerName = "activeLayer";
constexpr std::string_view allLayersName = "allLayers";

std::int64_t offeredSide(std::int64_t side) {
    std::int64_t nearest = EyedropperTool::sampleSizes.front().side;
    for (const auto& size : EyedropperTool::sampleSizes)
        if (std::abs(size.side - side) < std::abs(nearest - side)) nearest = size.side;
    return nearest;
}

/// Opaque; nothing where there is nothing to see.
std::optional<PremultipliedColor> opaque(const PremultipliedColor& color) {
    if (!(color.alpha > 0)) return std::nullopt;
    return PremultipliedColor{color.red / color.alpha, color.green / color.alpha,
                              color.blue / color.alpha, 1};
}

struct PixelPlace {
    std::int64_t x = 0;
    std::int64_t y = 0;
};

PixelPlace placeOf(RealPoint point) {
    return {static_cast<std::int64_t>(std::floor(point.x)),
            static_cast<std::int64_t>(std::floor(point.y))};
}

} // namespace

void EyedropperTool::setSettings(Settings settings) {
    settings.sampleSide = offeredSide(settings.sampleSide);
    if (settings == settings_) return;
    settings_ = settings;
    settingsChanged.emit();
}

ToolCursor EyedropperTool::currentCursor(ToolModifiers /*modifiers*/) const {
    return ToolCursor::eyedropper;
}

void EyedropperTool::pointerDown(const PointerSample& sample, ToolContext& in) {
    before_ = Colors{in.foregroundColor(), in.backgroundColor()};
    pick(sample, in);
}

void EyedropperTool::pointerDragged(const PointerSample& sample, ToolContext& in) {
    if (!before_) return;
    hover(sample.location, in);
    pick(sample, in);
}

void EyedropperTool::pointerMoved(const std::optional<PointerSample>& sample, ToolContext& in) {
    hover(sample ? std::optional(sample->location) : std::nullopt, in);
}

std::vector<OverlayShape> EyedropperTool::overlayShapes(const ToolContext& /*in*/) const {
    if (!hover_ || settings_.sampleSide == 1) return {};
    const PixelPlace place = placeOf(*hover_);
    const std::int64_t radius = settings_.sampleSide / 2;
    const auto side = static_cast<double>(settings_.sampleSide);
    return {{OverlayShape::Rectangle{
        {{static_cast<double>(place.x - radius), static_cast<double>(place.y - radius)},
         {side, side}}}}};
}

void EyedropperTool::cancelGesture(ToolContext& /*in*/) {
    const auto before = std::exchange(before_, std::nullopt);
    if (!before || !onPick) return;
    onPick(PaintSlot::foreground, before->foreground);
    onPick(PaintSlot::background, before->background);
}

void EyedropperTool::restoreSettings(const Json& stored) {
    if (!stored.is_object()) return;
    Settings restored = settings_;
    const auto side = stored.find("sampleSide");
    if (side != stored.end() && side->is_number_integer())
        restored.sampleSide = offeredSide(side->get<std::int64_t>());
    const auto source = stored.find("source");
    if (source != stored.end() && *source == activeLayerName) restored.source = Source::activeLayer;
    if (source != stored.end() && *source == allLayersName) restored.source = Source::allLayers;
    settings_ = restored;
}

Json EyedropperTool::storedSettings() const {
    return {{"sampleSide", settings_.sampleSide},
            {"source", settings_.source == Source::activeLayer ? activeLayerName : allLayersName}};
}

void EyedropperTool::pick(const PointerSample& sample, ToolContext& in) {
    const PixelPlace place = placeOf(sample.location);
    const std::int64_t radius = settings_.sampleSide / 2;
    const DocumentState& state = in.routedState();
    PremultipliedColor mean;
    if (settings_.source == Source::allLayers) {
        mean = sampleMerged(state, place.x, place.y, radius);
    } else if (const PixelLayer* layer = state.activePixelLayer()) {
        mean = sampleLayer(*layer, state.canvas.size, place.x, place.y, radius);
    }
    const auto color = opaque(mean);
    if (!color || !onPick) return;
    const bool isBackground = sample.modifiers.contains(ToolModifiers::option);
    onPick(isBackground ? PaintSlot::background : PaintSlot::foreground, *color);
}

void EyedropperTool::hover(std::optional<RealPoint> at, ToolContext& in) {
    if (at == hover_) return;
    hover_ = at;
    if (settings_.sampleSide > 1) in.setNeedsOverlayDisplay();
}

} // namespace ombrel
