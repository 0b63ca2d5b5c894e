#include "IO/TileConversion.h"

#include "Core/Orientation.h"
#include "IO/ImageLimits.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/parallel_pipeline.h>
#include <oneapi/tbb/task_arena.h>

namespace ombrel {

namespace {

/// What the bands on their way may take together; two are always allowed.
constexpr std::size_t bandBudget = std::size_t{512} << 20;

constexpr std::size_t channelsPerPixel = 4;
constexpr PackedPixel alphaMagnitude = 0x7FFF'0000'0000'0000u; ///< without the sign

static_assert(sizeof(PackedPixel) == channelsPerPixel * sizeof(Half));

bool isFinite(PackedPixel pixel) {
    for (int shift = 0; shift < 64; shift += 16) {
        if (((pixel >> shift) & 0x7C00u) == 0x7C00u) return false;
    }
    return true;
}

PremultipliedColor colorOf(PackedPixel pixel) {
    const auto channel = [pixel](int index) {
        return toFloat(Half{static_cast<std::uint16_t>(pixel >> (16 * index))});
    };
    return {channel(0), channel(1), channel(2), channel(3)};
}

class Conversion {
public:
    Conversion(ImageDecoder& decoder, const RowLineariser& lineariser, TileStore& store,
               Progress* progress)
        : decoder_(decoder), description_(decoder.description()), lineariser_(lineariser),
          store_(store), progress_(progress),
          orientation_(Orientation::ofCode(description_.orientation)),
          columns_(description_.size.width, orientation_.reversesColumns()),
          rows_(description_.size.height, orientation_.reversesRows()),
          rowBytes_(static_cast<std::size_t>(description_.size.width) *
                    description_.layout.bytesPerPixel()) {}

    std::expected<TileGrid, ImageIOError> run() {
        const std::size_t bandBytes = rowBytes_ * tileSize;
        const auto wanted = static_cast<std::size_t>(tbb::this_task_arena::max_concurrency()) + 2;
        const std::size_t bandCount = std::max<std::size_t>(
            2, std::min(wanted, bandBudget / std::max<std::size_t>(bandBytes, 1)));
        tbb::parallel_pipeline(
            bandCount,
            tbb::make_filter<void, Band*>(
                tbb::filter_mode::serial_in_order,
                [this](tbb::flow_control& control) { return decodeBand(control); }) &
                tbb::make_filter<Band*, Band*>(tbb::filter_mode::parallel,
                                               [this](Band* band) { return convertBand(band); }) &
                tbb::make_filter<Band*, void>(tbb::filter_mode::serial_out_of_order,
                                              [this](Band* band) { placeBand(band); }));
        if (error_) return std::unexpected(*error_);
        return std::move(grid_);
    }

private:
    struct Band {
        std::int64_t index = 0;
        RawBytes samples;
        std::vector<std::optional<TileContent>> blocks; ///< by stored column
    };

    Band* takeBand() {
        const std::lock_guard lock(mutex_);
        if (!idleBands_.empty()) {
            Band* band = idleBands_.back();
            idleBands_.pop_back();
            return band;
        }
        auto band = std::make_unique<Band>();
        band->samples = allocateFrame(rowBytes_ * tileSize);
        if (band->samples == nullptr) throw std::bad_alloc();
        bands_.push_back(std::move(band));
        return bands_.back().get();
    }

    Band* decodeBand(tbb::flow_control& control) {
        if (nextBand_ == rows_.count() || !mayGoOn()) {
            control.stop();
            return nullptr;
        }
        Band* band = takeBand();
        band->index = nextBand_++;
        const std::int64_t rowCount = rows_.size(band->index);
        const auto read = decoder_.readRows(
            rowCount, {band->samples.get(), rowBytes_ * static_cast<std::size_t>(rowCount)});
        if (!read) {
            error_ = read.error();
            hasFailed_ = true;
            control.stop();
            return nullptr;
        }
        return band;
    }

    /// Of the decoding filter.
    bool mayGoOn() {
        if (progress_ == nullptr || !progress_->isCancelled()) return true;
        error_ = ImageIOError::cancelled();
        hasFailed_ = true;
        return false;
    }

    Band* convertBand(Band* band) {
        band->blocks.assign(static_cast<std::size_t>(columns_.count()), std::nullopt);
        tbb::parallel_for(std::int64_t{0}, columns_.count(), [&](std::int64_t column) {
            if (hasFailed_.load(std::memory_order_relaxed)) return;
            band->blocks[static_cast<std::size_t>(column)] = convertBlock(*band, column);
        });
        return band;
    }

    std::optional<TileContent> convertBlock(const Band& band, std::int64_t column) {
        const std::int64_t width = columns_.size(column);
        const std::int64_t height = rows_.size(band.index);
        const bool isWhole = width == tileSize && height == tileSize;
        TileBuffer buffer = store_.acquireBuffer(TileFormat::rgba16Float);
        if (orientation_ == Orientation{}) {
            if (!isWhole) std::memset(buffer.bytes(), 0, buffer.size());
            linearise(band, column, buffer);
        } else {
            TileBuffer stored = store_.acquireBuffer(TileFormat::rgba16Float);
            linearise(band, column, stored);
            if (!isWhole) std::memset(buffer.bytes(), 0, buffer.size());
            orientBlock(pixelsOf(stored), width, height, orientation_, pixelsOf(buffer));
            store_.recycleBuffer(std::move(stored));
        }
        return contentOf(std::move(buffer), isWhole);
    }

    void linearise(const Band& band, std::int64_t column, TileBuffer& buffer) const {
        const std::size_t pixelBytes = description_.layout.bytesPerPixel();
        const auto width = static_cast<std::size_t>(columns_.size(column));
        const std::size_t left = static_cast<std::size_t>(columns_.start(column)) * pixelBytes;
        auto* out = reinterpret_cast<Half*>(buffer.bytes());
        for (std::int64_t row = 0; row < rows_.size(band.index); ++row) {
            const std::byte* samples =
                band.samples.get() + static_cast<std::size_t>(row) * rowBytes_ + left;
            lineariser_.convert({samples, width * pixelBytes}, {out, width * channelsPerPixel});
            out += tileSize * channelsPerPixel;
        }
    }

    std::optional<TileContent> contentOf(TileBuffer buffer, bool isWhole) {
        const std::span<const PackedPixel> pixels = pixelsOf(buffer);
        const PackedPixel first = pixels.front();
        const auto isFirst = [first](PackedPixel pixel) { return pixel == first; };
        std::optional<TileContent> content;
        if (isWhole && isFinite(first) && std::ranges::all_of(pixels, isFirst)) {
            if ((first & alphaMagnitude) != 0) content = colorOf(first);
            store_.recycleBuffer(std::move(buffer));
            return content;
        }
        const auto isSeen = [](PackedPixel pixel) { return (pixel & alphaMagnitude) != 0; };
        if (description_.layout.alpha != AlphaKind::none && std::ranges::none_of(pixels, isSeen)) {
            store_.recycleBuffer(std::move(buffer));
            return content;
        }
        content = store_.makeTile(std::move(buffer));
        store_.keepPace();
        return content;
    }

    void placeBand(Band* band) {
        for (std::int64_t column = 0; column < columns_.count(); ++column) {
            std::optional<TileContent>& block = band->blocks[static_cast<std::size_t>(column)];
            if (!block) continue;
            const std::int64_t along = columns_.tile(column);
            const std::int64_t across = rows_.tile(band->index);
            const TileCoord coord = orientation_.isTransposed ? TileCoord::checked(across, along)
                                                              : TileCoord::checked(along, across);
            grid_.set(coord, std::move(block));
        }
        band->blocks.clear();
        ++placedBands_;
        if (progress_ != nullptr) {
            progress_->setFraction(static_cast<double>(placedBands_) /
                                   static_cast<double>(rows_.count()));
        }
        const std::lock_guard lock(mutex_);
        idleBands_.push_back(band);
    }

    static std::span<PackedPixel> pixelsOf(TileBuffer& buffer) {
        return {reinterpret_cast<PackedPixel*>(buffer.bytes()), pixelsPerTile};
    }

    ImageDecoder& decoder_;
    const ImageDescription& description_;
    const RowLineariser& lineariser_;
    TileStore& store_;
    Progress* progress_;
    Orientation orientation_;
    AxisSplit columns_;
    AxisSplit rows_;
    std::size_t rowBytes_;

    std::int64_t nextBand_ = 0;         ///< of the decoding filter
    std::optional<ImageIOError> error_; ///< of the decoding filter
    std::atomic<bool> hasFailed_ = false;
    TileGrid grid_{TileFormat::rgba16Float}; ///< of the placing filter
    std::int64_t placedBands_ = 0;           ///< of the placing filter

    std::mutex mutex_;
    std::vector<std::unique_ptr<Band>> bands_;
    std::vector<Band*> idleBands_;
};

} // namespace

std::expected<TileGrid, ImageIOError> convertToTiles(ImageDecoder& decoder,
                                                     const RowLineariser& lineariser,
                                                     TileStore& store, Progress* progress) {
    try {
        return Conversion(decoder, lineariser, store, progress).run();
    } catch (const std::bad_alloc&) {
        return std::unexpected(ImageIOError::imageTooLarge(decoder.description().size));
    }
}

} // namespace ombrel
