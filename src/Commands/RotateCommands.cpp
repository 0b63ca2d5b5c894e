#include "Commands/RotateCommands.h"

#include "Commands/CanvasCommands.h"
#include "Commands/DocumentGrids.h"
#include "Commands/LayerTree.h"
#include "Core/TileStore.h"
#include "Engine/GridOrientation.h"
#include "Engine/GridRotation.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace ombrel {

namespace {

/// A turn by quarters or a mirroring of the canvas: a point goes where the orientation puts it,
/// plus the shift.
struct ExactTurn {
    Orientation orientation;
    PixelOffset shift;

    /// Takes a rectangle to where its corner is to lie.
    static ExactTurn of(Orientation orientation, const PixelRect& rect, std::int64_t x,
                        std::int64_t y) {
        const auto [placeX, placeY] = orientation.placeOf(rect.x, rect.y);
        const auto [endX, endY] = orientation.placeOf(rect.maxX() - 1, rect.maxY() - 1);
        return {orientation, {x - std::min(placeX, endX), y - std::min(placeY, endY)}};
    }

    PixelOffset offsetAfter(PixelOffset offset) const {
        if (orientation.isTransposed) std::swap(offset.dx, offset.dy);
        return {shift.dx + (orientation.isMirroredX ? -offset.dx : offset.dx),
                shift.dy + (orientation.isMirroredY ? -offset.dy : offset.dy)};
    }

    // A grid that lies on the raster of the canvas stays on it: pictures of one layer then remain
    // that layer's tiles. Any other turns within its own raster, and its tiles with it.
    std::expected<void, EngineError> turn(DocumentGrid& grid, TileStore& store,
                                          WorkMeter& meter) const {
        const bool staysOnRaster = grid.offset == PixelOffset{};
        auto result = oriented(grid.tiles, orientation, staysOnRaster ? shift : PixelOffset{},
                               grid.background, store, meter);
        if (!result) return std::unexpected(result.error());
        grid.tiles = *std::move(result);
        if (!staysOnRaster) grid.offset = offsetAfter(grid.offset);
        return {};
    }
};

std::expected<void, EngineError> rotate(DocumentGrid& grid, const Rotation& rotation,
                                        TileStore& store, WorkMeter& meter) {
    auto result = rotated({grid.tiles, grid.offset}, rotation, grid.background, store, meter);
    if (!result) return std::unexpected(result.error());
    grid.tiles = std::move(result->tiles);
    grid.offset = result->offset;
    return {};
}

/// What an angle is when it is one of quarters.
std::optional<Orientation> quarterTurn(double degrees) {
    const double quarters = degrees / 90;
    if (quarters != std::floor(quarters)) return std::nullopt;
    switch (static_cast<std::int64_t>(quarters) & 3) {
    case 1:
        return Orientation{true, true, false};
    case 2:
        return Orientation{false, true, true};
    case 3:
        return Orientation{true, false, true};
    default:
        return Orientation{};
    }
}

Orientation flip(FlipAxis axis) {
    return {false, axis == FlipAxis::horizontal, axis == FlipAxis::vertical};
}

CommandResult turnCanvas(DocumentState& state, Orientation orientation, const CommandContext& in) {
    if (orientation == Orientation{}) return {};
    const ExactTurn turn = ExactTurn::of(orientation, PixelRect::ofSize(state.canvas.size), 0, 0);
    state.canvas.size = orientation.uprightSize(state.canvas.size);
    return editGrids(state, in, [&](DocumentGrid& grid, WorkMeter& meter) {
        return turn.turn(grid, in.store, meter);
    });
}

RealPoint middleOf(const PixelRect& rect) {
    return {static_cast<double>(rect.x) + static_cast<double>(rect.width) / 2,
            static_cast<double>(rect.y) + static_cast<double>(rect.height) / 2};
}

/// What holds a turned rectangle; a millionth of a pixel more does not count.
PixelSize sizeAround(PixelSize size, double degrees) {
    const double angle = degrees * std::numbers::pi / 180;
    const double sine = std::fabs(std::sin(angle));
    const double cosine = std::fabs(std::cos(angle));
    const auto width = static_cast<double>(size.width);
    const auto height = static_cast<double>(size.height);
    return {static_cast<std::int64_t>(std::ceil(width * cosine + height * sine - 1e-6)),
            static_cast<std::int64_t>(std::ceil(width * sine + height * cosine - 1e-6))};
}

/// A layer or group that may not be moved or changed, or one below it.
const LayerNode* lockedNode(const LayerNode& node) {
    const LayerLocks locks = node.properties().locks;
    if (locks.contains(LayerLocks::pixels) || locks.contains(LayerLocks::position)) return &node;
    if (const GroupLayer* group = node.group()) {
        for (const LayerNode& child : group->children)
            if (const LayerNode* locked = lockedNode(child)) return locked;
    }
    return nullptr;
}

/// Calls edit(bounds of all content, grid, meter) for the grids of the layers that turn.
template <typename Edit>
CommandResult turnLayers(DocumentState& state, std::span<const LayerID> ids,
                         const CommandContext& in, Edit&& edit) {
    const auto reduced = LayerTree::reduced(state, ids);
    if (!reduced) return std::unexpected(reduced.error());
    std::vector<LayerNode> nodes;
    for (const LayerID id : *reduced) {
        nodes.push_back(*state.find(id));
        if (const LayerNode* locked = lockedNode(nodes.back()))
            return std::unexpected(CommandError::layerLocked(locked->properties().name));
    }
    const auto bounds = contentBounds(std::span<const LayerNode>(nodes));
    if (!bounds) return std::unexpected(CommandError::of(CommandError::Kind::emptyRegion));
    CommandResult result =
        editGrids(std::span(nodes), in,
                  [&](DocumentGrid& grid, WorkMeter& meter) -> std::expected<void, EngineError> {
                      if (!grid.isLinked) return {};
                      return edit(*bounds, grid, meter);
                  });
    if (!result) return result;
    for (LayerNode& node : nodes)
        state.update(node.id(), [&](LayerNode& place) { place = std::move(node); });
    return {};
}

CommandResult turnLayersExactly(DocumentState& state, std::span<const LayerID> ids,
                                Orientation orientation, const CommandContext& in) {
    return turnLayers(
        state, ids, in, [&](const PixelRect& bounds, DocumentGrid& grid, WorkMeter& meter) {
            // Rounding towards 0 takes four quarters to where they began.
            const PixelSize size = orientation.uprightSize({bounds.width, bounds.height});
            return ExactTurn::of(orientation, bounds, bounds.x + (bounds.width - size.width) / 2,
                                 bounds.y + (bounds.height - size.height) / 2)
                .turn(grid, in.store, meter);
        });
}

std::string nameOfFlip(FlipAxis axis, const std::string& what) {
    return "Flip " + what + (axis == FlipAxis::horizontal ? "Horizontal" : "Vertical");
}

} // namespace

CommandResult RotateCanvasCommand::apply(DocumentState& state, const CommandContext& in) const {
    if (!std::isfinite(degrees)) return {};
    if (const auto orientation = quarterTurn(degrees)) return turnCanvas(state, *orientation, in);
    const PixelRect canvas = PixelRect::ofSize(state.canvas.size);
    const PixelSize size = sizeAround(state.canvas.size, degrees);
    if (auto refusal = refusalOfSize(size)) return std::unexpected(*std::move(refusal));
    state.canvas.size = size;
    const Rotation rotation{degrees, middleOf(canvas),
                            middleOf(PixelRect::ofSize(state.canvas.size))};
    return editGrids(state, in, [&](DocumentGrid& grid, WorkMeter& meter) {
        return rotate(grid, rotation, in.store, meter);
    });
}

std::string FlipCanvasCommand::name() const {
    return nameOfFlip(axis, "Canvas ");
}

CommandResult FlipCanvasCommand::apply(DocumentState& state, const CommandContext& in) const {
    return turnCanvas(state, flip(axis), in);
}

CommandResult RotateLayersCommand::apply(DocumentState& state, const CommandContext& in) const {
    if (!std::isfinite(degrees)) return {};
    if (const auto orientation = quarterTurn(degrees))
        return turnLayersExactly(state, layerIDs, *orientation, in);
    return turnLayers(
        state, layerIDs, in, [&](const PixelRect& bounds, DocumentGrid& grid, WorkMeter& meter) {
            return rotate(grid, {degrees, middleOf(bounds), middleOf(bounds)}, in.store, meter);
        });
}

std::string FlipLayersCommand::name() const {
    return nameOfFlip(axis, "");
}

CommandResult FlipLayersCommand::apply(DocumentState& state, const CommandContext& in) const {
    return turnLayersExactly(state, layerIDs, flip(axis), in);
}

} // namespace ombrel
