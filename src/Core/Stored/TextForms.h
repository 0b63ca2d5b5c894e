// The stored form of text.
#pragma once

#include "Core/Stored/DocumentForms.h"
#include "Core/TextContent.h"

namespace ombrel::Stored {

template <>
struct Names<TextStyle::Alignment> {
    static constexpr std::array<std::string_view, 4> list{"left", "center", "right", "justify"};
};

template <>
struct Names<TextStyle::AntiAlias> {
    static constexpr std::array<std::string_view, 3> list{"none", "sharp", "smooth"};
};

template <>
struct Fields<TextStyle> {
    static constexpr std::tuple list{
        field("fontName", &TextStyle::fontName),     field("size", &TextStyle::size),
        field("color", &TextStyle::color),           field("tracking", &TextStyle::tracking),
        field("leading", &TextStyle::leading),       field("alignment", &TextStyle::alignment),
        field("antiAlias", &TextStyle::antiAlias),   field("fauxBold", &TextStyle::fauxBold),
        field("fauxItalic", &TextStyle::fauxItalic), field("allCaps", &TextStyle::allCaps)};
};

template <>
struct Fields<TextRun> {
    static constexpr std::tuple list{field("location", &TextRun::location),
                                     field("length", &TextRun::length),
                                     field("style", &TextRun::style)};
};

template <>
struct Fields<TextTransform> {
    static constexpr std::tuple list{
        field("a", &TextTransform::a),   field("b", &TextTransform::b),
        field("c", &TextTransform::c),   field("d", &TextTransform::d),
        field("tx", &TextTransform::tx), field("ty", &TextTransform::ty)};
};

template <>
struct Fields<TextContent::Paragraph> {
    static constexpr std::tuple list{field("_0", &TextContent::Paragraph::box)};
};

template <>
struct Cases<TextContent::Kind> {
    static constexpr std::array list{Case{"paragraph", Payload::labelled}, Case{"point"}};
};

template <>
struct Fields<TextContent> {
    static constexpr std::tuple list{
        field("string", &TextContent::string),       field("style", &TextContent::style),
        field("kind", &TextContent::kind),           field("origin", &TextContent::origin),
        field("transform", &TextContent::transform), field("runs", &TextContent::runs)};
};

} // namespace ombrel::Stored
