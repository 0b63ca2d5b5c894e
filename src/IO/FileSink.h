// A sink that fills a file which appears when it is complete.
#pragma once

#include "Base/AtomicFile.h"
#include "IO/ByteSink.h"

namespace ombrel {

/// The file outlives the sink and knows why a write failed.
class FileSink final : public ByteSink {
public:
    explicit FileSink(AtomicFile& file) : file_(file) {}

    std::uint64_t size() const override { return file_.size(); }
    bool writeAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
        return file_.writeAt(offset, bytes);
    }
    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override {
        return file_.readAt(offset, out);
    }

private:
    AtomicFile& file_;
};

} // namespace ombrel
