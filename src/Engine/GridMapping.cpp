#include "Engine/GridMapping.h"

#include "Base/ParallelFor.h"
#include "Core/TilePixels.h"
#include "Core/TileStore.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>

namespace ombrel {

namespace {

constexpr std::size_t tilesOfBatch = 64;

PixelRect rectOf(const TileRange& range) {
    return {range.minX * tileSize, range.minY * tileSize, (range.maxX - range.minX + 1) * tileSize,
            (range.maxY - range.minY + 1) * tileSize};
}

class Descent {
public:
    explicit Descent(const GridMapping& mapping)
        : mapping_(mapping), result_{TileGrid(mapping.source->format()), {}} {}

    void visit(const TileRange& range) {
        const PixelRect target = rectOf(range);
        const PixelRect read = mapping_.sourceOf(intersectionOf(target, mapping_.target));
        if (read.isEmpty()) return;
        const TileRangeContent content = mapping_.source->contentOf(read.tileRange());
        if (content.kind == TileRangeContent::Kind::absent) return;
        if (content.kind == TileRangeContent::Kind::solid && mapping_.target.contains(target)) {
            result_.tiles.assign(range, content.color);
            return;
        }
        if (range.count() == 1) {
            result_.work.push_back(*range.begin());
            return;
        }
        split(range);
    }

    MappedGrid take() { return std::move(result_); }

private:
    void split(const TileRange& range) {
        TileRange first = range;
        TileRange second = range;
        if (range.maxX - range.minX >= range.maxY - range.minY) {
            first.maxX = cut(range.minX, range.maxX);
            second.minX = first.maxX + 1;
        } else {
            first.maxY = cut(range.minY, range.maxY);
            second.minY = first.maxY + 1;
        }
        visit(first);
        visit(second);
    }

    // Where halves of a range end: at a multiple of the largest power of two, so that areas of one
    // colour meet the nodes of the grid.
    static std::int64_t cut(std::int64_t first, std::int64_t last) {
        const auto differs = static_cast<std::uint64_t>(first ^ last);
        if (first < 0 && last >= 0) return -1;
        const auto bit = static_cast<std::int64_t>(std::bit_floor(differs));
        return (last & -bit) - 1;
    }

    const GridMapping& mapping_;
    MappedGrid result_;
};

/// The cell that says the same in less: nothing or one colour; else nothing.
std::optional<TileCell> simpleCell(TileFormat format, const std::byte* tile, float background,
                                   PremultipliedColor& color) {
    const std::size_t pixel = bytesPerPixel(format);
    if (std::memcmp(tile, tile + pixel, bytesPerTile(format) - pixel) != 0) return std::nullopt;
    if (format == TileFormat::r8) {
        if (*tile == std::byte{coverageByte(TileCell(), background)}) return TileCell();
        if (*tile != std::byte{255}) return std::nullopt;
        color = PremultipliedColor::white();
        return TileCell(color);
    }
    std::array<Half, 4> halves;
    std::memcpy(halves.data(), tile, sizeof(halves));
    color = {toFloat(halves[0]), toFloat(halves[1]), toFloat(halves[2]), toFloat(halves[3])};
    if (!color.isTransparent()) return TileCell(color);
    if (TilePixels::isBlank(format, tile)) return TileCell();
    return std::nullopt;
}

/// Finds tiles of equal pixels among the last ones drawn: along the edge of an area of one colour
/// they are all alike, and share one tile.
class RecentTiles {
public:
    /// A tile with these pixels: the buffer made one, or an earlier one.
    Tile shared(TileBuffer buffer, TileStore& store) {
        const std::uint64_t hash = sampledHash(buffer.bytes(), buffer.size());
        for (const Tile& tile : candidates(hash)) {
            const TilePin pin(tile);
            if (std::memcmp(pin.bytes(), buffer.bytes(), buffer.size()) != 0) continue;
            store.recycleBuffer(std::move(buffer));
            return tile;
        }
        Tile made = store.makeTile(std::move(buffer));
        const std::lock_guard lock(mutex_);
        if (entries_.size() == remembered) entries_.pop_front();
        entries_.push_back({hash, made});
        return made;
    }

private:
    struct Entry {
        std::uint64_t hash;
        Tile tile;
    };
    static constexpr std::size_t remembered = 32;

    std::vector<Tile> candidates(std::uint64_t hash) {
        const std::lock_guard lock(mutex_);
        std::vector<Tile> found;
        for (const Entry& entry : entries_)
            if (entry.hash == hash) found.push_back(entry.tile);
        return found;
    }

    /// Of some words that go through all rows and columns.
    static std::uint64_t sampledHash(const std::byte* bytes, std::size_t count) {
        constexpr std::size_t samples = 128;
        std::uint64_t hash = count;
        for (std::size_t i = 0; i < samples; ++i) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + (i * (count / samples) + i * 16) % (count - 8),
                        sizeof(word));
            hash = (std::rotl(hash, 23) ^ word) * 0x9E3779B97F4A7C15u;
        }
        return hash;
    }

    std::mutex mutex_;
    std::deque<Entry> entries_;
};

} // namespace

MappedGrid mappedGrid(const GridMapping& mapping) {
    Descent descent(mapping);
    if (!mapping.target.isEmpty()) descent.visit(mapping.target.tileRange());
    return descent.take();
}

std::expected<void, EngineError> drawTiles(TileGrid& grid, std::span<const TileCoord> work,
                                           float background, TileStore& store, WorkMeter& meter,
                                           const std::function<bool(TileCoord, std::byte*)>& draw) {
    const TileFormat format = grid.format();
    std::vector<std::optional<TileContent>> contents;
    RecentTiles recent;
    for (std::size_t done = 0; done < work.size(); done += contents.size()) {
        store.keepPace();
        const auto batch = work.subspan(done, std::min(tilesOfBatch, work.size() - done));
        contents.assign(batch.size(), std::nullopt);
        std::atomic<bool> isCancelled = meter.isCancelled();
        parallelFor(ThreadPool::shared(), batch.size(), [&](std::size_t i) {
            if (isCancelled.load(std::memory_order_relaxed)) return;
            TileBuffer buffer = store.acquireBuffer(format);
            if (!draw(batch[i], buffer.bytes())) isCancelled = true;
            PremultipliedColor color;
            const auto simple = simpleCell(format, buffer.bytes(), background, color);
            if (simple) {
                contents[i] = simple->content();
                store.recycleBuffer(std::move(buffer));
            } else {
                contents[i] = recent.shared(std::move(buffer), store);
            }
        });
        if (isCancelled || meter.isCancelled()) return std::unexpected(EngineError::cancelled());
        for (std::size_t i = 0; i < batch.size(); ++i)
            grid.set(batch[i], std::move(contents[i]));
        meter.add(std::ssize(batch));
    }
    return {};
}

} // namespace ombrel
