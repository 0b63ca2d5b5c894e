// The part of a native file behind its manifest: the blobs of all tiles back to back, as the store
// keeps them. Nothing is decoded in either direction; only tiles that are resident while a document
// is written have to be encoded. Any thread.
#pragma once

#include "Base/Progress.h"
#include "Core/Tile.h"
#include "IO/ByteSink.h"
#include "IO/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <vector>

namespace ombrel::NativeFormat {

/// Where a blob lies, counted from the start of the tile area.
struct TileRef {
    TileFormat format = TileFormat::rgba16Float;
    std::int64_t offset = 0;
    std::int64_t length = 0;

    bool operator==(const TileRef&) const = default;
};

enum class TileAreaFault {
    badRef, ///< outside the area, or a blob that cannot be one
    io,     ///< the file could not be read or written
    cancelled,
};

/// No blob that is written is longer.
std::int64_t longestBlob(TileFormat format);

/// Writes every blob from `start` on and says where each lies. The references depend on nothing but
/// the pixels and on how they came to be compressed.
std::expected<std::vector<TileRef>, TileAreaFault>
writeTileArea(std::span<const Tile> tiles, ByteSink& sink, std::uint64_t start, Progress* progress);

/// Makes a compressed tile of each blob. All references are checked before the first is read.
std::expected<std::vector<Tile>, TileAreaFault> readTileArea(std::span<const TileRef> refs,
                                                             ByteSource& source,
                                                             std::uint64_t start, TileStore& store,
                                                             Progress* progress);

} // namespace ombrel::NativeFormat
