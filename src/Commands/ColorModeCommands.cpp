#include "Commands/ColorModeCommands.h"

#include "Commands/DocumentGrids.h"
#include "Core/TileStore.h"
#include "Engine/GridRecoloring.h"

namespace ombrel {

namespace {

CommandResult recolor(DocumentState& state, ColorChange change, const CommandContext& in) {
    GridRecoloring recoloring(std::move(change), in.store);
    return editGrids(state, in,
                     [&](DocumentGrid& grid, WorkMeter& meter) -> std::expected<void, EngineError> {
                         if (grid.isMask) return {};
                         auto result = recoloring.changed(grid.tiles, meter);
                         if (!result) return std::unexpected(result.error());
                         grid.tiles = *std::move(result);
                         return {};
                     });
}

} // namespace

CommandResult AssignProfileCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto curves = CurveChange::between(state.canvas.profile, profile);
    if (!curves) return std::unexpected(CommandError::of(CommandError::Kind::unreadableProfile));
    state.canvas.profile = profile;
    return curves->isIdentity() ? CommandResult{} : recolor(state, curves->change(), in);
}

CommandResult ConvertProfileCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto conversion = ProfileConversion::between(state.canvas.profile, profile);
    if (!conversion)
        return std::unexpected(CommandError::of(CommandError::Kind::unreadableProfile));
    state.canvas.profile = profile;
    if (conversion->isIdentity()) return {};
    return recolor(state, ColorChange::byProfile(*conversion), in);
}

CommandResult SetBitDepthCommand::apply(DocumentState& state, const CommandContext&) const {
    state.canvas.bitDepth = bitDepth;
    return {};
}

CommandResult SetBlendingSpaceCommand::apply(DocumentState& state, const CommandContext&) const {
    state.canvas.blendUsingGamma1 = blendUsingGamma1;
    return {};
}

} // namespace ombrel
