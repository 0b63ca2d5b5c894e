#include "Core/MaskTiles.h"

#include "Base/ParallelFor.h"
#include "Core/TilePixels.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ombrel::MaskTiles {

namespace {

using Pixel = std::array<Half, 4>;

TileContent greyTile(const Tile& tile, TileStore& store) {
    static const auto greys = [] {
        std::array<Pixel, 256> all{};
        for (std::size_t byte = 0; byte < all.size(); ++byte)
            all[byte] = greyOf(static_cast<float>(byte) / 255).halves();
        return all;
    }();
    TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
    const TilePin pin(tile);
    const std::byte* from = pin.bytes();
    for (std::size_t i = 0; i < pixelsPerTile; ++i)
        std::memcpy(buffer.bytes() + i * sizeof(Pixel),
                    &greys[std::to_integer<std::size_t>(from[i])], sizeof(Pixel));
    return store.makeTile(std::move(buffer));
}

TileContent valueTile(const Tile& tile, float background, TileStore& store) {
    TileBuffer buffer = store.acquireBuffer(TileFormat::r8);
    const TilePin pin(tile);
    const std::byte* from = pin.bytes();
    for (std::size_t i = 0; i < pixelsPerTile; ++i) {
        Pixel pixel;
        std::memcpy(&pixel, from + i * sizeof(Pixel), sizeof(Pixel));
        const float value =
            valueOf({toFloat(pixel[0]), toFloat(pixel[1]), toFloat(pixel[2]), toFloat(pixel[3])},
                    background);
        buffer.bytes()[i] = std::byte{TilePixels::coverageOf(value)};
    }
    return store.makeTile(std::move(buffer));
}

template <typename Convert>
Contents convertAll(const Cells& cells, TileStore& store, Convert&& convert) {
    Contents made(cells.size());
    parallelFor(ThreadPool::shared(), cells.size(), [&](std::size_t i) {
        store.keepPace();
        made[i] = {cells[i].first, convert(cells[i].second)};
    });
    return made;
}

} // namespace

float valueOf(const PremultipliedColor& color, float background) {
    const float luminance = 0.2126f * color.red + 0.7152f * color.green + 0.0722f * color.blue;
    const float value = luminance + (1 - color.alpha) * background;
    return value > 0 ? std::min(value, 1.0f) : 0; // NaN is nothing
}

PremultipliedColor greyOf(float value) {
    return {value, value, value, 1};
}

float valueOfSolid(const PremultipliedColor& color, float background) {
    return std::clamp(color.red + (1 - color.alpha) * background, 0.0f, 1.0f);
}

Contents greyCells(const Cells& cells, float background, TileStore& store) {
    return convertAll(cells, store, [&](const TileCell& cell) -> std::optional<TileContent> {
        if (cell.isPixels()) return greyTile(cell.tile(), store);
        if (cell.isSolid()) return greyOf(valueOfSolid(cell.color(), background));
        return greyOf(background);
    });
}

Contents valueCells(const Cells& cells, float background, TileStore& store) {
    return convertAll(cells, store, [&](const TileCell& cell) -> std::optional<TileContent> {
        if (cell.isPixels()) return valueTile(cell.tile(), background, store);
        if (cell.isSolid()) return greyOf(valueOf(cell.color(), background));
        return std::nullopt;
    });
}

} // namespace ombrel::MaskTiles
