// The tools by name: one table of their identifiers, display names, icons and shortcut letters, in
// the order of the enumeration. The identifier is what files, settings and scripts call a tool.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ombrel {

enum class ToolKind : std::uint8_t {
    move,
    transform,
    marquee,
    ellipticalMarquee,
    lasso,
    polygonalLasso,
    quickSelect,
    crop,
    brush,
    pencil,
    sprayPaint,
    mixerBrush,
    eraser,
    magicEraser,
    paintBucket,
    gradient,
    remove,
    healingBrush,
    patch,
    redEye,
    cloneStamp,
    dodge,
    burn,
    sponge,
    blur,
    sharpen,
    smudge,
    pen,
    curvaturePen,
    node,
    rectangle,
    ellipse,
    line,
    polygon,
    star,
    text,
    eyedropper,
    hand,
    zoom,
    rotateView,
};

struct ToolDescription {
    ToolKind kind;
    std::string_view identifier;
    std::string_view displayName;
    std::string_view icon;           ///< of the Lucide set
    std::optional<char> letter = {}; ///< lower case; several tools share one
};

inline constexpr std::array<ToolDescription, 40> toolDescriptions{{
    {ToolKind::move, "move", "Move", "mouse-pointer-2", 'v'},
    {ToolKind::transform, "transform", "Transform", "move", 'k'},
    {ToolKind::marquee, "marquee", "Rectangular Marquee", "box-select", 'm'},
    {ToolKind::ellipticalMarquee, "ellipticalMarquee", "Elliptical Marquee", "circle-dashed", 'm'},
    {ToolKind::lasso, "lasso", "Lasso", "lasso", 'l'},
    {ToolKind::polygonalLasso, "polygonalLasso", "Polygonal Lasso", "pentagon", 'l'},
    {ToolKind::quickSelect, "quickSelect", "Quick Select", "wand-sparkles", 'w'},
    {ToolKind::crop, "crop", "Crop", "crop", 'c'},
    {ToolKind::brush, "brush", "Brush", "brush", 'b'},
    {ToolKind::pencil, "pencil", "Pencil", "pencil", 'b'},
    {ToolKind::sprayPaint, "sprayPaint", "Spray Paint", "spray-can", 'b'},
    {ToolKind::mixerBrush, "mixerBrush", "Mixer Brush", "palette", 'b'},
    {ToolKind::eraser, "eraser", "Eraser", "eraser", 'e'},
    {ToolKind::magicEraser, "magicEraser", "Magic Eraser", "sparkle", 'e'},
    {ToolKind::paintBucket, "paintBucket", "Paint Bucket", "paint-bucket", 'g'},
    {ToolKind::gradient, "gradient", "Gradient", "blend", 'g'},
    {ToolKind::remove, "remove", "Remove", "sparkles", 'j'},
    {ToolKind::healingBrush, "healingBrush", "Healing Brush", "pill", 'j'},
    {ToolKind::patch, "patch", "Patch", "puzzle", 'j'},
    {ToolKind::redEye, "redEye", "Red Eye", "eye", 'j'},
    {ToolKind::cloneStamp, "cloneStamp", "Clone Stamp", "stamp", 's'},
    {ToolKind::dodge, "dodge", "Dodge", "sun", 'o'},
    {ToolKind::burn, "burn", "Burn", "flame", 'o'},
    {ToolKind::sponge, "sponge", "Sponge", "droplets", 'o'},
    {ToolKind::blur, "blur", "Blur", "droplet"},
    {ToolKind::sharpen, "sharpen", "Sharpen", "triangle"},
    {ToolKind::smudge, "smudge", "Smudge", "pointer"},
    {ToolKind::pen, "pen", "Pen", "pen-tool", 'p'},
    {ToolKind::curvaturePen, "curvaturePen", "Curvature", "spline", 'a'},
    {ToolKind::node, "node", "Node Select", "mouse-pointer"},
    {ToolKind::rectangle, "rectangle", "Rectangle", "square", 'u'},
    {ToolKind::ellipse, "ellipse", "Ellipse", "circle", 'u'},
    {ToolKind::line, "line", "Line", "slash", 'u'},
    {ToolKind::polygon, "polygon", "Polygon", "hexagon", 'u'},
    {ToolKind::star, "star", "Star", "star", 'u'},
    {ToolKind::text, "text", "Text", "type", 't'},
    {ToolKind::eyedropper, "eyedropper", "Eyedropper", "pipette", 'i'},
    {ToolKind::hand, "hand", "Hand", "hand", 'h'},
    {ToolKind::zoom, "zoom", "Zoom", "search", 'z'},
    {ToolKind::rotateView, "rotateView", "Rotate View", "rotate-cw", 'r'},
}};

constexpr const ToolDescription& descriptionOf(ToolKind kind) {
    return toolDescriptions[static_cast<std::size_t>(kind)];
}

static_assert(std::ranges::all_of(toolDescriptions, [](const ToolDescription& tool) {
    return &descriptionOf(tool.kind) == &tool;
}));

constexpr std::optional<ToolKind> toolKindNamed(std::string_view identifier) {
    const auto* tool =
        std::ranges::find(toolDescriptions, identifier, &ToolDescription::identifier);
    if (tool == toolDescriptions.end()) return std::nullopt;
    return tool->kind;
}

/// Tools that no list offers; other tools lead to them.
inline constexpr std::array<ToolKind, 1> hiddenTools{ToolKind::remove};

constexpr bool isHidden(ToolKind kind) {
    return std::ranges::find(hiddenTools, kind) != hiddenTools.end();
}

} // namespace ombrel
