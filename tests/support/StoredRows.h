// Rows for encoder tests and benchmarks: samples that are a plain function of their place.
#pragma once

#include "IO/ImageEncoder.h"

#include <algorithm>

namespace ombrel::test {

/// A whole picture's samples in memory, read from top to bottom.
class StoredRows final : public SampleRowSource {
public:
    StoredRows(std::span<const std::byte> samples, std::size_t rowBytes)
        : samples_(samples), rowBytes_(rowBytes) {}

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        const auto part = samples_.subspan(offset_, static_cast<std::size_t>(rowCount) * rowBytes_);
        std::ranges::copy(part, out.begin());
        offset_ += part.size();
        return {};
    }

private:
    std::span<const std::byte> samples_;
    std::size_t rowBytes_;
    std::size_t offset_ = 0;
};

} // namespace ombrel::test
