// A picture of any size whose pixels are a function of their place: bands for export without
// documents, engines or memory. Counts what was read and can fail or call out at a given row.
#pragma once

#include "Base/Half.h"
#include "Core/PremultipliedColor.h"
#include "Engine/CompositeBands.h"

#include <tbb/parallel_for.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <limits>

namespace ombrel::test {

class ProceduralBands final : public CompositeBands {
public:
    /// Called from many threads at once.
    using Pixel = std::function<PremultipliedColor(std::int64_t x, std::int64_t y)>;

    ProceduralBands(PixelSize size, Pixel pixel) : size_(size), pixel_(std::move(pixel)) {}

    PixelSize size() const override { return size_; }

    std::expected<void, EngineError> read(std::int64_t firstRow, std::int64_t rowCount,
                                          std::span<std::byte> out) override {
        ++reads;
        rowsRead += rowCount;
        if (onRead) onRead(firstRow);
        if (firstRow + rowCount > failingRow) {
            return std::unexpected(EngineError{EngineError::Kind::outOfMemory, {}});
        }
        const auto rowBytes = static_cast<std::size_t>(size_.width) * 8;
        tbb::parallel_for(std::int64_t{0}, rowCount, [&](std::int64_t row) {
            std::byte* to = out.data() + static_cast<std::size_t>(row) * rowBytes;
            for (std::int64_t x = 0; x < size_.width; ++x, to += 8) {
                const auto halves = pixel_(x, firstRow + row).halves();
                std::memcpy(to, halves.data(), sizeof(halves));
            }
        });
        return {};
    }

    std::int64_t failingRow = std::numeric_limits<std::int64_t>::max();
    std::function<void(std::int64_t firstRow)> onRead;
    std::atomic<int> reads = 0;
    std::atomic<std::int64_t> rowsRead = 0;

private:
    PixelSize size_;
    Pixel pixel_;
};

} // namespace ombrel::test
