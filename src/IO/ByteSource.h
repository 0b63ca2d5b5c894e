// Random access to the bytes of a file or a block of memory; what every reader takes. Reads never
// trust the size that a file claims for itself. Reads may come from several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace ombrel {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t size() const = 0;
    /// Reads up to out.size() bytes from `offset`; fewer at the end or after an error.
    virtual std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) = 0;

    /// Says that this will be read soon, so that a slow disk can begin.
    virtual void announce(std::uint64_t /*offset*/, std::uint64_t /*length*/) {}

    /// Whether somebody may have written into what is read since the source was made. Not when the
    /// name was given to another file: the source goes on reading the old one.
    virtual bool mayHaveChanged() const { return false; }

    /// Null when the file cannot be opened or is no regular file.
    static std::unique_ptr<ByteSource> ofFile(const std::filesystem::path& path);
    /// `bytes` must outlive the source.
    static std::unique_ptr<ByteSource> ofMemory(std::span<const std::byte> bytes);
};

} // namespace ombrel
