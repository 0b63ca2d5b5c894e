// What a shape layer shows: an outline (parametric or free), its fill and its stroke. The layer's
// pixels are a rendering of it. Plain values in canvas pixels; any thread.
#pragma once

#include "Core/GradientDefinition.h"
#include "Core/RealGeometry.h"
#include "Core/VectorPath.h"

#include <cstdint>
#include <optional>
#include <variant>

namespace ombrel {

enum class FillRule : std::uint8_t { nonZero, evenOdd };
enum class LineCap : std::uint8_t { butt, round, square };
enum class LineJoin : std::uint8_t { miter, round, bevel };
/// Where a stroke lies relative to the outline.
enum class StrokeAlignment : std::uint8_t { inside, center, outside };

/// The parametric outlines.
namespace ShapeGeometry {

/// The heads of a line; width and length are multiples of its weight.
struct Arrowheads {
    bool start = false;
    bool end = false;
    double width = 5;
    double length = 10;

    bool operator==(const Arrowheads&) const = default;
};

struct Rectangle {
    RealRect rect;
    double cornerRadius = 0;

    bool operator==(const Rectangle&) const = default;
};

struct Ellipse {
    RealRect rect; ///< around it

    bool operator==(const Ellipse&) const = default;
};

/// A star where the inset is above 0.
struct Polygon {
    RealPoint center;
    double radius = 0;
    std::int64_t sides = 3;
    double rotation = 0; ///< radians; 0 has a corner straight above the center
    double starInset = 0;

    bool operator==(const Polygon&) const = default;
};

/// A filled line.
struct Line {
    RealPoint from;
    RealPoint to;
    double weight = 1;
    Arrowheads arrows;

    bool operator==(const Line&) const = default;
};

} // namespace ShapeGeometry

/// A gradient laid over a fill or a stroke.
struct ShapeGradient {
    struct Linear {
        RealPoint start;
        RealPoint end;

        bool operator==(const Linear&) const = default;
    };
    /// From the circle around the focus (0) to the outer one (1).
    struct Radial {
        RealPoint center;
        double radius = 0;
        RealPoint focus;
        double focusRadius = 0;

        bool operator==(const Radial&) const = default;
    };
    struct Geometry {
        std::variant<Linear, Radial> value;

        bool operator==(const Geometry&) const = default;
    };
    /// What lies before 0 and beyond 1.
    enum class Spread : std::uint8_t { pad, reflect, repeat };

    GradientDefinition stops;
    Geometry geometry;
    std::optional<AffineTransform> transform; ///< the identity where absent
    std::optional<Spread> spread;             ///< `pad` where absent

    AffineTransform effectiveTransform() const { return transform.value_or(AffineTransform{}); }
    Spread effectiveSpread() const { return spread.value_or(Spread::pad); }
    bool operator==(const ShapeGradient&) const = default;
};

struct ShapeStroke {
    PremultipliedColor color; ///< where no gradient is set
    double width = 1;
    StrokeAlignment alignment = StrokeAlignment::center;
    std::optional<LineCap> cap;            ///< `butt` where absent
    std::optional<LineJoin> join;          ///< `miter` where absent
    std::optional<double> miterLimit;      ///< 10 where absent
    std::optional<ShapeGradient> gradient; ///< instead of `color`

    LineCap effectiveCap() const { return cap.value_or(LineCap::butt); }
    LineJoin effectiveJoin() const { return join.value_or(LineJoin::miter); }
    double effectiveMiterLimit() const { return miterLimit.value_or(10); }
    bool operator==(const ShapeStroke&) const = default;
};

struct ShapeContent {
    using Rectangle = ShapeGeometry::Rectangle;
    using Ellipse = ShapeGeometry::Ellipse;
    using Polygon = ShapeGeometry::Polygon;
    using Line = ShapeGeometry::Line;
    struct Geometry {
        std::variant<Rectangle, Ellipse, Polygon, Line, VectorPath> value;

        bool operator==(const Geometry&) const = default;
    };

    Geometry geometry;
    std::optional<PremultipliedColor> fill; ///< none where absent, whatever the gradient
    std::optional<ShapeStroke> stroke;
    bool antiAlias = true;
    std::optional<FillRule> fillRule;          ///< `nonZero` where absent
    std::optional<ShapeGradient> fillGradient; ///< instead of the fill's colour

    FillRule effectiveFillRule() const { return fillRule.value_or(FillRule::nonZero); }
    bool hasGradient() const { return fillGradient || (stroke && stroke->gradient); }
    bool operator==(const ShapeContent&) const = default;
};

} // namespace ombrel
