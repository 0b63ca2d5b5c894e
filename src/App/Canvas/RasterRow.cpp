#include "App/Canvas/RasterRow.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ombrel {

namespace {

constexpr int tileSide = 256;
constexpr int lastTexel = tileSide - 1;
constexpr std::size_t bytesOfTexel = 8;

using Words = std::uint32_t __attribute__((vector_size(16)));
using Shorts = std::uint16_t __attribute__((vector_size(8)));
using Integers = std::int32_t __attribute__((vector_size(16)));

/// Exact for every finite half.
Float4 texelAt(const std::byte* bytes, int x, int y) {
    Shorts halves;
    std::memcpy(&halves, bytes + static_cast<std::size_t>(y * tileSide + x) * bytesOfTexel,
                sizeof halves);
    const Words words = __builtin_convertvector(halves, Words);
    const auto magnitude = std::bit_cast<Float4>((words & 0x7FFFu) << 13) * 0x1p112f;
    return std::bit_cast<Float4>(std::bit_cast<Words>(magnitude) | ((words & 0x8000u) << 16));
}

Float4 smallerOf(Float4 a, Float4 b) {
    return a < b ? a : b;
}

Float4 rootOf(Float4 light) {
#ifdef __SSE2__
    return _mm_sqrt_ps(light);
#else
    return {std::sqrt(light[0]), std::sqrt(light[1]), std::sqrt(light[2]), std::sqrt(light[3])};
#endif
}

/// Nothing below 0 and no NaN, alpha up to 1, colours up to alpha.
Float4 cut(Float4 color) {
    const Float4 positive = color > 0.0f ? color : Float4{};
    const float alpha = std::min(positive[3], 1.0f);
    return smallerOf(positive, Float4{alpha, alpha, alpha, alpha});
}

int whole(float value) {
    const int integer = static_cast<int>(value);
    return integer - (static_cast<float>(integer) > value ? 1 : 0);
}

Float4 nearestTexel(const std::byte* bytes, float x, float y) {
    return texelAt(bytes, std::clamp(whole(x), 0, lastTexel), std::clamp(whole(y), 0, lastTexel));
}

Float4 smoothTexel(const std::byte* bytes, const LocalRect& limits, float x, float y) {
    const float fromX = std::min(std::max(x, limits.left), limits.right) - 0.5f;
    const float fromY = std::min(std::max(y, limits.top), limits.bottom) - 0.5f;
    const int floorX = whole(fromX);
    const int floorY = whole(fromY);
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

RasterConversion::RasterConversion(const ProfileConversion& conversion)
    : isIdentity(conversion.isIdentity()) {
    for (std::size_t i = 0; i < 3; ++i) {
        const std::array<float, 3>& column = conversion.columns[i];
        columns[i] = Float4{column[0], column[1], column[2], 0};
    }
}

Float4 RasterConversion::apply(Float4 color) const {
    if (isIdentity) return cut(color);
    Float4 converted = columns[0] * color[0] + columns[1] * color[1] + columns[2] * color[2];
    converted[3] = color[3];
    return cut(converted);
}

RasterRow::RasterRow(const FrameLayout& layout, int y, std::span<Float4> pixels)
    : layout_(layout),
      startX_(layout.across()[0] * (static_cast<float>(y) + 0.5f) + layout.start()[0]),
      startY_(layout.across()[1] * (static_cast<float>(y) + 0.5f) + layout.start()[1]),
      pixels_(pixels) {}

void RasterRow::fill(Float4 color) {
    std::ranges::fill(pixels_, color);
}

bool RasterRow::isInside(const LocalRect& area, int x) const {
    const float atX = localX(x);
    const float atY = localY(x);
    return atX >= area.left && atX < area.right && atY >= area.top && atY < area.bottom;
}

RasterRow::Span RasterRow::spanOf(const LocalRect& area) const {
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
    Span span{std::max(static_cast<int>(first) - 1, 0),
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
    const float inY = (localY(x) - grid.phase[1]) / grid.spacing;
    const float farY = (inY - std::floor(inY + 0.5f)) * step;
    const float distance = std::sqrt(farX * farX + farY * farY);
    return std::clamp(dots.radius + 0.5f - distance, 0.0f, 1.0f) * grid.alpha;
}

void RasterRow::addDots(const DotPlacement& dots) {
    for (std::size_t i = 0; i < pixels_.size(); ++i) {
        const int x = static_cast<int>(i);
        const float alpha =
            std::max(coverageOf(dots.grids[0], dots, x), coverageOf(dots.grids[1], dots, x));
        if (alpha <= 0) continue;
        const float light = dots.light * alpha;
        pixels_[i] = Float4{light, light, light, alpha} + pixels_[i] * (1 - alpha);
    }
}

void RasterRow::addChecks(const CheckPlacement& checks) {
    const Span span = spanOf(checks.area);
    for (int x = span.first; x < span.end; ++x) {
        const int inX = whole((localX(x) - checks.corner[0]) * checks.squaresPerUnit);
        const int inY = whole((localY(x) - checks.corner[1]) * checks.squaresPerUnit);
        const bool isDark = ((inX + inY) & 1) != 0;
        const float light = isDark ? FrameLayout::darkSquare : FrameLayout::lightSquare;
        pixels_[static_cast<std::size_t>(x)] = Float4{light, light, light, 1};
    }
}

void RasterRow::addTile(const RasterTile& tile, const RasterConversion& conversion, bool isSmooth) {
    const TilePlacement& placement = tile.placement;
    const Span span = spanOf(placement.area);
    const auto add = [&](auto colorAt) {
        for (int x = span.first; x < span.end; ++x) {
            const float inX =
                (localX(x) - placement.area.left) * placement.factor[0] + placement.offset[0];
            const float inY =
                (localY(x) - placement.area.top) * placement.factor[1] + placement.offset[1];
            const Float4 color = colorAt(inX, inY);
            Float4& pixel = pixels_[static_cast<std::size_t>(x)];
            pixel = color + pixel * (1 - color[3]);
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

void RasterRow::encode(const DisplayColors& colors, std::uint32_t* rgb) const {
    const std::uint8_t* red = colors.curves()[0].data();
    const std::uint8_t* green = colors.curves()[1].data();
    const std::uint8_t* blue = colors.curves()[2].data();
    for (std::size_t x = 0; x < pixels_.size(); ++x) {
        const Float4 ones{1, 1, 1, 1};
        const Float4 light =
            rootOf(smallerOf(pixels_[x], ones)) * (DisplayColors::steps - 1.0f) + 0.5f;
        const Integers step = __builtin_convertvector(light, Integers);
        rgb[x] = 0xFF000000u | std::uint32_t{red[step[0]]} << 16 |
                 std::uint32_t{green[step[1]]} << 8 | blue[step[2]];
    }
}

} // namespace ombrel
