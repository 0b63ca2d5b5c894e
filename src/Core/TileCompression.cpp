#include "Core/TileCompression.h"

#include "Base/Check.h"
#include "Core/TilePlanes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <lz4.h>
#include <optional>

namespace ombrel::TileCompression {

namespace {

enum class Header : std::uint8_t { plain = 0, lz4 = 1 };

/// Marks of blocks, as read from the stream in little-endian order.
enum class Mark : std::uint32_t {
    lz4Block = 0x31347662,   // "bv41"
    plainBlock = 0x2D347662, // "bv4-"
    end = 0x24347662,        // "bv4$"
};

constexpr std::size_t blockHeaderSize = 12; ///< mark, decoded size, encoded size
constexpr std::size_t endMarkSize = 4;
constexpr std::size_t dictionarySize = 65536; ///< how far back LZ4 refers

constexpr bool hasPlanes(TileFormat format) {
    return format == TileFormat::rgba16Float;
}

/// Room for the planes of one tile, and for one blob: kept by the thread, since fresh blocks of
/// this size cost more in page faults than the coding.
struct Workspace {
    std::vector<std::byte> planes = std::vector<std::byte>(bytesPerTile(TileFormat::rgba16Float));
    std::vector<std::byte> stream = std::vector<std::byte>(bytesPerTile(TileFormat::rgba16Float));
};

Workspace& workspace() {
    thread_local Workspace workspace;
    return workspace;
}

void putWord(std::byte* target, std::uint32_t word) {
    for (int i = 0; i < 4; ++i) {
        target[i] = static_cast<std::byte>(word >> (8 * i));
    }
}

/// One LZ4 block and the end mark, or nothing where that would not be smaller than the planes.
std::optional<std::span<const std::byte>> encodeStream(std::span<const std::byte> planes,
                                                       std::span<std::byte> target) {
    // The limit lets LZ4 give up as soon as the stream cannot pay any more.
    const std::size_t room = planes.size() - 1 - blockHeaderSize - endMarkSize;
    const int encoded =
        LZ4_compress_fast(reinterpret_cast<const char*>(planes.data()),
                          reinterpret_cast<char*>(&target[blockHeaderSize]),
                          static_cast<int>(planes.size()), static_cast<int>(room), lz4Acceleration);
    if (encoded <= 0) return std::nullopt;
    putWord(&target[0], static_cast<std::uint32_t>(Mark::lz4Block));
    putWord(&target[4], static_cast<std::uint32_t>(planes.size()));
    putWord(&target[8], static_cast<std::uint32_t>(encoded));
    const std::size_t end = blockHeaderSize + static_cast<std::size_t>(encoded);
    putWord(&target[end], static_cast<std::uint32_t>(Mark::end));
    return target.first(end + endMarkSize);
}

TileBlob withHeader(Header header, std::span<const std::byte> payload) {
    TileBlob blob;
    blob.reserve(payload.size() + 1);
    blob.push_back(static_cast<std::byte>(header));
    blob.insert(blob.end(), payload.begin(), payload.end());
    return blob;
}

/// Reads a stream of blocks into a destination that it must fill exactly.
class StreamReader {
public:
    StreamReader(std::span<const std::byte> stream, std::span<std::byte> destination)
        : rest_(stream), destination_(destination) {}

    bool read() {
        for (;;) {
            const std::optional<std::uint32_t> mark = takeWord();
            if (!mark) return false;
            switch (static_cast<Mark>(*mark)) {
            case Mark::lz4Block:
                if (!readLZ4Block()) return false;
                break;
            case Mark::plainBlock:
                if (!readPlainBlock()) return false;
                break;
            case Mark::end:
                return filled_ == destination_.size();
            default:
                return false;
            }
        }
    }

private:
    std::optional<std::uint32_t> takeWord() {
        if (rest_.size() < 4) return std::nullopt;
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            word |= static_cast<std::uint32_t>(rest_[i]) << (8 * i);
        }
        rest_ = rest_.subspan(4);
        return word;
    }

    bool readLZ4Block() {
        const std::optional<std::uint32_t> decodedSize = takeWord();
        const std::optional<std::uint32_t> encodedSize = takeWord();
        if (!decodedSize || !encodedSize) return false;
        if (*encodedSize > rest_.size()) return false;
        if (*decodedSize > destination_.size() - filled_) return false;
        const std::size_t reach = std::min(filled_, dictionarySize);
        char* const target = reinterpret_cast<char*>(destination_.data() + filled_);
        const int decoded = LZ4_decompress_safe_usingDict(
            reinterpret_cast<const char*>(rest_.data()), target, static_cast<int>(*encodedSize),
            static_cast<int>(*decodedSize), target - reach, static_cast<int>(reach));
        if (decoded < 0 || static_cast<std::uint32_t>(decoded) != *decodedSize) return false;
        advance(*encodedSize, *decodedSize);
        return true;
    }

    bool readPlainBlock() {
        const std::optional<std::uint32_t> size = takeWord();
        if (!size || *size > rest_.size() || *size > destination_.size() - filled_) return false;
        std::copy_n(rest_.begin(), *size, destination_.begin() + static_cast<long>(filled_));
        advance(*size, *size);
        return true;
    }

    void advance(std::size_t read, std::size_t written) {
        rest_ = rest_.subspan(read);
        filled_ += written;
    }

    std::span<const std::byte> rest_;
    std::span<std::byte> destination_;
    std::size_t filled_ = 0;
};

void checkTileSize(std::size_t size, TileFormat format) {
    OMBREL_CHECK(size == bytesPerTile(format), "a tile's bytes have the size of its format");
}

} // namespace

TileBlob encode(std::span<const std::byte> bytes, TileFormat format) {
    checkTileSize(bytes.size(), format);
    Workspace& room = workspace();
    std::span<const std::byte> planes = bytes;
    if (hasPlanes(format)) {
        TilePlanes::split(bytes, std::span(room.planes).first(bytes.size()));
        planes = std::span(room.planes).first(bytes.size());
    }
    if (const auto stream = encodeStream(planes, room.stream)) {
        return withHeader(Header::lz4, *stream);
    }
    return withHeader(Header::plain, planes);
}

bool decode(std::span<const std::byte> blob, std::span<std::byte> destination, TileFormat format) {
    checkTileSize(destination.size(), format);
    if (blob.empty()) return false;
    const std::span<const std::byte> payload = blob.subspan(1);
    std::span<const std::byte> planes;
    switch (static_cast<Header>(blob[0])) {
    case Header::lz4: {
        const std::span<std::byte> target =
            hasPlanes(format) ? std::span(workspace().planes) : destination;
        if (!StreamReader(payload, target).read()) return false;
        if (!hasPlanes(format)) return true;
        planes = target;
        break;
    }
    case Header::plain:
        if (payload.size() < destination.size()) return false;
        planes = payload.first(destination.size());
        break;
    default:
        return false;
    }
    if (hasPlanes(format)) {
        TilePlanes::join(planes, destination);
    } else {
        std::memcpy(destination.data(), planes.data(), planes.size());
    }
    return true;
}

void decodeUnchecked(std::span<const std::byte> blob, std::span<std::byte> destination,
                     TileFormat format) {
    OMBREL_CHECK(decode(blob, destination, format), "a blob made here decodes");
}

} // namespace ombrel::TileCompression
