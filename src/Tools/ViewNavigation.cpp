#include "Tools/ViewNavigation.h"

#include "Core/ViewMapping.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace ombrel::ViewNavigation {

namespace {

constexpr std::array magnifications{0.001,    0.002, 0.005,   0.01, 0.02,    0.03, 0.05,    0.0625,
                                    1.0 / 12, 0.125, 1.0 / 6, 0.25, 1.0 / 3, 0.5,  2.0 / 3, 1.0,
                                    1.5,      2.0,   3.0,     4.0,  6.0,     8.0,  12.0,    16.0,
                                    24.0,     32.0,  48.0,    64.0, 96.0,    128.0};
static_assert(std::ranges::is_sorted(magnifications));

constexpr double fitMargin = 24;  ///< view points on each side
constexpr double keptInView = 48; ///< view points of the document that stay in view
constexpr double nearly = 1e-6;   ///< relative: a list's entry and what came out as it are one

double limitedScale(double scale, double contentsScale) {
    if (!std::isfinite(scale)) scale = 1 / contentsScale;
    return std::clamp(scale, minimumMagnification / contentsScale,
                      maximumMagnification / contentsScale);
}

/// The size of the upright box around a turned one.
RealSize turnedSize(RealSize size, double rotation) {
    const double along = std::abs(std::cos(rotation));
    const double across = std::abs(std::sin(rotation));
    return {along * size.width + across * size.height, across * size.width + along * size.height};
}

RealPoint middleOf(const RealRect& rect) {
    return {rect.origin.x + rect.size.width / 2, rect.origin.y + rect.size.height / 2};
}

double fittingScale(const ViewTransform& view, const RealRect& bounds) {
    const RealSize size = turnedSize(bounds.size, view.rotation);
    const auto side = [](double room, double length) {
        return std::max(room - 2 * fitMargin, room / 2) / std::max(length, 1.0);
    };
    return std::min(side(view.viewportSize.width, size.width),
                    side(view.viewportSize.height, size.height));
}

ViewTransform fittedAt(ViewTransform view, const RealRect& bounds, double scale,
                       double contentsScale) {
    const RealPoint middle = middleOf(bounds);
    view.center = {middle.x, middle.y};
    view.scale = limitedScale(scale, contentsScale);
    return view;
}

} // namespace

ViewTransform panned(const ViewTransform& view, RealPoint by) {
    const RealPoint vector = documentVector(view, by);
    ViewTransform next = view;
    next.center = {view.center.x - vector.x, view.center.y - vector.y};
    return next;
}

ViewTransform zoomed(const ViewTransform& view, double scale, RealPoint at, double contentsScale) {
    const RealPoint kept = documentPoint(view, at);
    ViewTransform next = view;
    next.scale = limitedScale(scale, contentsScale);
    const RealPoint middle = viewCenter(view);
    const RealPoint vector = documentVector(next, {at.x - middle.x, at.y - middle.y});
    next.center = {kept.x - vector.x, kept.y - vector.y};
    return next;
}

ViewTransform turned(const ViewTransform& view, double rotation, RealPoint about) {
    const RealPoint kept = documentPoint(view, about);
    ViewTransform next = view;
    next.rotation = normalizedAngle(rotation);
    const RealPoint middle = viewCenter(view);
    const RealPoint vector = documentVector(next, {about.x - middle.x, about.y - middle.y});
    next.center = {kept.x - vector.x, kept.y - vector.y};
    return next;
}

ViewTransform fitted(const ViewTransform& view, const RealRect& bounds, double contentsScale) {
    return fittedAt(view, bounds, fittingScale(view, bounds), contentsScale);
}

ViewTransform fittedWithin(const ViewTransform& view, const RealRect& bounds,
                           double contentsScale) {
    const double scale = std::min(fittingScale(view, bounds), 1 / contentsScale);
    return fittedAt(view, bounds, scale, contentsScale);
}

ViewTransform confined(const ViewTransform& view, const RealRect& bounds, double contentsScale) {
    ViewTransform next = view;
    next.scale = limitedScale(view.scale, contentsScale);
    next.rotation = normalizedAngle(view.rotation);
    const RealSize room = turnedSize({std::max(view.viewportSize.width - 2 * keptInView, 0.0),
                                      std::max(view.viewportSize.height - 2 * keptInView, 0.0)},
                                     next.rotation);
    const auto within = [&](double value, double start, double length, double reach) {
        const double half = reach / next.scale / 2;
        if (!std::isfinite(value)) return start + length / 2;
        return std::clamp(value, start - half, start + std::max(length, 0.0) + half);
    };
    next.center = {within(view.center.x, bounds.origin.x, bounds.size.width, room.width),
                   within(view.center.y, bounds.origin.y, bounds.size.height, room.height)};
    return next;
}

double magnificationAbove(double magnification) {
    const auto* above = std::ranges::upper_bound(magnifications, magnification * (1 + nearly));
    return above != magnifications.end() ? *above : maximumMagnification;
}

double magnificationBelow(double magnification) {
    const auto* notBelow = std::ranges::lower_bound(magnifications, magnification * (1 - nearly));
    return notBelow != magnifications.begin() ? *std::prev(notBelow) : minimumMagnification;
}

double normalizedAngle(double radians) {
    if (!std::isfinite(radians)) return 0;
    const double angle = std::remainder(radians, 2 * std::numbers::pi);
    return angle == -std::numbers::pi ? std::numbers::pi : angle;
}

double snappedAngle(double radians, double step) {
    return std::round(radians / step) * step;
}

} // namespace ombrel::ViewNavigation
