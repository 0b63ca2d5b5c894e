#include "Commands/DocumentGrids.h"

#include "Core/ContentBounds.h"

#include <algorithm>

namespace ombrel {

namespace {

/// What a live layer describes is no longer what its redrawn pixels show: it becomes a plain one.
template <typename Visit>
bool visitPixels(PixelLayer& layer, Visit& visit) {
    const TileGrid before = layer.pixels;
    DocumentGrid pixels{layer.pixels, layer.offset};
    if (!visit(pixels)) return false;
    if (layer.isLive() && layer.pixels != before) layer.replacePixels(layer.pixels);
    return true;
}

/// Calls visit(DocumentGrid&) for every grid; a visit that returns false ends the walk.
template <typename Visit>
bool visitGrids(std::span<LayerNode> nodes, Visit& visit) {
    for (LayerNode& node : nodes) {
        if (node.group() != nullptr) {
            if (!visitGrids(std::span(node.writeGroup()->children), visit)) return false;
        } else {
            if (!visitPixels(*node.writePixelLayer(), visit)) return false;
        }
        if (!node.mask()) continue;
        LayerMask& mask = *node.writeMask();
        DocumentGrid coverage{mask.pixels, mask.offset, true, mask.isLinked, mask.background};
        if (!visit(coverage)) return false;
    }
    return true;
}

std::int64_t weightOf(const DocumentGrid& grid) {
    return grid.tiles.pixelTileCount() + 1;
}

} // namespace

CommandResult editGrids(std::span<LayerNode> nodes, const CommandContext& in,
                        const GridEdit& edit) {
    std::int64_t total = 0;
    const auto count = [&](DocumentGrid& grid) {
        total += weightOf(grid);
        return true;
    };
    visitGrids(nodes, count);
    WorkMeter meter(in.progress, total);
    CommandResult result;
    const auto visit = [&](DocumentGrid& grid) {
        meter.beginPart(weightOf(grid));
        if (meter.isCancelled()) {
            result = std::unexpected(CommandError::of(CommandError::Kind::cancelled));
        } else if (const auto edited = edit(grid, meter); !edited) {
            result = std::unexpected(CommandError::from(edited.error()));
        }
        return result.has_value();
    };
    visitGrids(nodes, visit);
    return result;
}

CommandResult editGrids(DocumentState& state, const CommandContext& in, const GridEdit& edit) {
    return editGrids(std::span(state.root.write().children), in, edit);
}

void moveGrids(DocumentState& state, PixelOffset by) {
    if (by == PixelOffset{}) return;
    const auto move = [&](DocumentGrid& grid) {
        grid.offset.dx += by.dx;
        grid.offset.dy += by.dy;
        return true;
    };
    visitGrids(std::span(state.root.write().children), move);
}

std::optional<PixelRect> contentBounds(std::span<const LayerNode> nodes) {
    std::optional<PixelRect> bounds;
    for (const LayerNode& node : nodes) {
        std::optional<PixelRect> part;
        if (const GroupLayer* group = node.group()) {
            part = contentBounds(std::span<const LayerNode>(group->children));
        } else {
            part = contentBounds(node.pixelLayer()->pixels);
            if (part) part = part->offsetBy(node.pixelLayer()->offset);
        }
        if (part) bounds = bounds ? unionOf(*bounds, *part) : *part;
    }
    return bounds;
}

} // namespace ombrel
