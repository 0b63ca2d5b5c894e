// Ways to look at a document: each takes a view and gives the next one. Magnifications are told in
// screen pixels a document pixel, so that 1 shows every pixel as one. Pure functions; any thread.
#pragma once

#include "Core/RealGeometry.h"
#include "Core/ViewTransform.h"

namespace ombrel::ViewNavigation {

inline constexpr double minimumMagnification = 0.001;
inline constexpr double maximumMagnification = 128;

/// The picture follows the pointer by so much, in view points.
ViewTransform panned(const ViewTransform& view, RealPoint by);
/// The document point under `at` (view points) stays there. The scale, in view points a document
/// pixel, is brought into the limits.
ViewTransform zoomed(const ViewTransform& view, double scale, RealPoint at, double contentsScale);
/// Turned to an angle (radians) about a point of the view, which stays.
ViewTransform turned(const ViewTransform& view, double rotation, RealPoint about);
/// Everything in view, with a margin, as turned as it is.
ViewTransform fitted(const ViewTransform& view, const RealRect& bounds, double contentsScale);
/// The same, but never above one screen pixel a document pixel: how a document is first seen.
ViewTransform fittedWithin(const ViewTransform& view, const RealRect& bounds, double contentsScale);
/// Brings the middle back to where a corner of the bounds at least stays in view, and numbers that
/// are none to ones that are.
ViewTransform confined(const ViewTransform& view, const RealRect& bounds, double contentsScale);

/// The next magnification of a fixed list of round ones.
double magnificationAbove(double magnification);
double magnificationBelow(double magnification);

/// From -pi, exclusive, to pi.
double normalizedAngle(double radians);
/// The nearest multiple of a step.
double snappedAngle(double radians, double step);

} // namespace ombrel::ViewNavigation
