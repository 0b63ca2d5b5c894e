#include "Core/TileBlocks.h"

#include "Base/ParallelFor.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <unordered_map>

namespace ombrel {

namespace {

bool readsStoredTiles(const TileBlock& block) {
    return std::ranges::any_of(block.pieces,
                               [](const TilePiece& piece) { return piece.cell.isPixels(); });
}

bool givesSamePixels(const TileBlock& a, const TileBlock& b) {
    return std::ranges::equal(a.pieces, b.pieces, [](const TilePiece& one, const TilePiece& two) {
        if (one.rect != two.rect || one.cell.isSolid() != two.cell.isSolid()) return false;
        return !one.cell.isSolid() || isSameBits(one.cell.color(), two.cell.color());
    });
}

std::size_t hashOf(const TileBlock& block) {
    std::uint64_t hash = block.pieces.size();
    const auto add = [&](std::uint64_t value) {
        hash = (std::rotl(hash, 23) ^ value) * 0x9E3779B97F4A7C15u;
    };
    for (const TilePiece& piece : block.pieces) {
        add(static_cast<std::uint64_t>(piece.rect.left << 16 | piece.rect.right));
        add(static_cast<std::uint64_t>(piece.rect.top << 16 | piece.rect.bottom));
        if (!piece.cell.isSolid()) continue;
        for (const auto word : std::bit_cast<std::array<std::uint64_t, 2>>(piece.cell.color()))
            add(word);
    }
    return hash;
}

std::optional<TileContent> render(TileFormat format, const TileBlock& block, TileStore& store) {
    TileBuffer buffer = store.acquireBuffer(format);
    std::byte* tile = buffer.bytes();
    const bool startsWhole =
        !block.pieces.empty() && block.pieces.front().rect == TilePixels::LocalRect::wholeTile();
    if (!startsWhole) std::memset(tile, 0, bytesPerTile(format));
    for (const TilePiece& piece : block.pieces) {
        if (!piece.cell.isPixels()) {
            TilePixels::fill(format, tile, piece.rect,
                             piece.cell.isSolid() ? piece.cell.color() : PremultipliedColor{});
            continue;
        }
        const TilePin pin(piece.cell.tile());
        TilePixels::copy(format, tile, piece.rect, pin.bytes(), piece.sourceLeft, piece.sourceTop);
    }
    if (TilePixels::isBlank(format, tile)) {
        store.recycleBuffer(std::move(buffer));
        return std::nullopt;
    }
    return store.makeTile(std::move(buffer));
}

} // namespace

std::vector<std::optional<TileContent>>
renderBlocks(TileFormat format, std::span<const TileBlock> blocks, TileStore& store) {
    // For each block the one that is rendered in its stead.
    std::vector<std::size_t> source(blocks.size());
    std::vector<std::size_t> distinct;
    std::unordered_multimap<std::size_t, std::size_t> byHash;
    for (std::size_t index = 0; index < blocks.size(); ++index) {
        source[index] = index;
        if (!readsStoredTiles(blocks[index])) {
            const std::size_t hash = hashOf(blocks[index]);
            const auto [first, last] = byHash.equal_range(hash);
            const auto same = std::find_if(first, last, [&](const auto& entry) {
                return givesSamePixels(blocks[entry.second], blocks[index]);
            });
            if (same != last)
                source[index] = same->second;
            else
                byHash.emplace(hash, index);
        }
        if (source[index] == index) distinct.push_back(index);
    }

    std::vector<std::optional<TileContent>> results(blocks.size());
    parallelFor(ThreadPool::shared(), distinct.size(), [&](std::size_t index) {
        results[distinct[index]] = render(format, blocks[distinct[index]], store);
    });
    for (std::size_t index = 0; index < blocks.size(); ++index)
        if (source[index] != index) results[index] = results[source[index]];
    return results;
}

} // namespace ombrel
