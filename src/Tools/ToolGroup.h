// How the toolbar offers the tools: columns of groups, each with sections whose tools share a slot.
// Constant tables.
#pragma once

#include "Tools/ToolKind.h"

#include <array>
#include <span>
#include <string_view>
#include <vector>

namespace ombrel {

struct ToolGroup {
    using Section = std::span<const ToolKind>;

    std::string_view id; ///< its caption, too
    std::span<const Section> sections;

    /// Of all sections in order, without hidden ones.
    std::vector<ToolKind> tools() const;
};

/// Three columns and a last short list.
std::span<const std::span<const ToolGroup>> toolColumns();
/// The groups of all columns, in order.
std::span<const ToolGroup> toolGroups();

/// Offered at the end of the toolbar, in no group.
inline constexpr std::array<ToolKind, 2> ungroupedTools{ToolKind::zoom, ToolKind::rotateView};

/// The order wherever tools are one flat list.
inline constexpr std::array<ToolKind, 39> toolDisplayOrder{
    ToolKind::move,         ToolKind::marquee,        ToolKind::ellipticalMarquee,
    ToolKind::lasso,        ToolKind::polygonalLasso, ToolKind::transform,
    ToolKind::quickSelect,  ToolKind::crop,           ToolKind::brush,
    ToolKind::pencil,       ToolKind::sprayPaint,     ToolKind::mixerBrush,
    ToolKind::eraser,       ToolKind::magicEraser,    ToolKind::cloneStamp,
    ToolKind::healingBrush, ToolKind::patch,          ToolKind::redEye,
    ToolKind::dodge,        ToolKind::burn,           ToolKind::sponge,
    ToolKind::blur,         ToolKind::sharpen,        ToolKind::smudge,
    ToolKind::paintBucket,  ToolKind::gradient,       ToolKind::pen,
    ToolKind::curvaturePen, ToolKind::node,           ToolKind::text,
    ToolKind::rectangle,    ToolKind::ellipse,        ToolKind::line,
    ToolKind::polygon,      ToolKind::star,           ToolKind::eyedropper,
    ToolKind::hand,         ToolKind::zoom,           ToolKind::rotateView,
};

} // namespace ombrel
