#include "Engine/Resampling.h"

#include "Base/ParallelFor.h"
#include "Core/TileStore.h"
#include "Engine/ContentBeyond.h"
#include "Engine/GridMapping.h"
#include "Engine/ResampleTile.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>

namespace ombrel {

namespace {

__extension__ using Wide = __int128;

std::int64_t scaledPlace(std::int64_t place, std::int64_t from, std::int64_t to) {
    const Wide doubled = Wide{2} * place * to + from;
    const Wide divisor = Wide{2} * from;
    Wide result = doubled / divisor;
    if (doubled % divisor < 0) --result;
    return static_cast<std::int64_t>(result);
}

/// Scratches that threads take turns with.
class ScratchPool {
public:
    std::unique_ptr<ResampleScratch> take() {
        const std::lock_guard lock(mutex_);
        if (free_.empty()) return std::make_unique<ResampleScratch>();
        std::unique_ptr<ResampleScratch> scratch = std::move(free_.back());
        free_.pop_back();
        return scratch;
    }
    void give(std::unique_ptr<ResampleScratch> scratch) {
        const std::lock_guard lock(mutex_);
        free_.push_back(std::move(scratch));
    }

private:
    std::mutex mutex_;
    std::vector<std::unique_ptr<ResampleScratch>> free_;
};

PixelSpan columnsOf(const PixelRect& rect) {
    return {rect.x, rect.maxX() - 1};
}
PixelSpan rowsOf(const PixelRect& rect) {
    return {rect.y, rect.maxY() - 1};
}
PixelRect rectOf(const PixelSpan& columns, const PixelSpan& rows) {
    if (columns.isEmpty() || rows.isEmpty()) return {};
    return {columns.first, rows.first, columns.length(), rows.length()};
}

/// One grid on its way.
class GridResampling {
public:
    GridResampling(const PlacedGrid& grid, const Resampling& resampling, float background)
        : grid_(grid.tiles), background_(background),
          offset_(scaledOffset(grid.offset, resampling)),
          columns_{.filter = resampling.filter,
                   .sourceLength = resampling.from.width,
                   .targetLength = resampling.to.width,
                   .sourceOffset = grid.offset.dx,
                   .targetOffset = offset_.dx},
          rows_{.filter = resampling.filter,
                .sourceLength = resampling.from.height,
                .targetLength = resampling.to.height,
                .sourceOffset = grid.offset.dy,
                .targetOffset = offset_.dy} {
        const PixelRect canvas =
            PixelRect::ofSize(resampling.from).offsetBy({-grid.offset.dx, -grid.offset.dy});
        const ContentBeyond beyond = contentBeyond(grid_, canvas, background);
        const TileRange cells = grid_.tileBounds();
        bound(columns_, columnsOf(canvas), beyond.left, beyond.right, cells.minX, cells.maxX,
              targetColumns_);
        bound(rows_, rowsOf(canvas), beyond.top, beyond.bottom, cells.minY, cells.maxY,
              targetRows_);
    }

    std::expected<PlacedGrid, EngineError> run(TileStore& store, WorkMeter& meter) {
        const GridMapping mapping{.source = &grid_,
                                  .target = rectOf(targetColumns_, targetRows_),
                                  .sourceOf = [this](const PixelRect& target) {
                                      if (target.isEmpty()) return PixelRect{};
                                      return rectOf(columns_.sourceOf(columnsOf(target)),
                                                    rows_.sourceOf(rowsOf(target)));
                                  }};
        MappedGrid mapped = mappedGrid(mapping);
        meter.expect(std::ssize(mapped.work));
        prepareTaps(mapped.work);
        const TileResampler resampler(grid_, columns_.filter, background_);
        const auto drawn = drawTiles(
            mapped.tiles, mapped.work, background_, store, meter,
            [&](TileCoord coord, std::byte* bytes) {
                std::unique_ptr<ResampleScratch> scratch = scratches_.take();
                const TileTaps taps{&columnTaps_.at(coord.x), &rowTaps_.at(coord.y),
                                    TilePixels::LocalRect::overlap(coord, mapping.target)};
                const bool isDone = resampler.render(taps, *scratch, bytes, meter.progress());
                scratches_.give(std::move(scratch));
                return isDone;
            });
        if (!drawn) return std::unexpected(drawn.error());
        return PlacedGrid{std::move(mapped.tiles), offset_};
    }

private:
    using TapsOfTiles = std::map<std::int64_t, std::vector<TapStretch>>;

    /// Ends an axis at the sides of the canvas beyond which there is nothing, and finds its
    /// targets.
    static void bound(ResampleAxis& axis, const PixelSpan& canvas, bool goesOnBefore,
                      bool goesOnAfter, std::int64_t firstTile, std::int64_t lastTile,
                      PixelSpan& targets) {
        const PixelSpan cells{firstTile * tileSize, lastTile * tileSize + tileSize - 1};
        targets = cells.isEmpty() ? PixelSpan{} : axis.targetsOf(cells);
        if (!goesOnBefore) {
            axis.source.first = canvas.first;
            targets.first = std::max(targets.first, -axis.targetOffset);
        }
        if (!goesOnAfter) {
            axis.source.last = canvas.last;
            targets.last = std::min(targets.last, axis.targetLength - axis.targetOffset - 1);
        }
    }

    void prepareTaps(std::span<const TileCoord> work) {
        for (const TileCoord coord : work) {
            columnTaps_[coord.x];
            rowTaps_[coord.y];
        }
        prepare(columnTaps_, columns_, targetColumns_, ResampleScratch::columnCut);
        prepare(rowTaps_, rows_, targetRows_, ResampleScratch::rowCut);
    }

    static void prepare(TapsOfTiles& taps, const ResampleAxis& axis, const PixelSpan& targets,
                        const StretchCut& cut) {
        std::vector<TapsOfTiles::iterator> tiles;
        for (auto tile = taps.begin(); tile != taps.end(); ++tile)
            tiles.push_back(tile);
        parallelFor(ThreadPool::shared(), tiles.size(), [&](std::size_t i) {
            const std::int64_t origin = tiles[i]->first * tileSize;
            const PixelSpan span{std::max(origin, targets.first),
                                 std::min(origin + tileSize - 1, targets.last)};
            tiles[i]->second = axis.stretches(span, origin, cut);
        });
    }

    const TileGrid& grid_;
    float background_;
    PixelOffset offset_;
    ResampleAxis columns_;
    ResampleAxis rows_;
    PixelSpan targetColumns_;
    PixelSpan targetRows_;
    TapsOfTiles columnTaps_;
    TapsOfTiles rowTaps_;
    ScratchPool scratches_;
};

} // namespace

PixelOffset scaledOffset(PixelOffset offset, const Resampling& resampling) {
    return {scaledPlace(offset.dx, resampling.from.width, resampling.to.width),
            scaledPlace(offset.dy, resampling.from.height, resampling.to.height)};
}

std::expected<PlacedGrid, EngineError> resampled(const PlacedGrid& grid,
                                                 const Resampling& resampling, float background,
                                                 TileStore& store, WorkMeter& meter) {
    if (grid.tiles.isEmpty()) return PlacedGrid{grid.tiles, scaledOffset(grid.offset, resampling)};
    if (resampling.from == resampling.to) return grid;
    return GridResampling(grid, resampling, background).run(store, meter);
}

} // namespace ombrel
