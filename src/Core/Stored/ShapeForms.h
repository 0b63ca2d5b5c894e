// The stored forms of paths and shapes.
#pragma once

#include "Core/ShapeContent.h"
#include "Core/Stored/GradientForms.h"

namespace ombrel::Stored {

template <>
struct Fields<PathAnchor> {
    static constexpr std::tuple list{field("point", &PathAnchor::point),
                                     field("inHandle", &PathAnchor::inHandle),
                                     field("outHandle", &PathAnchor::outHandle)};
};

template <>
struct Fields<Subpath> {
    static constexpr std::tuple list{field("anchors", &Subpath::anchors),
                                     field("isClosed", &Subpath::isClosed)};
};

template <>
struct Fields<VectorPath> {
    static constexpr std::tuple list{field("subpaths", &VectorPath::subpaths)};
};

template <>
struct Names<FillRule> {
    static constexpr std::array<std::string_view, 2> list{"nonZero", "evenOdd"};
};

template <>
struct Names<LineCap> {
    static constexpr std::array<std::string_view, 3> list{"butt", "round", "square"};
};

template <>
struct Names<LineJoin> {
    static constexpr std::array<std::string_view, 3> list{"miter", "round", "bevel"};
};

template <>
struct Names<StrokeAlignment> {
    static constexpr std::array<std::string_view, 3> list{"inside", "center", "outside"};
};

template <>
struct Fields<ShapeGeometry::Arrowheads> {
    using Arrowheads = ShapeGeometry::Arrowheads;
    static constexpr std::tuple list{
        field("start", &Arrowheads::start), field("end", &Arrowheads::end),
        fieldOrDefault("width", &Arrowheads::width), fieldOrDefault("length", &Arrowheads::length)};
};

template <>
struct Fields<ShapeGradient::Linear> {
    static constexpr std::tuple list{field("start", &ShapeGradient::Linear::start),
                                     field("end", &ShapeGradient::Linear::end)};
};

template <>
struct Fields<ShapeGradient::Radial> {
    using Radial = ShapeGradient::Radial;
    static constexpr std::tuple list{
        field("center", &Radial::center), field("radius", &Radial::radius),
        field("focus", &Radial::focus), field("focusRadius", &Radial::focusRadius)};
};

template <>
struct Cases<ShapeGradient::Geometry> {
    static constexpr std::array list{Case{"linear", Payload::labelled},
                                     Case{"radial", Payload::labelled}};
};

template <>
struct Names<ShapeGradient::Spread> {
    static constexpr std::array<std::string_view, 3> list{"pad", "reflect", "repeat"};
};

template <>
struct Fields<ShapeGradient> {
    static constexpr std::tuple list{
        field("stops", &ShapeGradient::stops), field("geometry", &ShapeGradient::geometry),
        field("transform", &ShapeGradient::transform), field("spread", &ShapeGradient::spread)};
};

template <>
struct Fields<ShapeStroke> {
    static constexpr std::tuple list{
        field("color", &ShapeStroke::color),         field("width", &ShapeStroke::width),
        field("alignment", &ShapeStroke::alignment), field("cap", &ShapeStroke::cap),
        field("join", &ShapeStroke::join),           field("miterLimit", &ShapeStroke::miterLimit),
        field("gradient", &ShapeStroke::gradient)};
};

template <>
struct Fields<ShapeContent::Rectangle> {
    using Rectangle = ShapeContent::Rectangle;
    static constexpr std::tuple list{field("_0", &Rectangle::rect),
                                     field("cornerRadius", &Rectangle::cornerRadius)};
};

template <>
struct Fields<ShapeContent::Ellipse> {
    static constexpr std::tuple list{field("_0", &ShapeContent::Ellipse::rect)};
};

template <>
struct Fields<ShapeContent::Polygon> {
    using Polygon = ShapeContent::Polygon;
    static constexpr std::tuple list{
        field("center", &Polygon::center), field("radius", &Polygon::radius),
        field("sides", &Polygon::sides), field("rotation", &Polygon::rotation),
        field("starInset", &Polygon::starInset)};
};

template <>
struct Fields<ShapeContent::Line> {
    using Line = ShapeContent::Line;
    static constexpr std::tuple list{field("from", &Line::from), field("to", &Line::to),
                                     field("weight", &Line::weight),
                                     field("arrows", &Line::arrows)};
};

template <>
struct Cases<ShapeContent::Geometry> {
    static constexpr std::array list{
        Case{"rectangle", Payload::labelled}, Case{"ellipse", Payload::labelled},
        Case{"polygon", Payload::labelled}, Case{"line", Payload::labelled},
        Case{"path", Payload::unlabelled}};
};

template <>
struct Fields<ShapeContent> {
    static constexpr std::tuple list{field("geometry", &ShapeContent::geometry),
                                     field("fill", &ShapeContent::fill),
                                     field("stroke", &ShapeContent::stroke),
                                     field("antiAlias", &ShapeContent::antiAlias),
                                     field("fillRule", &ShapeContent::fillRule),
                                     field("fillGradient", &ShapeContent::fillGradient)};
};

} // namespace ombrel::Stored
