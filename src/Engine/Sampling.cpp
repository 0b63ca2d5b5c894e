#include "Engine/Sampling.h"

#include "Base/ParallelFor.h"
#include "Core/BlendMath.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <array>
#include <vector>

namespace ombrel {

namespace {

constexpr std::size_t rowsInParallel = 16; ///< fewer are not worth it

float valueOf(const LayerMask* mask, std::int64_t x, std::int64_t y) {
    return mask != nullptr ? maskValueAt(*mask, x, y) : 1;
}

BlendMath::Op opOf(const CompositeStep& step, std::int64_t x, std::int64_t y) {
    if (const auto* begin = std::get_if<BeginStep>(&step.value))
        return BlendMath::BeginOp{begin->isolated};
    if (const auto* end = std::get_if<EndStep>(&step.value))
        return BlendMath::EndOp{end->isolated, end->opacity, end->blendMode,
                                valueOf(step.mask(), x, y)};
    const PixelLayer& layer = *step.pixelLayer();
    return BlendMath::LayerOp{layer.pixels.color(x - layer.offset.dx, y - layer.offset.dy),
                              layer.properties.opacity, layer.properties.blendMode,
                              valueOf(step.mask(), x, y),
                              std::holds_alternative<ClippedStep>(step.value)};
}

/// The pixels of the square around a place that lie on the canvas.
PixelRect windowAround(PixelSize canvas, std::int64_t x, std::int64_t y, std::int64_t radius) {
    const std::int64_t side = 2 * radius + 1;
    return intersectionOf({x - radius, y - radius, side, side}, PixelRect::ofSize(canvas));
}

/// All zero of an empty window. Rows are independent, and summed up in their order.
template <typename ColorAt>
PremultipliedColor meanOf(const PixelRect& window, ColorAt&& colorAt) {
    using Sum = std::array<double, 4>;
    if (window.isEmpty()) return {};
    std::vector<Sum> rows(static_cast<std::size_t>(window.height));
    const auto sumRow = [&](std::size_t row) {
        Sum sum{};
        for (std::int64_t x = window.x; x < window.maxX(); ++x) {
            const PremultipliedColor c = colorAt(x, window.y + static_cast<std::int64_t>(row));
            sum[0] += c.red;
            sum[1] += c.green;
            sum[2] += c.blue;
            sum[3] += c.alpha;
        }
        rows[row] = sum;
    };
    if (rows.size() < rowsInParallel) {
        for (std::size_t row = 0; row < rows.size(); ++row)
            sumRow(row);
    } else {
        parallelFor(ThreadPool::shared(), rows.size(), sumRow);
    }
    Sum total{};
    for (const Sum& row : rows)
        for (std::size_t channel = 0; channel < total.size(); ++channel)
            total[channel] += row[channel];
    const auto count = static_cast<double>(window.width * window.height);
    const auto mean = [&](double channel) { return static_cast<float>(channel / count); };
    return {mean(total[0]), mean(total[1]), mean(total[2]), mean(total[3])};
}

} // namespace

float maskValueAt(const LayerMask& mask, std::int64_t x, std::int64_t y) {
    const std::int64_t maskX = x - mask.offset.dx;
    const std::int64_t maskY = y - mask.offset.dy;
    float m = 0;
    float a = 0;
    const TileRange all = TileRange::everything();
    if (all.contains(maskX >> tileShift, maskY >> tileShift)) {
        const TileCell cell =
            mask.pixels.cell(TileCoord::checked(maskX >> tileShift, maskY >> tileShift));
        if (cell.isSolid()) {
            m = cell.color().red;
            a = cell.color().alpha;
        } else if (cell.isPixels()) {
            const std::byte byte =
                TilePin(cell.tile())
                    .bytes()[(maskY & (tileSize - 1)) * tileSize + (maskX & (tileSize - 1))];
            m = static_cast<float>(byte) / 255.0f;
            a = 1;
        }
    }
    return std::clamp(m + (1 - a) * mask.background, 0.0f, 1.0f);
}

PremultipliedColor evaluateAt(const CompositeProgram& program, bool perceptual, std::int64_t x,
                              std::int64_t y) {
    std::vector<BlendMath::Op> ops;
    ops.reserve(program.size());
    for (const CompositeStep& step : program)
        ops.push_back(opOf(step, x, y));
    return BlendMath::evaluate(ops, perceptual, static_cast<std::int32_t>(x),
                               static_cast<std::int32_t>(y));
}

PremultipliedColor sampleMerged(const DocumentState& state, std::int64_t x, std::int64_t y,
                                std::int64_t radius) {
    const CompositeProgram program = state.compositeProgram();
    return meanOf(windowAround(state.canvas.size, x, y, radius),
                  [&](std::int64_t column, std::int64_t row) {
                      return evaluateAt(program, !state.canvas.blendUsingGamma1, column, row);
                  });
}

PremultipliedColor sampleLayer(const PixelLayer& layer, PixelSize canvas, std::int64_t x,
                               std::int64_t y, std::int64_t radius) {
    return meanOf(windowAround(canvas, x, y, radius), [&](std::int64_t column, std::int64_t row) {
        return layer.pixels.color(column - layer.offset.dx, row - layer.offset.dy);
    });
}

} // namespace ombrel
