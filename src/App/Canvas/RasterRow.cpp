#include "App/Canvas/RasterRow.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr int pixelsAtOnce = 64;

} // namespace

RasterRow::RasterRow(const FrameLayout& layout, int y, std::span<Float4> pixels)
    : layout_(layout),
      startX_(layout.across()[0] * (static_cast<float>(y) + 0.5f) + layout.start()[0]),
      startY_(layout.across()[1] * (static_cast<float>(y) + 0.5f) + layout.start()[1]),
      pixels_(pixels) {}

void RasterRow::fill(PixelSpan span, Float4 color) {
    std::fill(pixels_.begin() + span.first, pixels_.begin() + span.end, color);
}

bool RasterRow::isInside(const LocalRect& area, int x) const {
    const float atX = localX(x);
    const float atY = localY(x);
    return atX >= area.left && atX < area.right && atY >= area.top && atY < area.bottom;
}

PixelSpan RasterRow::spanOf(const LocalRect& area) const {
    double first = 0;
    auto end = static_cast<double>(pixels_.size());
    const auto clip = [&](double slope, double start, double low, double high) {
        if (slope == 0) {
            if (start < low || start >= high) end = first;
            return;
        }
        const double a = (low - start) / slope - 0.5;
        const double b = (high - start) / slope - 0.5;
        first = std::max(first, std::min(a, b));
        end = std::min(end, std::max(a, b));
    };
    clip(layout_.along()[0], startX_, area.left, area.right);
    clip(layout_.along()[1], startY_, area.top, area.bottom);
    if (!(first <= end)) return {0, 0};
    // Whether the outermost pixels belong is for the numbers the shaders have too.
    PixelSpan span{std::max(static_cast<int>(first) - 1, 0),
                   std::min(static_cast<int>(end) + 2, static_cast<int>(pixels_.size()))};
    while (span.first < span.end && !isInside(area, span.first))
        ++span.first;
    while (span.first < span.end && !isInside(area, span.end - 1))
        --span.end;
    return span;
}

float RasterRow::coverageOf(const DotGrid& grid, const DotPlacement& dots, int x) const {
    const float inX = (localX(x) - grid.phase[0]) / grid.spacing;
    const float step = grid.spacing * layout_.scale();
    const float farX = (inX - std::floor(inX + 0.5f)) * step;
    if (std::abs(farX) > dots.radius + 0.5f) return 0; // most pixels
    const float farY = farFromDots(grid, x);
    const float distance = std::sqrt(farX * farX + farY * farY);
    return std::clamp(dots.radius + 0.5f - distance, 0.0f, 1.0f) * grid.alpha;
}

float RasterRow::farFromDots(const DotGrid& grid, int x) const {
    const float inY = (localY(x) - grid.phase[1]) / grid.spacing;
    return (inY - std::floor(inY + 0.5f)) * (grid.spacing * layout_.scale());
}

void RasterRow::addDots(PixelSpan span, const DotPlacement& dots) {
    // Most rows of a view that is not turned lie between the rows of dots.
    if (layout_.isStraight() && std::ranges::all_of(dots.grids, [&](const DotGrid& grid) {
            return std::abs(farFromDots(grid, span.first)) > dots.radius + 0.5f;
        }))
        return;
    for (int x = span.first; x < span.end; ++x) {
        const float alpha =
            std::max(coverageOf(dots.grids[0], dots, x), coverageOf(dots.grids[1], dots, x));
        if (alpha <= 0) continue;
        const float light = dots.light * alpha;
        Float4& pixel = pixels_[static_cast<std::size_t>(x)];
        pixel = laidOver(Float4{light, light, light, alpha}, pixel);
    }
}

void RasterRow::addChecks(const CheckPlacement& checks) {
    const PixelSpan span = spanOf(checks.area);
    for (int x = span.first; x < span.end; ++x) {
        const int inX = wholePart((localX(x) - checks.corner[0]) * checks.squaresPerUnit);
        const int inY = wholePart((localY(x) - checks.corner[1]) * checks.squaresPerUnit);
        const bool isDark = ((inX + inY) & 1) != 0;
        const float light = isDark ? FrameLayout::darkSquare : FrameLayout::lightSquare;
        pixels_[static_cast<std::size_t>(x)] = Float4{light, light, light, 1};
    }
}

void RasterRow::addTile(const RasterTile& tile, const RasterConversion& conversion, bool isSmooth) {
    const PixelSpan span = spanOf(tile.placement.area);
    if (tile.bytes == nullptr) {
        for (int x = span.first; x < span.end; ++x) {
            Float4& pixel = pixels_[static_cast<std::size_t>(x)];
            pixel = laidOver(tile.color, pixel);
        }
        return;
    }
    const auto& [area, factor, offset, limits] = tile.placement;
    const Kernels::TexelLine line{.texels = reinterpret_cast<const std::uint16_t*>(tile.bytes),
                                  .along = layout_.along(),
                                  .start = {startX_, startY_},
                                  .corner = {area.left, area.top},
                                  .factor = factor,
                                  .offset = offset,
                                  .limits = {limits.left, limits.top, limits.right, limits.bottom},
                                  .isSmooth = isSmooth};
    std::array<Float4, pixelsAtOnce> texels;
    for (int first = span.first; first < span.end; first += pixelsAtOnce) {
        const auto count = static_cast<std::size_t>(std::min(pixelsAtOnce, span.end - first));
        Kernels::sampleTexels(line, first, count, reinterpret_cast<float*>(texels.data()));
        Float4* const pixels = pixels_.data() + first;
        for (std::size_t i = 0; i < count; ++i)
            pixels[i] = laidOver(conversion.apply(texels[i]), pixels[i]);
    }
}

} // namespace ombrel
