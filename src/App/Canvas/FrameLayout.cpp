#include "App/Canvas/FrameLayout.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr double squarePoints = 8;
constexpr int coarsestGrid = 64; ///< steps of density, far beyond any view

float narrow(double value) {
    return static_cast<float>(value);
}

/// `value` less a whole number of periods, from 0 on.
double wrapped(double value, double period) {
    return value - std::floor(value / period) * period;
}

/// Texel coordinates whose neighbours lie within the part that is shown.
std::array<float, 2> limitsOf(double first, double length) {
    if (length < 1) return {narrow(first + length / 2), narrow(first + length / 2)};
    return {narrow(first + 0.5), narrow(first + length - 0.5)};
}

} // namespace

FrameLayout::FrameLayout(const Frame& frame)
    : width_(static_cast<int>(std::lround(frame.pixelSize.width))),
      height_(static_cast<int>(std::lround(frame.pixelSize.height))),
      contentsScale_(frame.contentsScale) {
    const AffineTransform& map = frame.boardToPixels;
    const double determinant = map.a * map.d - map.b * map.c;
    scale_ = std::sqrt(std::abs(determinant));
    const double a = map.d / determinant;
    const double b = -map.b / determinant;
    const double c = -map.c / determinant;
    const double d = map.a / determinant;
    const double fromX = frame.pixelSize.width / 2 - map.tx;
    const double fromY = frame.pixelSize.height / 2 - map.ty;
    middle_ = {std::round(a * fromX + c * fromY), std::round(b * fromX + d * fromY)};
    along_ = {narrow(a), narrow(b)};
    across_ = {narrow(c), narrow(d)};
    start_ = {narrow(-a * map.tx - c * map.ty - middle_.x),
              narrow(-b * map.tx - d * map.ty - middle_.y)};
    toPixels_ = map;
    toPixels_.tx += map.a * middle_.x + map.c * middle_.y;
    toPixels_.ty += map.b * middle_.x + map.d * middle_.y;
}

LocalRect FrameLayout::local(RealPoint origin, const RealRect& rect) const {
    // The sums of whole numbers come first: they are exact, whichever tile asks.
    const double left = origin.x - middle_.x;
    const double top = origin.y - middle_.y;
    return {narrow(left + rect.origin.x), narrow(top + rect.origin.y),
            narrow(left + (rect.origin.x + rect.size.width)),
            narrow(top + (rect.origin.y + rect.size.height))};
}

LocalRect FrameLayout::areaOf(const FrameNode& node) const {
    return local(node.bounds.origin, {{}, node.bounds.size});
}

TilePlacement FrameLayout::placementOf(const FrameNode& node, const FrameTile& tile) const {
    TilePlacement placement;
    placement.area = local(node.bounds.origin, tile.area);
    if (tile.area.size.width <= 0 || tile.area.size.height <= 0) return placement;
    const RealRect& texels = tile.texels;
    placement.factor = {narrow(texels.size.width / tile.area.size.width),
                        narrow(texels.size.height / tile.area.size.height)};
    placement.offset = {narrow(texels.origin.x), narrow(texels.origin.y)};
    const auto [left, right] = limitsOf(texels.origin.x, texels.size.width);
    const auto [top, bottom] = limitsOf(texels.origin.y, texels.size.height);
    placement.limits = {left, top, right, bottom};
    return placement;
}

CheckPlacement FrameLayout::checksOf(const FrameNode& node) const {
    const double side = squarePoints * contentsScale_ / scale_;
    return {areaOf(node),
            {narrow(wrapped(node.bounds.origin.x - middle_.x, 2 * side)),
             narrow(wrapped(node.bounds.origin.y - middle_.y, 2 * side))},
            narrow(1 / side)};
}

std::optional<DotPlacement> FrameLayout::dotsOf(const Frame& frame) const {
    if (!frame.dots || frame.dots->spacing <= 0 || frame.dots->factor <= 1) return std::nullopt;
    const BoardDots& dots = *frame.dots;
    const double pointsPerUnit = scale_ / contentsScale_;
    double spacing = dots.spacing;
    for (int i = 0; i < coarsestGrid && spacing * pointsPerUnit < dots.minimumPoints; ++i)
        spacing *= dots.factor;
    const double range = std::max(dots.fadedInPoints - dots.minimumPoints, 1e-6);
    DotPlacement placement;
    for (DotGrid& grid : placement.grids) {
        const double shown = (spacing * pointsPerUnit - dots.minimumPoints) / range;
        grid = {{narrow(wrapped(dots.origin.x - middle_.x, spacing)),
                 narrow(wrapped(dots.origin.y - middle_.y, spacing))},
                narrow(spacing),
                narrow(dots.alpha * std::clamp(shown, 0.0, 1.0))};
        spacing *= dots.factor;
    }
    placement.radius = narrow(dots.radius * contentsScale_);
    constexpr float middleGray = 0.18f;
    placement.light = frame.pasteboard[1] < middleGray ? 1.0f : 0.0f;
    return placement;
}

} // namespace ombrel
