#include "IO/Native/TileArea.h"

#include "Base/ParallelFor.h"
#include "Core/TileCompression.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>

namespace ombrel::NativeFormat {

namespace {

constexpr std::size_t tilesAtOnce = 64;

bool isCancelled(const Progress* progress) {
    return progress != nullptr && progress->isCancelled();
}

void report(Progress* progress, std::size_t done, std::size_t count) {
    if (progress != nullptr)
        progress->setFraction(static_cast<double>(done) / static_cast<double>(count));
}

/// Blobs of foreign files may be longer than any of ours.
TileBlob blobOf(const Tile& tile) {
    TileBlob blob = tile.store().compressedBlob(tile);
    if (std::ssize(blob) <= longestBlob(tile.format())) return blob;
    const TilePin pin(tile);
    return TileCompression::encode({pin.bytes(), bytesPerTile(tile.format())}, tile.format());
}

/// Whether the store can take it without knowing more: looks at the header byte and the size.
bool canBeBlob(const TileBlob& blob, TileFormat format) {
    if (blob.empty()) return false;
    if (blob[0] == std::byte{0}) return blob.size() > bytesPerTile(format);
    return blob[0] == std::byte{1} && blob.size() > 1;
}

bool liesWithin(const TileRef& ref, std::uint64_t areaSize) {
    return ref.offset >= 0 && ref.length >= 1 &&
           static_cast<std::uint64_t>(ref.offset) <= areaSize &&
           static_cast<std::uint64_t>(ref.length) <=
               areaSize - static_cast<std::uint64_t>(ref.offset);
}

/// For each reference the first one that is equal to it; nothing where one of them is bad.
/// Different references together never hold more than the area, so a small file cannot ask for much
/// memory.
std::optional<std::vector<std::size_t>> firstPlaces(std::span<const TileRef> refs,
                                                    std::uint64_t areaSize) {
    std::map<std::tuple<std::int64_t, std::int64_t, TileFormat>, std::size_t> seen;
    std::vector<std::size_t> firsts;
    firsts.reserve(refs.size());
    std::uint64_t total = 0;
    for (const TileRef& ref : refs) {
        if (!liesWithin(ref, areaSize)) return std::nullopt;
        const auto [at, isNew] =
            seen.try_emplace({ref.offset, ref.length, ref.format}, firsts.size());
        firsts.push_back(at->second);
        if (isNew) total += static_cast<std::uint64_t>(ref.length);
        if (total > areaSize) return std::nullopt;
    }
    return firsts;
}

std::expected<Tile, TileAreaFault> readTile(const TileRef& ref, ByteSource& source,
                                            std::uint64_t start, TileStore& store) {
    TileBlob blob(static_cast<std::size_t>(ref.length));
    const std::uint64_t at = start + static_cast<std::uint64_t>(ref.offset);
    if (source.readAt(at, blob) != blob.size()) return std::unexpected(TileAreaFault::io);
    if (!canBeBlob(blob, ref.format)) return std::unexpected(TileAreaFault::badRef);
    return store.makeTile(std::move(blob), ref.format);
}

} // namespace

std::int64_t longestBlob(TileFormat format) {
    return static_cast<std::int64_t>(bytesPerTile(format)) + 1;
}

std::expected<std::vector<TileRef>, TileAreaFault> writeTileArea(std::span<const Tile> tiles,
                                                                 ByteSink& sink,
                                                                 std::uint64_t start,
                                                                 Progress* progress) {
    std::vector<TileRef> refs;
    refs.reserve(tiles.size());
    std::int64_t offset = 0;
    std::vector<TileBlob> blobs;
    for (std::size_t first = 0; first < tiles.size(); first += tilesAtOnce) {
        if (isCancelled(progress)) return std::unexpected(TileAreaFault::cancelled);
        const std::span<const Tile> batch =
            tiles.subspan(first, std::min(tilesAtOnce, tiles.size() - first));
        blobs.assign(batch.size(), {});
        parallelFor(ThreadPool::shared(), batch.size(),
                    [&](std::size_t i) { blobs[i] = blobOf(batch[i]); });
        for (std::size_t i = 0; i < batch.size(); ++i) {
            const auto length = static_cast<std::int64_t>(blobs[i].size());
            if (!sink.writeAt(start + static_cast<std::uint64_t>(offset), blobs[i]))
                return std::unexpected(TileAreaFault::io);
            refs.push_back({batch[i].format(), offset, length});
            offset += length;
        }
        report(progress, first + batch.size(), tiles.size());
    }
    return refs;
}

std::expected<std::vector<Tile>, TileAreaFault> readTileArea(std::span<const TileRef> refs,
                                                             ByteSource& source,
                                                             std::uint64_t start, TileStore& store,
                                                             Progress* progress) {
    const std::uint64_t areaSize = source.size() > start ? source.size() - start : 0;
    const std::optional<std::vector<std::size_t>> firsts = firstPlaces(refs, areaSize);
    if (!firsts) return std::unexpected(TileAreaFault::badRef);
    std::vector<Tile> tiles;
    tiles.reserve(refs.size());
    for (std::size_t i = 0; i < refs.size(); ++i) {
        if (i % tilesAtOnce == 0) {
            if (isCancelled(progress)) return std::unexpected(TileAreaFault::cancelled);
            report(progress, i, refs.size());
            store.keepPace();
        }
        if ((*firsts)[i] != i) {
            tiles.push_back(tiles[(*firsts)[i]]);
            continue;
        }
        std::expected<Tile, TileAreaFault> tile = readTile(refs[i], source, start, store);
        if (!tile) return std::unexpected(tile.error());
        tiles.push_back(std::move(*tile));
    }
    return tiles;
}

} // namespace ombrel::NativeFormat
