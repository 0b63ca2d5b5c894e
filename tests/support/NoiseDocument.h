// Documents of which every byte follows from a version number, so that a process can tell what
// another one has written: noise that nothing makes smaller, half a megabyte a tile.
#pragma once

#include "Core/Board.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

namespace ombrel::test {

inline constexpr std::int64_t noiseColumns = 32;

/// The stored form of a tile that was kept as it is.
inline TileBlob noiseBlob(std::uint64_t version, std::int64_t index) {
    TileBlob blob(bytesPerTile(TileFormat::rgba16Float) + 1, std::byte{0});
    std::uint64_t state = version * 0x9E3779B97F4A7C15u + static_cast<std::uint64_t>(index);
    for (std::size_t at = 1; at < blob.size(); at += sizeof(state)) {
        state += 0x9E3779B97F4A7C15u;
        std::uint64_t bits = (state ^ (state >> 30)) * 0xBF58476D1CE4E5B9u;
        bits ^= bits >> 27;
        std::memcpy(blob.data() + at, &bits, sizeof(bits));
    }
    return blob;
}

inline TileCoord noisePlace(std::int64_t index) {
    return TileCoord::checked(index % noiseColumns, index / noiseColumns);
}

inline Board makeNoiseBoard(std::uint64_t version, std::int64_t tileCount, TileStore& store) {
    PixelLayer layer = PixelLayer::named("Noise");
    for (std::int64_t i = 0; i < tileCount; ++i)
        layer.pixels.set(noisePlace(i),
                         store.makeTile(noiseBlob(version, i), TileFormat::rgba16Float));
    DocumentState state;
    state.canvas.size = {noiseColumns * tileSize, (tileCount / noiseColumns + 1) * tileSize};
    state.insert({LayerNode(std::move(layer))}, std::nullopt, 0);
    return Board(std::move(state), std::to_string(version));
}

/// The version that this is, to the last byte of the last tile; nothing where it is none.
inline std::optional<std::uint64_t> noiseVersion(const Board& board, std::int64_t tileCount) {
    const DocumentState& state = board.activeNode().state;
    const std::uint64_t version = std::strtoull(board.activeNode().name.c_str(), nullptr, 10);
    const PixelLayer* layer = state.activePixelLayer();
    if (layer == nullptr || layer->pixels.tileCount() != tileCount) return std::nullopt;
    for (std::int64_t i = 0; i < tileCount; ++i) {
        const TileCell cell = layer->pixels.cell(noisePlace(i));
        if (!cell.isPixels()) return std::nullopt;
        if (cell.tile().store().compressedBlob(cell.tile()) != noiseBlob(version, i))
            return std::nullopt;
    }
    return version;
}

/// Roomy enough for `tileCount` tiles of noise, which stay in memory.
inline std::shared_ptr<TileStore> makeNoiseStore(std::int64_t tileCount) {
    const std::int64_t bytes = 2 * (tileCount + 64) * (bytesPerTile(TileFormat::rgba16Float) + 1);
    return TileStore::create({.residentBytes = bytes, .compressedBytes = bytes, .poolBytes = 0},
                             std::filesystem::temp_directory_path());
}

} // namespace ombrel::test
