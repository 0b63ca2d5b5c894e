#include "Engine/PreviewCache.h"

#include "Engine/ResourceTracker.h"

#include <algorithm>
#include <utility>

namespace ombrel {

namespace {

// What is done before the next look at the time. A job reads a line of memory for every sample:
// four of them take a millisecond or two.
constexpr std::size_t pagedAtOnce = 16;
constexpr std::size_t jobsAtOnce = 4;

/// The tiles of a level that a cell of a grid touches.
TileRange tilesOver(TileCoord cell, PixelOffset offset, int level) {
    const std::int64_t x = cell.x * tileSize + offset.dx;
    const std::int64_t y = cell.y * tileSize + offset.dy;
    const int shift = tileShift + level;
    return {x >> shift, y >> shift, (x + tileSize - 1) >> shift, (y + tileSize - 1) >> shift};
}

} // namespace

void PreviewCache::drop() {
    samples_.clear();
    program_.clear();
    cache_.update({}, canvas_, perceptual_);
    cache_.drop();
}

void PreviewCache::update(const CompositeProgram& program, PixelSize canvas, bool perceptual,
                          int level) {
    if (level != level_) drop();
    level_ = level;
    perceptual_ = perceptual;
    const std::int64_t rest = (std::int64_t{1} << level) - 1;
    canvas_ = {(canvas.width + rest) >> level, (canvas.height + rest) >> level};
    program_ = program;
    for (auto& [key, samples] : samples_)
        samples.isUsed = false;
    for (std::size_t i = 0; i < program.size(); ++i) {
        const PixelLayer* layer = program[i].pixelLayer();
        const LayerMask* mask = program[i].mask();
        const LayerID id = layer != nullptr ? layer->id : LayerID{};
        if (layer != nullptr) use({id, 0, 0}, layer->pixels, layer->offset, 0);
        if (mask == nullptr) continue;
        const Key key = layer != nullptr ? Key{id, 0, 1} : Key{{}, i, 2};
        use(key, mask->pixels, mask->offset, mask->background);
    }
    std::erase_if(samples_, [](const auto& entry) { return !entry.second.isUsed; });
    cache_.update(reduced(), canvas_, perceptual_);
}

void PreviewCache::use(const Key& key, const TileGrid& grid, PixelOffset offset, float background) {
    Samples& samples = samples_.try_emplace(key, grid).first->second;
    samples.isUsed = true;
    bool isKept = samples.offset == offset && samples.background == background;
    if (isKept) {
        const std::size_t limit = 1000 + 64 * samples.taken.size();
        std::size_t cells = 0;
        TileGrid::diff(samples.source, grid, [&](TileCoord cell, const TileCell&, const TileCell&) {
            for (const TileCoord coord : tilesOver(cell, offset, level_)) {
                if (samples.taken.erase(coord) > 0) samples.pixels.set(coord, std::nullopt);
            }
            return ++cells <= limit;
        });
        isKept = cells <= limit;
    }
    if (!isKept) {
        samples.taken.clear();
        samples.pixels = TileGrid(grid.format());
    }
    samples.source = grid;
    samples.offset = offset;
    samples.background = background;
}

void PreviewCache::reduceMask(LayerMask& mask, const Key& key) const {
    mask.pixels = samples_.at(key).pixels;
    mask.offset = {};
}

CompositeProgram PreviewCache::reduced() const {
    CompositeProgram program = program_;
    for (std::size_t i = 0; i < program.size(); ++i) {
        const auto reduceLayer = [this](CowPtr<PixelLayer>& shared) {
            PixelLayer layer;
            layer.id = shared->id;
            layer.properties = shared->properties;
            layer.pixels = samples_.at({shared->id, 0, 0}).pixels;
            if (const LayerMask* mask = shared->activeMask()) {
                layer.mask = *mask;
                reduceMask(*layer.mask, {shared->id, 0, 1});
            }
            shared = std::move(layer);
        };
        if (auto* step = std::get_if<LayerStep>(&program[i].value)) {
            reduceLayer(step->layer);
        } else if (auto* clipped = std::get_if<ClippedStep>(&program[i].value)) {
            reduceLayer(clipped->layer);
        } else if (auto* end = std::get_if<EndStep>(&program[i].value)) {
            if (program_[i].mask() != nullptr) reduceMask(*end->mask, {{}, i, 2});
        }
    }
    return program;
}

TileRange PreviewCache::cellsBelow(const Samples& samples, TileCoord coord) const {
    const std::int64_t half = (std::int64_t{1} << level_) / 2;
    const std::int64_t x = (coord.x * tileSize << level_) + half - samples.offset.dx;
    const std::int64_t y = (coord.y * tileSize << level_) + half - samples.offset.dy;
    const std::int64_t last = (tileSize - 1) << level_;
    return {x >> tileShift, y >> tileShift, (x + last) >> tileShift, (y + last) >> tileShift};
}

std::optional<SampleJob> PreviewCache::jobOf(const Samples& samples, TileCoord coord,
                                             std::vector<Tile>& tiles) const {
    const TileRange cells = cellsBelow(samples, coord);
    if (!(intersectionOf(cells, TileRange::everything()) == cells)) return std::nullopt;
    const std::int64_t half = (std::int64_t{1} << level_) / 2;
    const auto first = [&](std::int64_t tile, std::int64_t offset) {
        return static_cast<std::uint32_t>(((tile * tileSize << level_) + half - offset) &
                                          (tileSize - 1));
    };
    SampleJob job{.format = samples.source.format(),
                  .step = std::uint32_t{1} << level_,
                  .firstX = first(coord.x, samples.offset.dx),
                  .firstY = first(coord.y, samples.offset.dy),
                  .cellsOfRow = static_cast<std::uint32_t>(cells.maxX - cells.minX + 1),
                  .cells = std::vector<GPUTileRef>(static_cast<std::size_t>(cells.count())),
                  .background = samples.background};
    samples.source.forEachIn(cells, [&](TileCoord at, const TileCell& cell) {
        GPUTileRef& ref = job.cells[static_cast<std::size_t>((at.y - cells.minY) * job.cellsOfRow +
                                                             (at.x - cells.minX))];
        if (cell.isSolid()) {
            ref = tileRefOf(cell.color());
        } else {
            tiles.push_back(cell.tile());
            ref.reserved = tiles.size(); // its pixels are found when all are in memory
        }
    });
    return job;
}

bool PreviewCache::mayGoOn(Clock::time_point deadline) const {
    return !hasWorked_ || Clock::now() < deadline;
}

bool PreviewCache::take(TileCoord coord, Clock::time_point deadline) {
    std::vector<PendingSample> pending;
    std::vector<Tile> tiles;
    for (auto& [key, samples] : samples_) {
        if (samples.taken.contains(coord)) continue;
        const TileRangeContent content = samples.source.contentOf(cellsBelow(samples, coord));
        if (content.kind == TileRangeContent::Kind::mixed) {
            if (auto job = jobOf(samples, coord, tiles)) {
                pending.push_back({&samples, *std::move(job)});
                if (pending.size() < jobsAtOnce) continue;
                if (!takeSome(pending, tiles, coord, deadline)) return false;
                pending.clear();
                tiles.clear();
                continue;
            }
        } else if (content.kind == TileRangeContent::Kind::solid) {
            samples.pixels.set(coord, content.color);
        }
        samples.taken.insert(coord);
    }
    return pending.empty() || takeSome(pending, tiles, coord, deadline);
}

bool PreviewCache::takeSome(std::span<PendingSample> pending, std::span<const Tile> tiles,
                            TileCoord coord, Clock::time_point deadline) {
    if (!mayGoOn(deadline) || !pageIn(tiles, deadline)) return false;
    hasWorked_ = true;
    return run(pending, tiles, coord);
}

bool PreviewCache::pageIn(std::span<const Tile> tiles, Clock::time_point deadline) {
    std::vector<Tile> cold;
    for (std::size_t i = 0; i <= tiles.size(); ++i) {
        const bool isEnd = i == tiles.size();
        if (!isEnd && !tiles[i].store().isResident(tiles[i])) cold.push_back(tiles[i]);
        if (cold.empty() || (!isEnd && cold.size() < pagedAtOnce)) continue;
        if (!mayGoOn(deadline)) return false;
        TileStore::prefetch(cold);
        cold.clear();
        hasWorked_ = true;
    }
    return true;
}

bool PreviewCache::run(std::span<PendingSample> pending, std::span<const Tile> tiles,
                       TileCoord coord) {
    ResourceTracker tracker;
    std::vector<TileBuffer> buffers;
    std::vector<SampleJob> jobs;
    for (PendingSample& sample : pending) {
        SampleJob& job = sample.job;
        buffers.push_back(store_.acquireBuffer(job.format));
        job.output = buffers.back().bytes();
        for (GPUTileRef& ref : job.cells) {
            if (ref.reserved == 0) continue;
            ref.pixels = reinterpret_cast<std::uintptr_t>(tracker.pin(tiles[ref.reserved - 1]));
            ref.reserved = 0;
        }
        jobs.push_back(std::move(job));
    }
    const bool isDone = device_.sample(jobs).has_value();
    for (std::size_t i = 0; i < pending.size(); ++i) {
        if (!isDone) {
            store_.recycleBuffer(std::move(buffers[i]));
            continue;
        }
        Samples& samples = *pending[i].samples;
        samples.pixels.set(coord, store_.makeTile(std::move(buffers[i])));
        samples.taken.insert(coord);
    }
    return isDone;
}

std::expected<bool, EngineError> PreviewCache::refresh(std::span<const TileCoord> coords,
                                                       Clock::time_point deadline,
                                                       std::int64_t ownedBytes) {
    std::size_t count = 0;
    hasWorked_ = false;
    for (; count < coords.size(); ++count) {
        if (isTaken(coords[count])) continue;
        if (!mayGoOn(deadline) || !take(coords[count], deadline)) break;
    }
    cache_.update(reduced(), canvas_, perceptual_);
    const std::span<const TileCoord> taken = coords.first(count);
    if (!mayGoOn(deadline)) return count == coords.size() && cache_.isReady(0, taken);
    const auto result = cache_.refresh(0, taken, {.deadline = deadline, .ownedBytes = ownedBytes});
    if (!result) return std::unexpected(result.error());
    hasWorked_ = hasWorked_ || cache_.lastCompositedTiles() > 0;
    return *result && count == coords.size();
}

std::expected<bool, EngineError> PreviewCache::refreshHalved(int times,
                                                             std::span<const TileCoord> coords,
                                                             Clock::time_point deadline) {
    return cache_.refresh(times, coords, {.deadline = deadline});
}

const CompositeCache::Content* PreviewCache::halved(int times, TileCoord coord) const {
    const CompositeCache::Entry* entry = cache_.entry(times, coord);
    return entry != nullptr && cache_.isValid(*entry) ? &entry->content : nullptr;
}

const CompositeCache::Content* PreviewCache::content(TileCoord coord) const {
    const CompositeCache::Entry* entry = cache_.entry(0, coord);
    if (entry == nullptr || !cache_.isValid(*entry)) return nullptr;
    return isTaken(coord) ? &entry->content : nullptr;
}

bool PreviewCache::isTaken(TileCoord coord) const {
    return std::ranges::all_of(samples_,
                               [&](const auto& item) { return item.second.taken.contains(coord); });
}

} // namespace ombrel
