// What a tool wants drawn above the picture: shapes in document coordinates, as data. The view
// draws them at the resolution of its screen; radii are in document pixels, too. Plain values.
#pragma once

#include "Core/RealGeometry.h"
#include "Core/VectorPath.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace ombrel {

/// The guides within a crop box.
enum class CropOverlay : std::uint8_t {
    ruleOfThirds,
    grid,
    diagonal,
    triangle,
    goldenRatio,
    goldenSpiral,
    none,
};

/// A rendered mask, shared so that overlays carry it without a copy. Immutable.
struct MaskPreview {
    RealRect area; ///< that the image covers
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint32_t> image; ///< 0xAARRGGBB, premultiplied and encoded, row by row
};

struct OverlayShape {
    using Points = std::vector<RealPoint>;

    struct Circle {
        RealPoint center;
        double radius = 0;
        bool operator==(const Circle&) const = default;
    };
    /// Where a stroke would paint.
    struct PaintedStroke {
        Points points;
        double radius = 0;
        bool operator==(const PaintedStroke&) const = default;
    };
    /// A stroke that is being turned into a region; the phase runs from 0 to 1.
    struct Skeleton {
        std::vector<Points> outlines;
        std::vector<Points> stroke;
        double radius = 0;
        double phase = 0;
        bool operator==(const Skeleton&) const = default;
    };
    struct CenterMark {
        RealPoint point;
        bool operator==(const CenterMark&) const = default;
    };
    /// A brush tip: an ellipse of this radius along its angle (radians), narrower across.
    struct Tip {
        RealPoint center;
        double radius = 0;
        double angle = 0;
        double roundness = 1; ///< 0 to 1
        bool operator==(const Tip&) const = default;
    };
    struct Rectangle {
        RealRect rect;
        bool operator==(const Rectangle&) const = default;
    };
    /// What lies outside is dimmed.
    struct Crop {
        RealRect rect;
        bool operator==(const Crop&) const = default;
    };
    /// The same for any quadrilateral, in the order of its corners.
    struct CropBox {
        Points points;
        CropOverlay guides = CropOverlay::none;
        bool operator==(const CropBox&) const = default;
    };
    struct Line {
        RealPoint from;
        RealPoint to;
        bool operator==(const Line&) const = default;
    };
    struct Crosshair {
        RealPoint point;
        bool operator==(const Crosshair&) const = default;
    };
    /// The corners in their order; handles lie on corners and middles of sides.
    struct TransformBox {
        Points points;
        std::optional<RealPoint> pivot;
        bool operator==(const TransformBox&) const = default;
    };
    struct Path {
        VectorPath path;
        std::optional<PathNodeRef> selected;
        bool operator==(const Path&) const = default;
    };
    struct EditedPath {
        VectorPath path;
        std::vector<PathNodeRef> selected; ///< a set
        bool operator==(const EditedPath&) const = default;
    };
    /// A rectangle of marching ants.
    struct Selection {
        RealRect rect;
        bool operator==(const Selection&) const = default;
    };
    struct Readout {
        std::string text;
        RealPoint at;
        bool operator==(const Readout&) const = default;
    };
    /// Marching ants along points.
    struct Lasso {
        Points points;
        bool closed = false;
        bool operator==(const Lasso&) const = default;
    };
    /// Each of them some outlines.
    struct Regions {
        std::vector<std::vector<Points>> outlines;
        std::optional<std::int64_t> highlighted;
        bool operator==(const Regions&) const = default;
    };
    struct Mask {
        std::shared_ptr<const MaskPreview> preview; ///< never null
        bool operator==(const Mask&) const = default;
    };
    struct PromptPoint {
        RealPoint point;
        bool positive = true;
        bool operator==(const PromptPoint&) const = default;
    };
    struct Handles {
        Points points;
        bool connected = false;
        std::optional<std::int64_t> active;
        bool operator==(const Handles&) const = default;
    };

    std::variant<Circle, PaintedStroke, Skeleton, CenterMark, Tip, Rectangle, Crop, CropBox, Line,
                 Crosshair, TransformBox, Path, EditedPath, Selection, Readout, Lasso, Regions,
                 Mask, PromptPoint, Handles>
        value;

    template <typename Case>
    const Case* as() const {
        return std::get_if<Case>(&value);
    }
    /// Whether its outline moves without anything having changed.
    bool isAnimated() const { return as<Selection>() != nullptr || as<Lasso>() != nullptr; }
    bool operator==(const OverlayShape&) const = default;
};

} // namespace ombrel
