// Where blobs go that memory has no room for. Any thread; reads and writes of different extents run
// at the same time.
#pragma once

#include "Core/TileCompression.h"

#include <cstdint>
#include <expected>
#include <functional>
#include <span>
#include <system_error>

namespace ombrel {

class ScratchSpace {
public:
    /// A piece of the space, in bytes. Valid until released.
    struct Extent {
        std::int64_t offset = 0;
        std::int64_t length = 0;

        bool operator==(const Extent&) const = default;
    };

    virtual ~ScratchSpace() = default;

    /// The error is the system's: no space left, or EIO where it gave none.
    virtual std::expected<Extent, std::error_code> write(std::span<const std::byte> blob) = 0;
    virtual std::expected<TileBlob, std::error_code> read(Extent extent) = 0;
    virtual void release(Extent extent) = 0;
};

} // namespace ombrel

template <>
struct std::hash<ombrel::ScratchSpace::Extent> {
    std::size_t operator()(const ombrel::ScratchSpace::Extent& extent) const noexcept {
        return static_cast<std::size_t>(static_cast<std::uint64_t>(extent.offset) *
                                            0x9E3779B97F4A7C15ull ^
                                        static_cast<std::uint64_t>(extent.length));
    }
};
