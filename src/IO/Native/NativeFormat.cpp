#include "IO/Native/NativeFormat.h"

#include "Base/Check.h"

#include <cstring>

namespace ombrel::NativeFormat {

bool isNativeType(std::string_view identifier) {
    return identifier == typeIdentifier || identifier == olderTypeIdentifier;
}

bool isNativeFile(ByteSource& source) {
    std::array<std::byte, magic.size()> start{};
    return source.readAt(0, start) == start.size() &&
           std::memcmp(start.data(), magic.data(), magic.size()) == 0;
}

std::string Error::text() const {
    switch (kind) {
    case Kind::newerVersion:
        return "The document was saved by a newer version of Ombrel (format " +
               std::to_string(version) + ").";
    case Kind::corrupt:
        return "The document is damaged (" + what + ").";
    case Kind::notANativeFile:
        return "The file isn\u2019t a Ombrel document.";
    case Kind::cancelled:
        return "Cancelled.";
    }
    return {};
}

std::vector<std::byte> write(const Board& board) {
    MemorySink sink;
    const auto written = write(board, sink);
    OMBREL_CHECK(written, "memory takes everything that is written");
    return sink.takeBytes();
}

std::vector<std::byte> write(const DocumentState& state) {
    return write(Board(state, "Node 1"));
}

std::expected<Board, Error> readBoard(std::span<const std::byte> bytes, TileStore& store) {
    return readBoard(*ByteSource::ofMemory(bytes), store);
}

std::expected<DocumentState, Error> read(std::span<const std::byte> bytes, TileStore& store) {
    std::expected<Board, Error> board = readBoard(bytes, store);
    if (!board) return std::unexpected(board.error());
    return board->activeNode().state;
}

} // namespace ombrel::NativeFormat
