#include "Commands/ImageSizeCommand.h"

#include "Commands/CanvasCommands.h"
#include "Commands/DocumentGrids.h"
#include "Core/TileStore.h"
#include "Engine/Resampling.h"

#include <cmath>

namespace ombrel {

CommandResult ImageSizeCommand::apply(DocumentState& state, const CommandContext& in) const {
    if (resolution && std::isfinite(*resolution) && *resolution > 0)
        state.canvas.resolution = *resolution;
    if (!size || *size == state.canvas.size) return {};
    if (auto refusal = refusalOfSize(*size)) return std::unexpected(*std::move(refusal));
    if (state.canvas.size.isEmpty())
        return std::unexpected(CommandError::of(CommandError::Kind::emptyRegion));
    const Resampling resampling{state.canvas.size, *size, filter};
    state.canvas.size = *size;
    return editGrids(
        state, in, [&](DocumentGrid& grid, WorkMeter& meter) -> std::expected<void, EngineError> {
            auto result =
                resampled({grid.tiles, grid.offset}, resampling, grid.background, in.store, meter);
            if (!result) return std::unexpected(result.error());
            grid.tiles = std::move(result->tiles);
            grid.offset = result->offset;
            return {};
        });
}

} // namespace ombrel
