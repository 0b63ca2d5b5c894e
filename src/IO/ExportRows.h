// The rows of a merged picture as an encoder wants them. Bands of 256 rows are composited ahead of
// the encoder: while it works on one, the next is made by other threads. At most two bands of
// pixels are in memory (one for pictures so wide that two would weigh too much).
// One thread at a time; the bands are read from one thread at a time, not always the same.
#pragma once

#include "Base/Half.h"
#include "Base/Progress.h"
#include "Engine/CompositeBands.h"
#include "IO/ImageEncoder.h"
#include "IO/SampleRows.h"

#include <tbb/task_group.h>

#include <vector>

namespace ombrel {

class ExportRows final : public SampleRowSource {
public:
    /// `composite` and `progress` (which may be null) must outlive it. `rowsShare` is the part of
    /// the progress that the rows stand for; reportEncoding has the rest.
    ExportRows(CompositeBands& composite, const ColorProfile& profile, SampleLayout layout,
               Progress* progress, double rowsShare);
    ExportRows(const ExportRows&) = delete;
    ExportRows& operator=(const ExportRows&) = delete;
    ~ExportRows() noexcept override; // a task group may throw there; nothing here does

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override;
    bool reportEncoding(double fraction) override;

private:
    struct Band {
        std::int64_t firstRow = 0;
        std::int64_t rowCount = 0;
        std::vector<Half> pixels;
        std::expected<void, EngineError> outcome;
    };

    bool isCancelled() const { return progress_ != nullptr && progress_->isCancelled(); }
    void report(double fraction);
    bool readsAhead() const;
    void startBand(std::int64_t firstRow);
    void finishBand();
    std::expected<void, ImageIOError> nextBand();
    void convert(std::int64_t firstRow, std::int64_t rowCount, std::span<std::byte> out) const;

    CompositeBands& composite_;
    RowEncoder encoder_;
    PixelSize size_;
    std::size_t rowBytes_; ///< of the samples
    Progress* progress_;
    double rowsShare_;
    std::int64_t row_ = 0; ///< the next one the encoder gets
    Band current_;
    Band coming_;
    tbb::task_group reading_; ///< last: nothing it uses may go before it
};

} // namespace ombrel
