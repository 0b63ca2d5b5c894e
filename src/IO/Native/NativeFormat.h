// The program's own file format: a whole board with every tile in the form in which the store keeps
// it. A file is a 24-byte header, a JSON manifest and the blobs of the tiles; reading it never
// decodes a pixel, and writing it encodes only what is resident. Equal documents give equal bytes.
//
// Any thread; never the main executor of an editor. Results depend on nothing but the arguments.
#pragma once

#include "Base/Progress.h"
#include "Core/Board.h"
#include "IO/ByteSink.h"
#include "IO/ByteSource.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

class TileStore;

namespace NativeFormat {

inline constexpr std::string_view typeIdentifier = "com.ombrel.document";
inline constexpr std::string_view fileExtension = "ombrel";
/// An older name of the same format.
inline constexpr std::string_view olderTypeIdentifier = "com.tarnivale.document";
inline constexpr std::string_view olderFileExtension = "tarnivale";
inline constexpr std::string_view magic = "TARNIVAL";
inline constexpr std::int64_t currentVersion = 3;

bool isNativeType(std::string_view identifier);
/// By the first bytes.
bool isNativeFile(ByteSource& source);

struct Error {
    enum class Kind {
        newerVersion,
        corrupt,
        notANativeFile,
        cancelled, ///< the caller's Progress was cancelled; nothing to tell the user
    };

    Kind kind = Kind::notANativeFile;
    std::int64_t version = 0; ///< of newerVersion
    std::string what;         ///< of corrupt

    static Error newerVersion(std::int64_t version) { return {Kind::newerVersion, version, {}}; }
    static Error corrupt(std::string what) { return {Kind::corrupt, 0, std::move(what)}; }
    static Error notANativeFile() { return {}; }
    static Error cancelled() { return {Kind::cancelled, 0, {}}; }

    std::string text() const;
    bool operator==(const Error&) const = default;
};

enum class WriteFault {
    sinkFailed, ///< the sink knows why
    cancelled,
};

/// Writes from the start of the sink. Layers and masks that are offset are stored moved: the format
/// has no place for offsets. Memory is that of the manifest, not of the tiles.
std::expected<void, WriteFault> write(const Board& board, ByteSink& sink,
                                      Progress* progress = nullptr);
/// All of it in memory.
std::vector<std::byte> write(const Board& board);
/// As a board of one node, "Node 1".
std::vector<std::byte> write(const DocumentState& state);

/// Tiles are made in `store`; on failure none of them outlives the call.
std::expected<Board, Error> readBoard(ByteSource& source, TileStore& store,
                                      Progress* progress = nullptr);
std::expected<Board, Error> readBoard(std::span<const std::byte> bytes, TileStore& store);
/// The state of the board's active node.
std::expected<DocumentState, Error> read(std::span<const std::byte> bytes, TileStore& store);

} // namespace NativeFormat

} // namespace ombrel
