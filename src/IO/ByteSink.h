// Where an encoder writes: a file being made or memory. Seeking back and reading what was written
// is allowed (some containers patch their headers). One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ombrel {

class ByteSink {
public:
    virtual ~ByteSink() = default;

    virtual std::uint64_t size() const = 0;
    /// False when not every byte could be written (full disk); the sink then stays failed.
    virtual bool writeAt(std::uint64_t offset, std::span<const std::byte> bytes) = 0;
    /// Reads up to out.size() bytes already written.
    virtual std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) = 0;
};

/// Bytes in memory. A gap before `offset` is filled with zeros.
class MemorySink final : public ByteSink {
public:
    std::uint64_t size() const override { return bytes_.size(); }
    bool writeAt(std::uint64_t offset, std::span<const std::byte> bytes) override;
    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override;

    const std::vector<std::byte>& bytes() const { return bytes_; }
    std::vector<std::byte> takeBytes() { return std::move(bytes_); }

private:
    std::vector<std::byte> bytes_;
};

} // namespace ombrel
