#include "Commands/CanvasCommands.h"

#include "Commands/DocumentGrids.h"
#include "Core/ContentBounds.h"
#include "Core/TileStore.h"
#include "Engine/Flattener.h"

#include <algorithm>

namespace ombrel {

namespace {

/// Makes a rectangle of the canvas the canvas.
CommandResult reframe(DocumentState& state, const PixelRect& rect) {
    if (auto refusal = refusalOfSize({rect.width, rect.height}))
        return std::unexpected(*std::move(refusal));
    state.canvas.size = {rect.width, rect.height};
    moveGrids(state, {-rect.x, -rect.y});
    return {};
}

} // namespace

std::optional<CommandError> refusalOfSize(PixelSize size) {
    if (size.isEmpty()) return CommandError::of(CommandError::Kind::emptyRegion);
    if (std::max(size.width, size.height) <= largestCanvasSide) return std::nullopt;
    return CommandError{CommandError::Kind::engine,
                        "An image can't be larger than 300000 pixels on a side."};
}

CommandResult CanvasSizeCommand::apply(DocumentState& state, const CommandContext&) const {
    // Rounding towards 0 takes the way back to where it began.
    const int index = static_cast<int>(anchor);
    const std::int64_t left = (size.width - state.canvas.size.width) * (index % 3) / 2;
    const std::int64_t top = (size.height - state.canvas.size.height) * (index / 3) / 2;
    return reframe(state, {-left, -top, size.width, size.height});
}

CommandResult CropCommand::apply(DocumentState& state, const CommandContext& in) const {
    if (CommandResult result = reframe(state, rect); !result || !deletesCroppedPixels)
        return result;
    return editGrids(
        state, in, [&](DocumentGrid& grid, WorkMeter&) -> std::expected<void, EngineError> {
            const PixelRect kept =
                PixelRect::ofSize(state.canvas.size).offsetBy({-grid.offset.dx, -grid.offset.dy});
            // What holds nothing outside keeps its tiles.
            const auto bounds = contentBounds(grid.tiles);
            if (!grid.isMask && bounds && kept.contains(*bounds)) return {};
            // Pixels that a mask loses would hide or reveal: it keeps its outermost tiles whole.
            grid.tiles =
                grid.isMask ? grid.tiles.subgrid(kept) : grid.tiles.cropped(kept, in.store);
            return {};
        });
}

CommandResult TrimCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto picture = Flattener::compositeGrid(state, in.device, in.store, nullptr, in.progress);
    if (!picture) return std::unexpected(CommandError::from(picture.error()));
    const auto bounds = contentBounds(*picture);
    const PixelRect canvas = PixelRect::ofSize(state.canvas.size);
    const PixelRect rect = bounds ? intersectionOf(*bounds, canvas) : PixelRect{};
    if (rect.isEmpty()) return std::unexpected(CommandError::of(CommandError::Kind::emptyRegion));
    return reframe(state, rect);
}

CommandResult RevealAllCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto bounds = contentBounds(std::span<const LayerNode>(state.root->children));
    const PixelRect canvas = PixelRect::ofSize(state.canvas.size);
    return reframe(state, bounds ? unionOf(canvas, *bounds) : canvas);
}

} // namespace ombrel
