// From the view to the document and back. Pure functions; any thread.
#pragma once

#include "Core/Geometry.h"
#include "Core/ViewTransform.h"

#include <cmath>

namespace ombrel {

/// A direction of the view in the document.
inline RealPoint documentVector(const ViewTransform& view, RealPoint vector) {
    const double along = std::cos(view.rotation);
    const double across = std::sin(view.rotation);
    return {(along * vector.x + across * vector.y) / view.scale,
            (along * vector.y - across * vector.x) / view.scale};
}

inline RealPoint viewVector(const ViewTransform& view, RealPoint vector) {
    const double along = std::cos(view.rotation);
    const double across = std::sin(view.rotation);
    return {(along * vector.x - across * vector.y) * view.scale,
            (across * vector.x + along * vector.y) * view.scale};
}

inline RealPoint viewCenter(const ViewTransform& view) {
    return {view.viewportSize.width / 2, view.viewportSize.height / 2};
}

inline RealPoint documentPoint(const ViewTransform& view, RealPoint point) {
    const RealPoint middle = viewCenter(view);
    const RealPoint vector = documentVector(view, {point.x - middle.x, point.y - middle.y});
    return {view.center.x + vector.x, view.center.y + vector.y};
}

inline RealPoint viewPoint(const ViewTransform& view, RealPoint point) {
    const RealPoint vector = viewVector(view, {point.x - view.center.x, point.y - view.center.y});
    const RealPoint middle = viewCenter(view);
    return {middle.x + vector.x, middle.y + vector.y};
}

} // namespace ombrel
