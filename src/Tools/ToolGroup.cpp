#include "Tools/ToolGroup.h"

namespace ombrel {

namespace {

using enum ToolKind;

template <ToolKind... kinds>
constexpr std::array section{kinds...};

template <const auto&... each>
constexpr std::array<ToolGroup::Section, sizeof...(each)> sections{ToolGroup::Section(each)...};

constexpr std::array groups{
    ToolGroup{"Move", sections<section<move, transform>, section<hand>>},
    ToolGroup{"Select",
              sections<section<marquee, ellipticalMarquee>, section<lasso, polygonalLasso>>},
    ToolGroup{"Smart Select", sections<section<quickSelect>>},
    ToolGroup{"Crop", sections<section<crop>>},
    ToolGroup{"Brush", sections<section<brush, pencil, sprayPaint>>},
    ToolGroup{"Eraser", sections<section<eraser, magicEraser>>},
    ToolGroup{"Fill", sections<section<paintBucket, gradient>>},
    ToolGroup{"Adjust", sections<section<blur, sharpen, smudge>>},
    ToolGroup{"Pen", sections<section<pen, curvaturePen>>},
    ToolGroup{"Shape", sections<section<rectangle, ellipse, line, polygon, star>>},
    ToolGroup{"Text", sections<section<text>>},
    ToolGroup{"Eyedropper", sections<section<eyedropper>>},
};

constexpr std::span<const ToolGroup> allGroups(groups);
constexpr std::array<std::span<const ToolGroup>, 4> columns{
    allGroups.subspan(0, 4), allGroups.subspan(4, 4), allGroups.subspan(8, 3),
    allGroups.subspan(11, 1)};

} // namespace

std::vector<ToolKind> ToolGroup::tools() const {
    std::vector<ToolKind> all;
    for (const Section& section : sections)
        for (const ToolKind kind : section)
            if (!isHidden(kind)) all.push_back(kind);
    return all;
}

std::span<const std::span<const ToolGroup>> toolColumns() {
    return columns;
}

std::span<const ToolGroup> toolGroups() {
    return groups;
}

} // namespace ombrel
