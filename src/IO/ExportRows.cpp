#include "IO/ExportRows.h"

#include "Base/Check.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <new>
#include <utility>

namespace ombrel {

namespace {

constexpr std::int64_t bandRows = tileSize;
constexpr std::size_t largestBandReadAhead = std::size_t{256} * 1024 * 1024;
constexpr std::int64_t pixelsPerTask = 64 * 1024;

} // namespace

ExportRows::ExportRows(CompositeBands& composite, const ColorProfile& profile, SampleLayout layout,
                       Progress* progress, double rowsShare)
    : composite_(composite), encoder_(profile, layout), size_(composite.size()),
      rowBytes_(static_cast<std::size_t>(size_.width) * layout.bytesPerPixel()),
      progress_(progress), rowsShare_(rowsShare) {}

ExportRows::~ExportRows() noexcept {
    finishBand();
}

std::expected<void, ImageIOError> ExportRows::readRows(std::int64_t rowCount,
                                                       std::span<std::byte> out) {
    OMBREL_CHECK(row_ + rowCount <= size_.height, "an encoder asks only for rows of the picture");
    while (rowCount > 0) {
        if (isCancelled()) return std::unexpected(ImageIOError::cancelled());
        if (row_ == current_.firstRow + current_.rowCount) {
            if (auto next = nextBand(); !next) return next;
        }
        const std::int64_t count = std::min(rowCount, current_.firstRow + current_.rowCount - row_);
        const std::size_t bytes = static_cast<std::size_t>(count) * rowBytes_;
        convert(row_ - current_.firstRow, count, out.first(bytes));
        out = out.subspan(bytes);
        row_ += count;
        rowCount -= count;
        report(rowsShare_ * static_cast<double>(row_) / static_cast<double>(size_.height));
    }
    return {};
}

bool ExportRows::reportEncoding(double fraction) {
    report(rowsShare_ + (1 - rowsShare_) * fraction);
    return !isCancelled();
}

void ExportRows::report(double fraction) {
    // The whole is done only when the file is in its place.
    if (progress_ != nullptr) progress_->setFraction(0.99 * fraction);
}

bool ExportRows::readsAhead() const {
    return current_.pixels.size() * sizeof(Half) <= largestBandReadAhead;
}

void ExportRows::startBand(std::int64_t firstRow) {
    if (firstRow >= size_.height) return;
    coming_.firstRow = firstRow;
    coming_.rowCount = std::min(bandRows, size_.height - firstRow);
    coming_.pixels.resize(static_cast<std::size_t>(coming_.rowCount * size_.width) * 4);
    reading_.run([this] {
        try {
            coming_.outcome = composite_.read(coming_.firstRow, coming_.rowCount,
                                              std::as_writable_bytes(std::span(coming_.pixels)));
        } catch (const std::bad_alloc&) {
            coming_.outcome = std::unexpected(EngineError{EngineError::Kind::outOfMemory, {}});
        }
    });
}

void ExportRows::finishBand() {
    reading_.wait();
}

std::expected<void, ImageIOError> ExportRows::nextBand() {
    const std::int64_t firstRow = current_.firstRow + current_.rowCount;
    if (coming_.rowCount == 0) { // not read ahead: one buffer is enough
        std::swap(coming_.pixels, current_.pixels);
        startBand(firstRow);
    }
    finishBand();
    if (!coming_.outcome) return std::unexpected(ImageIOError::encodingFailed());
    std::swap(current_, coming_);
    coming_.rowCount = 0;
    if (readsAhead()) startBand(current_.firstRow + current_.rowCount);
    return {};
}

void ExportRows::convert(std::int64_t firstRow, std::int64_t rowCount,
                         std::span<std::byte> out) const {
    const auto halvesPerRow = static_cast<std::size_t>(size_.width) * 4;
    const auto rowsPerTask =
        static_cast<std::size_t>(std::max<std::int64_t>(1, pixelsPerTask / size_.width));
    const std::span pixels(current_.pixels);
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, static_cast<std::size_t>(rowCount), rowsPerTask),
        [&](const auto& range) {
            const std::size_t row = static_cast<std::size_t>(firstRow) + range.begin();
            encoder_.convert(pixels.subspan(row * halvesPerRow, range.size() * halvesPerRow),
                             out.subspan(range.begin() * rowBytes_, range.size() * rowBytes_));
        });
}

} // namespace ombrel
