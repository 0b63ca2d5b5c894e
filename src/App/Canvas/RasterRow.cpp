#include "App/Canvas/RasterRow.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ombrel {

namespace {

constexpr int tileSide = 256;
constexpr int lastTexel = tileSide - 1;
constexpr std::size_t bytesOfTexel = 8;

Float4 texelAt(const std::byte* bytes, int x, int y) {
    std::uint64_t texel = 0;
    std::memcpy(&texel, bytes + static_cast<std::size_t>(y * tileSide + x) * bytesOfTexel,
                sizeof texel);
    return lightOf(texel);
}

Float4 nearestTexel(const std::byte* bytes, float x, float y) {
    return texelAt(bytes, std::clamp(wholePart(x), 0, lastTexel),
                   std::clamp(wholePart(y), 0, lastTexel));
}

Float4 smoothTexel(const std::byte* bytes, const LocalRect& limits, float x, float y) {
    const float fromX = std::min(std::max(x, limits.left), limits.right) - 0.5f;
    const float fromY = std::min(std::max(y, limits.top), limits.bottom) - 0.5f;
    const int floorX = wholePart(fromX);
    const int floorY = wholePart(fromY);
    const float partX = fromX - static_cast<float>(floorX);
    const float partY = fromY - static_cast<float>(floorY);
    const int left = std::max(floorX, 0);
    const int top = std::max(floorY, 0);
    const int right = std::min(floorX + 1, lastTexel);
    const int bottom = std::min(floorY + 1, lastTexel);
    const Float4 a = texelAt(bytes, left, top);
    const Float4 b = texelAt(bytes, left, bottom);
    const Float4 upper = a + (texelAt(bytes, right, top) - a) * partX;
    const Float4 lower = b + (texelAt(bytes, right, bottom) - b) * partX;
    return upper + (lower - upper) * partY;
}

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
    const TilePlacement& placement = tile.placement;
    const PixelSpan span = spanOf(placement.area);
    const auto add = [&](auto colorAt) {
        for (int x = span.first; x < span.end; ++x) {
            const float inX =
                (localX(x) - placement.area.left) * placement.factor[0] + placement.offset[0];
            const float inY =
                (localY(x) - placement.area.top) * placement.factor[1] + placement.offset[1];
            const Float4 color = colorAt(inX, inY);
            Float4& pixel = pixels_[static_cast<std::size_t>(x)];
            pixel = laidOver(color, pixel);
        }
    };
    if (tile.bytes == nullptr) {
        add([&](float, float) { return tile.color; });
    } else if (isSmooth) {
        add([&](float x, float y) {
            return conversion.apply(smoothTexel(tile.bytes, placement.limits, x, y));
        });
    } else {
        add([&](float x, float y) { return conversion.apply(nearestTexel(tile.bytes, x, y)); });
    }
}

} // namespace ombrel
