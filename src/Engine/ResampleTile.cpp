#include "Engine/ResampleTile.h"

#include "Core/TilePixels.h"
#include "Core/TileStore.h"
#include "Engine/MaskCoverage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

namespace ombrel {

namespace {

using Kernels::ResampleCombine;
using Kernels::ResampleRange;
using Kernels::ResampleSource;

constexpr std::size_t alignment = 64;

/// The cells of one row of tiles under a stretch, held resident.
class StretchCells {
public:
    /// Costs nothing when it is these cells already.
    void take(const TileGrid& grid, const TapStretch& stretch, std::int64_t tileRow) {
        if (stretch_ == &stretch && tileRow_ == tileRow) return;
        stretch_ = &stretch;
        tileRow_ = tileRow;
        pins_.clear();
        cells_.clear();
        firstTile_ = stretch.source >> tileShift;
        const std::int64_t lastTile = (stretch.source + stretch.length - 1) >> tileShift;
        for (std::int64_t x = firstTile_; x <= lastTile; ++x) {
            const TileCell cell = grid.cell(TileCoord::checked(x, tileRow));
            cells_.push_back({cell, nullptr});
            if (!cell.isPixels()) continue;
            pins_.emplace_back(cell.tile());
            cells_.back().pixels = pins_.back().bytes();
        }
    }

    bool hasPixels() const { return !pins_.empty(); }
    bool isAbsent() const {
        return std::ranges::all_of(cells_, [](const Held& held) { return held.cell.isAbsent(); });
    }

    /// Calls visit(cell, pixels of the tile or null, column in the tile, count, place in the
    /// stretch) for the part of each cell.
    template <typename Visit>
    void forEachPart(Visit&& visit) const {
        std::int64_t place = 0;
        for (const Held& held : cells_) {
            const std::int64_t column = (stretch_->source + place) & (tileSize - 1);
            const std::int64_t count = std::min(tileSize - column, stretch_->length - place);
            visit(held.cell, held.pixels, static_cast<std::size_t>(column),
                  static_cast<std::size_t>(count), static_cast<std::size_t>(place));
            place += count;
        }
    }

private:
    struct Held {
        TileCell cell;
        const std::byte* pixels;
    };

    const TapStretch* stretch_ = nullptr;
    std::int64_t tileRow_ = 0;
    std::int64_t firstTile_ = 0;
    std::vector<Held> cells_;
    std::vector<TilePin> pins_;
};

bool isCancelled(const Progress* progress) {
    return progress != nullptr && progress->isCancelled();
}

std::size_t indexOf(std::int64_t row) {
    return static_cast<std::size_t>(row);
}

} // namespace

ResampleScratch::ResampleScratch()
    : floats_(static_cast<float*>(::operator new(
          (sourceFloats + (2 * rowsAtOnce + 1 + 3 * 256) * targetStride) * sizeof(float),
          std::align_val_t{alignment}))) {}

void ResampleScratch::Free::operator()(float* floats) const {
    ::operator delete(static_cast<void*>(floats), std::align_val_t{alignment});
}

/// One run over what a tile is made of, into one set of totals.
class TileResampler::Pass {
public:
    Pass(const TileResampler& resampler, const TileTaps& taps, ResampleScratch& scratch,
         std::size_t number, ResampleSource source)
        : grid_(resampler.grid_), background_(resampler.background_), taps_(taps),
          scratch_(scratch), totals_(scratch.totals(number)), source_(source),
          combine_(source == ResampleSource::channels ? ResampleCombine::sum
                                                      : ResampleCombine::largest) {}

    /// False when cancelled.
    bool run(const Progress* progress) {
        std::memset(scratch_.filtered(), 0,
                    ResampleScratch::rowsAtOnce * ResampleScratch::targetStride * sizeof(float));
        for (const TapStretch& rows : *taps_.rows) {
            if (isCancelled(progress)) return false;
            if (filterColumns(rows)) addRows(rows);
        }
        return true;
    }

    const ResampleRange& range() const { return range_; }
    bool hasRow(std::int64_t row) const { return hasRow_[indexOf(row)]; }
    const float* row(std::int64_t row) const { return totals_ + indexOf(row) * width(); }

private:
    bool isColor() const { return grid_.format() == TileFormat::rgba16Float; }
    /// Floats of a row of totals.
    std::size_t width() const { return isColor() ? 4 * tileSize : tileSize; }

    static constexpr std::size_t lineBytes = ResampleScratch::targetStride * sizeof(float);

    /// Filters the rows of a band; false when there is nothing in them.
    bool filterColumns(const TapStretch& rows) {
        if (rows.source >> tileShift != tileRow_) startTileRow(rows.source >> tileShift);
        if (isFlat()) return hasFlatPart_;
        const std::uint32_t lines = isColor() ? rows.length : (rows.length + 3) / 4;
        const bool adds = hasFlatPart_ || taps_.columns->size() > 1;
        for (std::uint32_t line = 0; line < lines && adds; ++line)
            std::memcpy(scratch_.filtered() + line * ResampleScratch::targetStride,
                        scratch_.flatPart(), lineBytes);
        for (const TapStretch* columns : stored_) {
            cells_.take(grid_, *columns, tileRow_);
            filterStretch(*columns, rows.source, rows.length, adds, scratch_.filtered());
        }
        if (!isColor()) splitRows();
        return true;
    }

    /// Stretches without stored tiles are the same in all rows of a row of tiles: they are filtered
    /// once for all of them.
    void startTileRow(std::int64_t tileRow) {
        tileRow_ = tileRow;
        hasFlatPart_ = false;
        stored_.clear();
        std::memset(scratch_.flatPart(), 0, lineBytes);
        for (const TapStretch& columns : *taps_.columns) {
            if (columns.starts.empty()) continue;
            cells_.take(grid_, columns, tileRow);
            if (cells_.hasPixels()) {
                stored_.push_back(&columns);
            } else if (!cells_.isAbsent() || (!isColor() && background_ > 0)) {
                filterStretch(columns, tileRow * tileSize, 1, true, scratch_.flatPart());
                hasFlatPart_ = true;
            }
        }
        if (!isFlat()) return;
        std::memcpy(scratch_.filtered(), scratch_.flatPart(), lineBytes);
        if (!isColor()) splitRows();
    }

    bool isFlat() const { return stored_.empty(); }

    void filterStretch(const TapStretch& columns, std::int64_t y, std::uint32_t rowCount, bool adds,
                       float* targets) {
        const std::size_t stride = (columns.length + 8) * std::size_t{4};
        const std::uint32_t lines = isColor() ? rowCount : (rowCount + 3) / 4;
        for (std::uint32_t line = 0; line < lines; ++line) {
            float* place = scratch_.source() + line * stride;
            isColor() ? loadColors(y + line, place)
                      : loadCoverage(y + 4 * line, rowCount - 4 * line, place);
            std::memset(place + columns.length * std::size_t{4}, 0, 32 * sizeof(float));
        }
        const Kernels::ResampleTaps taps = columns.taps();
        Kernels::resampleColumns({.rows = scratch_.source(),
                                  .rowStride = stride,
                                  .rowCount = lines,
                                  .taps = &taps,
                                  .combine = combine_,
                                  .adds = adds,
                                  .targets = targets,
                                  .targetStride = ResampleScratch::targetStride});
    }

    void loadColors(std::int64_t y, float* line) {
        const std::size_t row = indexOf(y & (tileSize - 1));
        cells_.forEachPart([&](const TileCell& cell, const std::byte* pixels, std::size_t column,
                               std::size_t count, std::size_t place) {
            float* out = line + 4 * place;
            if (pixels != nullptr) {
                const auto* halves = reinterpret_cast<const std::uint16_t*>(pixels);
                include(Kernels::loadHalves(halves + 4 * (row * tileSize + column), count, source_,
                                            out));
            } else {
                fill(out, count, cell.isSolid() ? cell.color() : PremultipliedColor{});
            }
        });
    }

    void fill(float* out, std::size_t count, const PremultipliedColor& color) {
        std::array<float, 4> pixel{color.red, color.green, color.blue, color.alpha};
        for (const float channel : pixel)
            include({channel<0, channel> color.alpha});
        for (float& channel : pixel) {
            if (source_ == ResampleSource::belowZero) channel = -channel;
            if (source_ == ResampleSource::aboveAlpha) channel -= color.alpha;
        }
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(out + 4 * i, pixel.data(), sizeof(pixel));
    }

    void include(const ResampleRange& part) {
        range_.reachesBelowZero = range_.reachesBelowZero || part.reachesBelowZero;
        range_.exceedsAlpha = range_.exceedsAlpha || part.exceedsAlpha;
    }

    /// Up to four rows of bytes as the channels of one line of pixels; the last one is repeated.
    void loadCoverage(std::int64_t y, std::uint32_t rowCount, float* line) {
        cells_.forEachPart([&](const TileCell& cell, const std::byte* pixels, std::size_t column,
                               std::size_t count, std::size_t place) {
            for (std::uint32_t lane = 0; lane < 4; ++lane) {
                float* out = line + 4 * place + lane;
                if (pixels == nullptr) {
                    const float value = static_cast<float>(coverageByte(cell, background_));
                    for (std::size_t i = 0; i < count; ++i)
                        out[4 * i] = value;
                    continue;
                }
                const std::int64_t row = (y & (tileSize - 1)) + std::min(lane, rowCount - 1);
                const std::byte* from = pixels + indexOf(row) * tileSize + column;
                for (std::size_t i = 0; i < count; ++i)
                    out[4 * i] = static_cast<float>(std::to_integer<int>(from[i]));
            }
        });
    }

    /// Filtered lines of four rows as channels to rows of their own.
    void splitRows() {
        for (std::size_t row = 0; row < ResampleScratch::rowsAtOnce; ++row) {
            const float* line =
                scratch_.filtered() + row / 4 * ResampleScratch::targetStride + row % 4;
            float* out = scratch_.planar() + row * tileSize;
            for (std::size_t x = 0; x < tileSize; ++x)
                out[x] = line[4 * x];
        }
    }

    void addRows(const TapStretch& rows) {
        const float* filtered = isColor() ? scratch_.filtered() : scratch_.planar();
        for (std::size_t i = 0; i < rows.starts.size(); ++i) {
            std::span<const float> weights = rows.weightsOf(i);
            if (weights.empty()) continue;
            float together = 0;
            if (isFlat()) {
                for (const float weight : weights)
                    together = combine_ == ResampleCombine::sum ? together + weight
                                                                : std::max(together, weight);
                weights = {&together, 1};
            }
            const std::size_t target = rows.firstTarget + i;
            Kernels::resampleRow({.rows = filtered + (isFlat() ? 0 : rows.starts[i] * width()),
                                  .rowStride = width(),
                                  .weights = weights,
                                  .combine = combine_,
                                  .adds = hasRow_[target],
                                  .target = totals_ + target * width(),
                                  .width = width()});
            hasRow_[target] = true;
        }
    }

    const TileGrid& grid_;
    float background_;
    const TileTaps& taps_;
    ResampleScratch& scratch_;
    float* totals_;
    ResampleSource source_;
    ResampleCombine combine_;
    StretchCells cells_;
    ResampleRange range_;
    std::array<bool, 256> hasRow_{};
    // Of the row of tiles that is being read.
    std::int64_t tileRow_ = std::numeric_limits<std::int64_t>::min();
    std::vector<const TapStretch*> stored_; ///< with stored tiles
    bool hasFlatPart_ = false;              ///< of the other ones together
};

bool TileResampler::render(const TileTaps& taps, ResampleScratch& scratch, std::byte* tile,
                           const Progress* progress) const {
    return grid_.format() == TileFormat::rgba16Float
               ? renderColors(taps, scratch, tile, progress)
               : renderCoverage(taps, scratch, tile, progress);
}

// Negative weights ring: beside an edge sums fall below 0 and exceed alpha. What the pixels that a
// target is made of did not do, the target must not do either: it would show as a dark or bright
// fringe. Where they do reach out of the gamut, they set how far it may go.
bool TileResampler::renderColors(const TileTaps& taps, ResampleScratch& scratch, std::byte* tile,
                                 const Progress* progress) const {
    Pass sums(*this, taps, scratch, 0, ResampleSource::channels);
    if (!sums.run(progress)) return false;
    const bool isCut = !isConvex(filter_);
    std::optional<Pass> below;
    std::optional<Pass> above;
    std::vector<TapStretch> columns;
    std::vector<TapStretch> rows;
    TileTaps footprint{&columns, &rows, taps.targets};
    if (isCut && (sums.range().reachesBelowZero || sums.range().exceedsAlpha)) {
        std::ranges::transform(*taps.columns, std::back_inserter(columns), &TapStretch::footprint);
        std::ranges::transform(*taps.rows, std::back_inserter(rows), &TapStretch::footprint);
        below.emplace(*this, footprint, scratch, 1, ResampleSource::belowZero);
        above.emplace(*this, footprint, scratch, 2, ResampleSource::aboveAlpha);
        if (!below->run(progress) || !above->run(progress)) return false;
    }
    auto* halves = reinterpret_cast<std::uint16_t*>(tile);
    for (std::int64_t y = 0; y < tileSize; ++y) {
        std::uint16_t* out = halves + indexOf(y) * 4 * tileSize;
        if (!sums.hasRow(y)) {
            std::memset(out, 0, 8 * tileSize);
            continue;
        }
        Kernels::ResampleLimits limits;
        if (below) limits = {below->row(y), above->row(y)};
        Kernels::storeHalves(sums.row(y), tileSize, isCut ? &limits : nullptr, out);
    }
    return true;
}

bool TileResampler::renderCoverage(const TileTaps& taps, ResampleScratch& scratch, std::byte* tile,
                                   const Progress* progress) const {
    Pass sums(*this, taps, scratch, 0, ResampleSource::channels);
    if (!sums.run(progress)) return false;
    std::memset(tile, coverageByte(TileCell(), background_), bytesPerTile(TileFormat::r8));
    for (int y = taps.targets.top; y < taps.targets.bottom; ++y) {
        if (!sums.hasRow(y)) continue; // then the background is 0, and so is the row
        for (int x = taps.targets.left; x < taps.targets.right; ++x) {
            const float value = std::clamp(sums.row(y)[x], 0.0f, 255.0f);
            tile[indexOf(y) * tileSize + indexOf(x)] = static_cast<std::byte>(std::lrintf(value));
        }
    }
    return true;
}

} // namespace ombrel
