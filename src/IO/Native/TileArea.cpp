#include "IO/Native/TileArea.h"

#include "Base/ParallelFor.h"
#include "Core/TileCompression.h"
#include "Core/TileStore.h"

#include <algorithm>
#include <atomic>
#include <numeric>
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

auto keyOf(const TileRef& ref) {
    return std::tuple(ref.offset, ref.length, ref.format);
}

/// For each reference the first one that is equal to it; nothing where one of them is bad.
/// Different references together never hold more than the area, so a small file cannot ask for much
/// memory.
std::optional<std::vector<std::size_t>> firstPlaces(std::span<const TileRef> refs,
                                                    std::uint64_t areaSize) {
    if (!std::ranges::all_of(refs, [&](const TileRef& ref) { return liesWithin(ref, areaSize); }))
        return std::nullopt;
    std::vector<std::size_t> order(refs.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto isBefore = [&](std::size_t a, std::size_t b) {
        return std::tuple(keyOf(refs[a]), a) < std::tuple(keyOf(refs[b]), b);
    };
    if (!std::ranges::is_sorted(order, isBefore)) std::ranges::sort(order, isBefore);
    std::vector<std::size_t> firsts(refs.size());
    std::uint64_t total = 0;
    std::size_t first = 0;
    for (const std::size_t place : order) {
        if (place == order.front() || refs[place] != refs[first]) {
            first = place;
            total += static_cast<std::uint64_t>(refs[place].length);
            if (total > areaSize) return std::nullopt;
        }
        firsts[place] = first;
    }
    return firsts;
}

/// Reads what different references point at, some at a time, on all cores.
class BlobReading {
public:
    BlobReading(std::span<const TileRef> refs, ByteSource& source, std::uint64_t start)
        : refs_(refs), source_(source), start_(start) {}

    /// How many references from `first` on are read at once.
    std::size_t batchFrom(std::size_t first) const {
        std::size_t end = first;
        std::int64_t bytes = 0;
        while (end < refs_.size() && end - first < mostBlobs && bytes < batchBytes)
            bytes += refs_[end++].length;
        return end - first;
    }

    /// The blobs of a batch in their order; empty ones for references that repeat others.
    std::expected<std::vector<TileBlob>, TileAreaFault> read(std::size_t first, std::size_t count,
                                                             std::span<const std::size_t> firsts) {
        std::vector<TileBlob> blobs(count);
        for (std::size_t i = 0; i < count; ++i) {
            if (firsts[first + i] == first + i)
                blobs[i] = TileBlob(static_cast<std::size_t>(refs_[first + i].length));
        }
        announceAfter(first + count);
        std::atomic<bool> isWhole = true;
        const std::size_t runs = (count + blobsOfRun - 1) / blobsOfRun;
        parallelFor(ThreadPool::shared(), runs, [&](std::size_t run) {
            for (std::size_t i = run * blobsOfRun; i < std::min(count, (run + 1) * blobsOfRun);
                 ++i) {
                if (source_.readAt(placeOf(first + i), blobs[i]) != blobs[i].size())
                    isWhole = false;
            }
        });
        if (!isWhole) return std::unexpected(TileAreaFault::io);
        return blobs;
    }

private:
    static constexpr std::int64_t batchBytes = std::int64_t{8} << 20;
    static constexpr std::size_t mostBlobs = 4096;
    static constexpr std::size_t blobsOfRun = 32;

    std::uint64_t placeOf(std::size_t index) const {
        return start_ + static_cast<std::uint64_t>(refs_[index].offset);
    }
    void announceAfter(std::size_t index) {
        if (index < refs_.size()) source_.announce(placeOf(index), 4 * batchBytes);
    }

    std::span<const TileRef> refs_;
    ByteSource& source_;
    std::uint64_t start_;
};

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
    BlobReading reading(refs, source, start);
    std::vector<Tile> tiles;
    tiles.reserve(refs.size());
    while (tiles.size() < refs.size()) {
        if (isCancelled(progress)) return std::unexpected(TileAreaFault::cancelled);
        report(progress, tiles.size(), refs.size());
        store.keepPace();
        const std::size_t first = tiles.size();
        auto blobs = reading.read(first, reading.batchFrom(first), *firsts);
        if (!blobs) return std::unexpected(blobs.error());
        for (std::size_t i = 0; i < blobs->size(); ++i) {
            const std::size_t place = (*firsts)[first + i];
            if (place != first + i) {
                tiles.push_back(tiles[place]);
                continue;
            }
            TileBlob& blob = (*blobs)[i];
            if (!canBeBlob(blob, refs[place].format)) return std::unexpected(TileAreaFault::badRef);
            tiles.push_back(store.makeTile(std::move(blob), refs[place].format));
        }
    }
    return tiles;
}

} // namespace ombrel::NativeFormat
