// Editable Bézier paths: the work path, the outline of a shape. Plain values in canvas pixels,
// y downward; handles are places, not offsets.
#pragma once

#include "Core/Geometry.h"

#include <cstdint>
#include <vector>

namespace ombrel {

/// A retracted handle lies on the point.
struct PathAnchor {
    RealPoint point;
    RealPoint inHandle;
    RealPoint outHandle;

    static PathAnchor corner(RealPoint point) { return {point, point, point}; }

    /// Both handles exactly on the point.
    bool isCorner() const { return inHandle == point && outHandle == point; }
    bool operator==(const PathAnchor&) const = default;
};

/// From each anchor a cubic leads to the next; a closed one also from the last to the first.
struct Subpath {
    std::vector<PathAnchor> anchors;
    bool isClosed = false;

    bool operator==(const Subpath&) const = default;
};

struct VectorPath {
    std::vector<Subpath> subpaths;

    bool isEmpty() const; ///< no anchor anywhere
    bool operator==(const VectorPath&) const = default;
};

/// One point of a path that can be dragged.
struct PathNodeRef {
    enum class Part : std::uint8_t { anchor, inHandle, outHandle };

    std::int64_t subpath = 0;
    std::int64_t anchor = 0;
    Part part = Part::anchor;

    bool operator==(const PathNodeRef&) const = default;
};

} // namespace ombrel
