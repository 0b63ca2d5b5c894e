#include "App/Brushes/BrushStrokePreview.h"

#include "Core/TileStore.h"
#include "Engine/PixelDevice.h"
#include "Engine/StrokeRenderer.h"
#include "Tools/BrushDabGenerator.h"
#include "Tools/BrushForms.h"
#include "Tools/StrokeInterpolator.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>
#include <vector>

namespace ombrel {

namespace {

constexpr std::uint64_t seed = 3;
constexpr int sampleCount = 48;
constexpr double leastPressure = 0.08;

/// The diameter at which the brush shows itself best.
double fittedDiameter(const BrushPreviewWish& wish) {
    const double height = wish.size.height();
    const BrushSettings& settings = wish.settings;
    const double scatter = settings.scattering.enabled ? settings.scattering.amount : 0;
    const double most = 0.78 * height / (1 + 1.1 * std::min(scatter, 2.0));
    return std::clamp(settings.size * wish.scale, std::min(wish.scale, most), most);
}

/// From left to right in one swing.
std::vector<StrokePoint> samples(QSize size, double diameter) {
    const double inset = std::min(0.12 * size.width(), diameter / 2 + 0.03 * size.width());
    const double swing = std::max(0.0, (size.height() - diameter) / 2 - 1) * 0.8;
    std::vector<StrokePoint> points;
    for (int i = 0; i <= sampleCount; ++i) {
        const double t = double(i) / sampleCount;
        const double rise = std::pow(std::sin(std::numbers::pi * t), 0.75);
        points.push_back({{std::lerp(inset, size.width() - inset, t),
                           size.height() / 2.0 - swing * std::sin(2 * std::numbers::pi * t)},
                          static_cast<float>(std::max(leastPressure, rise)),
                          {}});
    }
    return points;
}

std::vector<BrushDab> dabsOf(const BrushPreviewWish& wish) {
    const double diameter = fittedDiameter(wish);
    BrushTip tip = wish.settings.tip(wish.aliased);
    tip.diameter = diameter;
    StrokeInterpolator interpolator(std::max(diameter * wish.settings.spacing, 0.5));
    BrushDabGenerator generator(tip, seed);
    std::vector<BrushDab> dabs;
    const auto add = [&](const std::vector<StrokePoint>& points) {
        const std::vector<BrushDab> more = generator.dabs(points);
        dabs.insert(dabs.end(), more.begin(), more.end());
    };
    for (const StrokePoint& point : samples(wish.size, diameter))
        add(interpolator.add(point));
    add(interpolator.finish());
    return dabs;
}

} // namespace

std::string BrushPreviewWish::key() const {
    BrushPreset preset = BrushPreset::of(settings, {});
    // Larger ones look alike.
    preset.size = std::min(preset.size, fittedDiameter(*this) / scale);
    return fmt::format("{} {} {} {}x{} {}", compactText(storedBrushPreset(preset)),
                       settings.opacity, aliased, size.width(), size.height(), scale);
}

QImage brushStrokePreview(const BrushPreviewWish& wish, PixelDevice& device, TileStore& store) {
    QImage picture(wish.size, QImage::Format_Alpha8);
    picture.fill(0);
    const PixelRect bounds{0, 0, wish.size.width(), wish.size.height()};
    StrokeStyle style;
    style.tip = wish.aliased ? nullptr : wish.settings.tipImage;
    if (!wish.aliased) style.spacing = static_cast<float>(wish.settings.spacing);
    StrokeRenderer renderer(
        device, store, {.original = TileGrid(TileFormat::rgba16Float), .bounds = bounds}, style);
    if (!renderer.render(dabsOf(wish))) return picture;
    const std::optional<StrokeCoverage> coverage = renderer.coverage();
    if (!coverage) return picture;
    const PixelRect& rect = coverage->rect;
    for (std::int64_t y = 0; y < rect.height; ++y) {
        uchar* const line = picture.scanLine(static_cast<int>(rect.y + y)) + rect.x;
        for (std::int64_t x = 0; x < rect.width; ++x)
            line[x] = static_cast<uchar>(
                std::lround(wish.settings.opacity *
                            coverage->bytes[static_cast<std::size_t>(y * rect.width + x)]));
    }
    return picture;
}

} // namespace ombrel
