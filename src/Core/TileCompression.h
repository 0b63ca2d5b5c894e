// The stored form of a tile, the same in memory, in the scratch file and in documents; it never
// changes. One header byte (0 plain, 1 LZ4), then the bytes of the tile sorted into planes: all low
// bytes of the halves, then all high bytes, which is what makes half-floats compress. The LZ4 form
// is a stream of blocks, each with a mark and its sizes (unsigned 32-bit, little-endian):
//   "bv41", decoded size, encoded size, an LZ4 block that may refer to what came before;
//   "bv4-", size, plain bytes;   "bv4$", the end.
// Pure functions; any thread.
#pragma once

#include "Core/Tile.h"

#include <cstddef>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace ombrel {

/// Leaves new bytes undefined: blobs are filled by reading or copying, and opening a document makes
/// a gigabyte of them.
template <typename T>
struct UndefinedAllocator : std::allocator<T> {
    template <typename U>
    struct rebind {
        using other = UndefinedAllocator<U>;
    };

    template <typename U, typename... Arguments>
    void construct(U* at, Arguments&&... arguments) {
        if constexpr (sizeof...(Arguments) == 0) {
            ::new (static_cast<void*>(at)) U;
        } else {
            std::construct_at(at, std::forward<Arguments>(arguments)...);
        }
    }
};

/// A tile in its stored form.
using TileBlob = std::vector<std::byte, UndefinedAllocator<std::byte>>;

namespace TileCompression {

/// Trades size for speed: LZ4 looks for matches the less thoroughly, the higher this is.
inline constexpr int lz4Acceleration = 4;

/// `bytes` are the bytesPerTile(format) bytes of a tile. A tile that LZ4 does not make smaller is
/// stored plain and costs one byte more than it holds.
TileBlob encode(std::span<const std::byte> bytes, TileFormat format);

/// Writes the tile into `destination`, bytesPerTile(format) bytes. The blob is not trusted: false
/// when it is damaged in any way; the destination's contents are then undefined.
[[nodiscard]] bool decode(std::span<const std::byte> blob, std::span<std::byte> destination,
                          TileFormat format);

/// For blobs that encode returned in this process: a blob that does not decode is a programming
/// error.
void decodeUnchecked(std::span<const std::byte> blob, std::span<std::byte> destination,
                     TileFormat format);

} // namespace TileCompression

} // namespace ombrel
