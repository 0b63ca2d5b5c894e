// Sequential reading of a ByteSource in large pieces, for libraries that ask for a few bytes at a
// time. One thread.
#pragma once

#include "IO/ByteSource.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>

namespace ombrel {

class BufferedReader {
public:
    static constexpr std::size_t capacity = 65536;

    explicit BufferedReader(ByteSource& source) : source_(source) {}

    std::uint64_t position() const { return offset_ - (end_ - begin_); }

    void seek(std::uint64_t position) {
        begin_ = end_ = 0;
        offset_ = position;
    }

    /// Skips without reading what lies behind the buffer.
    void skip(std::uint64_t count) {
        if (count <= end_ - begin_) {
            begin_ += static_cast<std::size_t>(count);
        } else {
            seek(position() + count);
        }
    }

    /// The bytes at hand, refilled when there are none; empty at the end of the source. They are
    /// consumed by the call.
    std::span<const std::byte> take() {
        if (begin_ == end_) refill();
        const std::span<const std::byte> bytes(buffer_.get() + begin_, end_ - begin_);
        begin_ = end_;
        return bytes;
    }

    /// Fewer bytes than asked for only at the end of the source.
    std::size_t read(std::span<std::byte> out) {
        std::size_t done = 0;
        while (done < out.size()) {
            if (begin_ == end_) {
                refill();
                if (begin_ == end_) break;
            }
            const std::size_t count = std::min(out.size() - done, end_ - begin_);
            std::memcpy(out.data() + done, buffer_.get() + begin_, count);
            begin_ += count;
            done += count;
        }
        return done;
    }

private:
    void refill() {
        begin_ = 0;
        end_ = source_.readAt(offset_, {buffer_.get(), capacity});
        offset_ += end_;
    }

    ByteSource& source_;
    std::unique_ptr<std::byte[]> buffer_ = std::make_unique_for_overwrite<std::byte[]>(capacity);
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t offset_ = 0; ///< of the source, behind the buffer
};

} // namespace ombrel
