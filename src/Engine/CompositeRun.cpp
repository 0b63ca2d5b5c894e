#include "Engine/CompositeRun.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace ombrel {

namespace {

bool isCancelled(const Progress* progress) {
    return progress != nullptr && progress->isCancelled();
}

/// A buffer that the consumer has moved from has no bytes any more.
void recycle(std::vector<TileBuffer>& buffers, TileStore& store) {
    for (TileBuffer& buffer : buffers) {
        if (buffer.bytes() != nullptr) store.recycleBuffer(std::move(buffer));
    }
    buffers.clear();
}

} // namespace

std::size_t CompositeRun::firstStep(TileCoord coord) const {
    return stops_ != nullptr ? stops_->firstStep(program_, coord) : 0;
}

void CompositeRun::settle(bool isDone) const {
    if (stops_ == nullptr) return;
    if (isDone) {
        stops_->commit();
    } else {
        stops_->abandon();
    }
}

/// How many of the tiles make the next batch, and the stored tiles that these read.
std::size_t CompositeRun::nextBatch(const CompositeJobBuilder& builder,
                                    std::span<const TileCoord> coords,
                                    std::vector<Tile>& tiles) const {
    const std::int64_t byteLimit = store_.budget().residentBytes / 4;
    const std::size_t most = std::min(coords.size(), CompositeRun::tilesOfBatch);
    std::int64_t bytes = 0;
    for (std::size_t count = 0; count < most; ++count) {
        const std::size_t before = tiles.size();
        builder.appendTiles(coords[count], firstStep(coords[count]), tiles);
        for (std::size_t i = before; i < tiles.size(); ++i)
            bytes += static_cast<std::int64_t>(bytesPerTile(tiles[i].format()));
        if (bytes > byteLimit && count > 0) {
            tiles.erase(tiles.begin() + static_cast<std::ptrdiff_t>(before), tiles.end());
            return count;
        }
    }
    return most;
}

std::expected<void, EngineError> CompositeRun::run(std::span<const TileCoord> coords,
                                                   const Progress* cancellation, Progress* report,
                                                   const Consume& consume) const {
    const CompositeJobBuilder builder(program_);
    const std::vector<GPUCompositeLayer> records = compositeRecords(program_);
    std::vector<Tile> tiles;
    std::vector<TileBuffer> buffers;
    std::vector<CompositeJob> jobs;
    for (std::size_t done = 0; done < coords.size();) {
        if (isCancelled(cancellation)) return std::unexpected(EngineError::cancelled());
        store_.keepPace();
        tiles.clear();
        const std::size_t count = nextBatch(builder, coords.subspan(done), tiles);
        TileStore::prefetch(tiles);
        const std::span<const TileCoord> batch = coords.subspan(done, count);
        ResourceTracker tracker;
        jobs.clear();
        for (const TileCoord coord : batch) {
            buffers.push_back(store_.acquireBuffer(TileFormat::rgba16Float));
            jobs.push_back(builder.job(coord, firstStep(coord), buffers.back().bytes(), tracker));
            if (stops_ != nullptr) stops_->attach(program_, jobs.back());
        }
        const auto result = device_.composite({records, perceptual_, jobs}, cancellation);
        settle(result.has_value());
        if (result) consume(batch, buffers);
        recycle(buffers, store_);
        if (!result) return result;
        done += count;
        if (report != nullptr)
            report->setFraction(static_cast<double>(done) / static_cast<double>(coords.size()));
    }
    return {};
}

} // namespace ombrel
